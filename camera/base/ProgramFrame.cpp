#include "camera/base/ProgramFrame.h"

#include "camera/base/Contained.h"
#include "camera/base/Log.h"

#include <csignal>
#include <cstdio>

namespace camera::base {

int runProgram(int argc, char** argv, const Program& program)
{
    constexpr int kUsage = 2;
    constexpr int kPipeClosed = 128 + SIGPIPE; // as shells report it
    // Without these signals a write beyond a limit or to a closed pipe fails, and its caller reports that.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    Console console(stdout, stderr);
    int code = 1;
    try {
        code = performProgram(program, std::vector<std::string>(argv + 1, argv + argc), console);
    } catch (const UsageError& error) {
        console.error(error.what());
        code = kUsage;
    } catch (const std::exception&) {
        console.error(reasonOfException());
    }
    Log::instance().setWriter({}); // it may write to the console, which ends here
    if (code == 0 && console.readerGone()) {
        code = kPipeClosed; // silently: who closed the pipe has read enough
    } else if (code == 0 && !console.writable()) {
        console.error("the output could not be written; make room where it goes.");
        code = 1;
    }
    return code;
}

} // namespace camera::base
