#include "camera/cli/SuperviseCommand.h"

#include "camera/base/PluginPath.h"
#include "camera/store/StateFolder.h"
#include "camera/supervisor/Supervisor.h"

#include <algorithm>
#include <array>
#include <exception>

namespace camera::cli {

namespace {

using supervisor::RuntimeFolder;
using Words = std::vector<std::string>;

constexpr std::array<const char*, 3> kFirstStartOnly = {"--config", "--place", "--preset"};

bool isForFirstStart(const std::string& option)
{
    return std::find(kFirstStartOnly.begin(), kFirstStartOnly.end(), option) != kFirstStartOnly.end();
}

std::string besideProgram(const char* name)
{
    return (base::programFolder() / name).string();
}

Words servicesWords(const pipeline::RunOptions& options, const RuntimeFolder& folder, bool first)
{
    Words words = {besideProgram("camera-services"), "--bus",     folder.address(),      "--state",
                   folder.stateDir().string(),       "--runtime", folder.path().string()};
    // Afterwards the service itself knows the angle, which somebody may have changed.
    if (first && options.orientationGiven) {
        words.insert(words.end(), {"--rotation", std::to_string(options.orientation)});
    }
    words.insert(words.end(), static_cast<std::size_t>(options.camera.verbosity), "-v");
    return words;
}

Words pipelineWords(const store::StateFolder& state, const Words& arguments, const RuntimeFolder& folder, bool first)
{
    Words words = {besideProgram("camera-pipeline"), "--bus=" + folder.address()};
    if (!state.kept()) {
        words.insert(words.end(), {"--state=" + state.path().string(), "--temporary-state"});
    }
    const Words rest = first ? arguments : restartArguments(arguments);
    words.insert(words.end(), rest.begin(), rest.end());
    return words;
}

} // namespace

std::vector<std::string> restartArguments(const std::vector<std::string>& arguments)
{
    Words kept;
    bool movable = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--") {
            kept.insert(kept.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
            break;
        }
        const std::size_t equals = word.find('=');
        const std::string option = word.substr(0, equals);
        if (!isForFirstStart(option)) {
            kept.push_back(word);
            continue;
        }
        movable = movable || option != "--config"; // each of the others makes it a PTZ camera
        i += equals == std::string::npos ? 1 : 0;
    }
    if (movable && std::find(kept.begin(), kept.end(), "--ptz") == kept.end()) {
        kept.insert(kept.begin(), "--ptz");
    }
    return kept;
}

int superviseCamera(const pipeline::RunOptions& options, const std::vector<std::string>& arguments,
                    base::Console& console)
{
    try {
        const store::StateFolder state(options.camera.stateDir);
        supervisor::Supervisor::Options plan;
        plan.stateDir = state.path();
        plan.services = [&](const RuntimeFolder& folder, bool first) { return servicesWords(options, folder, first); };
        plan.pipeline = [&](const RuntimeFolder& folder, bool first) {
            return pipelineWords(state, arguments, folder, first);
        };
        supervisor::Clock clock;
        return supervisor::Supervisor(
                   plan, [&console](const std::string& line) { console.error(line); }, clock)
            .run();
    } catch (const std::exception& error) {
        console.error(error.what());
        return 1;
    }
}

} // namespace camera::cli
