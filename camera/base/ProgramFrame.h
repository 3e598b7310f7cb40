#pragma once

#include "camera/base/Console.h"
#include "camera/base/Log.h"
#include "camera/base/OptionTable.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace camera::base {

/**
 * What every program of the camera does around its work: hands the arguments to body, says what went wrong in one
 * sentence, and returns the exit code: body's own, 2 for wrong arguments, 1 for a failure or an output that could
 * not be written.
 *
 * @param body  int(const std::vector<std::string>& arguments, Console& console)
 */
template <class Body>
int runProgram(int argc, char** argv, const Body& body)
{
    constexpr int kUsage = 2;
    // Writes that hit a limit or a closed pipe are reported where they happen.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    Console console(stdout, stderr);
    int code = 1;
    try {
        code = body(std::vector<std::string>(argv + 1, argv + argc), console);
    } catch (const UsageError& error) {
        console.error(error.what());
        code = kUsage;
    } catch (const std::exception& error) {
        console.error(error.what());
    }
    base::Log::instance().setWriter({}); // it may speak through the console, which ends here
    if (code == 0 && !console.writable()) {
        console.error("the output could not be written; make room where it goes.");
        code = 1;
    }
    return code;
}

} // namespace camera::base
