#include "camera/cli/SuperviseCommand.h"

#include "camera/base/InputName.h"
#include "camera/base/PluginPath.h"
#include "camera/cli/GatewayStart.h"
#include "camera/store/StateFolder.h"
#include "camera/supervisor/Supervisor.h"

#include <algorithm>
#include <array>
#include <optional>

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

Words servicesWords(const base::Arguments& arguments, const RuntimeFolder& folder, bool first)
{
    Words words = servicesProgram(folder);
    // Only at the first start: the service stores the orientation, and a client may change it.
    if (first && arguments.has("--orientation")) {
        words.insert(words.end(), {"--rotation", arguments.text("--orientation")});
    }
    const Words log = base::logWords();
    words.insert(words.end(), log.begin(), log.end());
    return words;
}

Words pipelineWords(const store::StateFolder& state, const base::Arguments& arguments, const Words& onvif,
                    const RuntimeFolder& folder, bool first, bool again)
{
    Words words = pipelineProgram(folder);
    // As a first start, but what the tour needs may be gone.
    if (first && again) {
        words.emplace_back("--again");
    }
    for (const std::string& address : onvif) {
        words.push_back("--onvif=" + address);
    }
    if (!state.kept()) {
        words.insert(words.end(), {"--state=" + state.path().string(), "--temporary-state"});
    }
    // The level may be another one by now than the command line gives.
    for (const Words& more : {base::logWords(), pipelineArguments(arguments, first)}) {
        words.insert(words.end(), more.begin(), more.end());
    }
    return words;
}

} // namespace

std::vector<std::string> servicesProgram(const RuntimeFolder& folder)
{
    return {besideProgram("camera-services"), "--bus",     folder.address(),      "--state",
            folder.stateDir().string(),       "--runtime", folder.path().string()};
}

std::vector<std::string> pipelineProgram(const RuntimeFolder& folder)
{
    return {besideProgram("camera-pipeline"), "--bus=" + folder.address(), "--activity=" + folder.activity().string(),
            "--counts=" + folder.counts().string()};
}

std::vector<std::string> pipelineArguments(const base::Arguments& arguments, bool first)
{
    Words words;
    for (const base::Option& option : base::pipelineCommand().options) {
        const bool ofLog = option.name == "-v" || option.name == "--log-format";
        if (!ofLog && (first || !isForFirstStart(option.name))) {
            for (const std::string& text : arguments.all(option.name)) {
                words.push_back(option.name + (option.value ? "=" + text : ""));
            }
        }
    }
    // --place or --preset has made it a PTZ camera; it stays one without these options.
    if (!first && !arguments.has("--ptz") && base::runOptions(arguments).camera.ptz) {
        words.push_back("--ptz");
    }
    if (!first) {
        words.push_back("--again");
    }
    words.insert(words.end(), {"--", arguments.text("INPUT")});
    return words;
}

int superviseCamera(const base::Arguments& arguments, base::Console& console)
{
    base::setLog(arguments);
    const base::RunOptions options = base::runOptions(arguments);
    const store::StateFolder state(options.camera.stateDir);
    supervisor::SupervisorOptions plan;
    std::optional<GatewayStart> gateway;
    if (wantsGateway(arguments)) {
        gateway.emplace(arguments);
        plan.gateway = [&gateway](const RuntimeFolder& folder, bool first) { return gateway->program(folder, first); };
        plan.onvif = gateway->addresses();
    }
    plan.stateDir = state.path();
    plan.services = [&](const RuntimeFolder& folder, bool first) { return servicesWords(arguments, folder, first); };
    plan.pipeline = [&, starts = 0](const RuntimeFolder& folder, bool first) mutable {
        return pipelineWords(state, arguments, plan.onvif, folder, first, ++starts > 1);
    };
    plan.plugin = options.camera.plugin.empty() ? "libdetection.so" : options.camera.plugin;
    plan.batch = base::isBatch(options);
    plan.readOnce = base::isReadOnce(options.input);
    if (plan.readOnce && options.restarts.value_or(0) != 0) {
        throw base::UsageError("camera run: --restarts needs an input that can be read again, and what was read of '" +
                               options.input + "' is gone.");
    }
    plan.restarts = options.restarts.value_or(plan.batch ? 0 : plan.restarts);
    plan.watchdog = {std::chrono::seconds(options.watchdogSeconds),
                     std::chrono::seconds(options.watchdogFramesSeconds)};
    supervisor::Clock clock;
    return supervisor::Supervisor(
               plan, [&console](const std::string& line) { console.error(line); }, clock)
        .run();
}

} // namespace camera::cli
