// The virtual camera's command line: reads the arguments, hands them to a command, returns its exit code.

#include "camera/cli/Console.h"
#include "camera/cli/OptionTable.h"
#include "camera/cli/commands/Command.h"
#include "camera/ravel/Log.h"

#include <csignal>
#include <cstdio>
#include <exception>

namespace {

constexpr int kUsage = 2;

} // namespace

int main(int argc, char** argv)
{
    // Writes that hit a limit or a closed pipe are reported where they happen.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    camera::cli::Console console(stdout, stderr);
    int code = 1;
    try {
        code = camera::cli::performCommand({argv + 1, argv + argc}, console);
    } catch (const camera::cli::UsageError& error) {
        console.error(error.what());
        code = kUsage;
    } catch (const std::exception& error) {
        console.error(error.what());
    }
    camera::ravel::Log::instance().setWriter({});
    if (code == 0 && !console.writable()) {
        console.error("the output could not be written; make room where it goes.");
        code = 1;
    }
    return code;
}
