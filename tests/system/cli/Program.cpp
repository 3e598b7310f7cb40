#include "Program.h"

#include <algorithm>

namespace camera::system_tests {

namespace {

// Far more than any of these runs takes: it ends a process that hangs, it measures nothing.
constexpr std::chrono::minutes kLongestRun(5);

bool isForOnvifClients(const std::string& word)
{
    return word == "--http" || word == "--https";
}

} // namespace

Words cameraWords(const Words& arguments)
{
    Words words = {CAMERA_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    if (!arguments.empty() && arguments.front() == "run") {
        words.emplace(words.begin() + 2, "--no-factory");
        if (std::none_of(arguments.begin(), arguments.end(), isForOnvifClients)) {
            words.emplace(words.begin() + 2, "--no-network");
        }
    }
    return words;
}

Finished camera(const Words& arguments, const ChildSettings& settings)
{
    return kit::run(cameraWords(arguments), settings, kLongestRun);
}

Finished run(const Words& words)
{
    return kit::run(words, {}, kLongestRun);
}

} // namespace camera::system_tests
