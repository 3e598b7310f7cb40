// A supervisor over stand-ins. usage: STATE-FOLDER STANDIN JOURNAL [PIPELINE-EXIT-CODES [stubborn]]

#include "camera/supervisor/Supervisor.h"

#include <cstdio>

// The library keeps a little of each attempt to connect that fails, as all do while the bus is away.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:sd_bus_new\nleak:libsystemd";
}

int main(int count, char** words)
{
    using namespace camera::supervisor;
    const std::vector<std::string> given(words + 1, words + count);
    SupervisorOptions options;
    options.stateDir = given.at(0);
    options.services = [&](const RuntimeFolder& folder, bool) -> std::vector<std::string> {
        return {given.at(1), "services", given.at(2), folder.address(), "ravel.services"};
    };
    options.pipeline = [&](const RuntimeFolder& folder, bool) {
        std::vector<std::string> command = {given.at(1), "pipeline", given.at(2), folder.address(), "ravel.pipeline"};
        command.insert(command.end(), given.begin() + 3, given.end());
        return command;
    };
    Clock clock;
    try {
        return Supervisor(
                   options, [](const std::string& line) { std::fprintf(stderr, "camera: %s\n", line.c_str()); }, clock)
            .run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "camera: %s\n", error.what());
        return 1;
    }
}
