#include "camera/cli/RunningConfig.h"

#include "camera/base/UtcText.h"
#include "camera/cli/AnalyticsCalls.h"
#include "camera/cli/Command.h"
#include "camera/cli/ConfigCommand.h"
#include "camera/pipeline/RunReport.h"
#include "camera/supervisor/RuntimeFolder.h"

#include <exception>
#include <utility>

namespace camera::cli {

namespace {

// The key under which the plug-in keeps its configurations.
constexpr const char* kAnalyticsKey = "OnvifAnalytics";
constexpr std::chrono::seconds kWritePatience(120);

using VersionRow = sdbus::Struct<std::int64_t, std::int64_t, std::uint64_t, bool>;

void printAll(const std::vector<std::string>& lines, base::Console& console)
{
    for (const std::string& line : lines) {
        console.line(line);
    }
}

void printHistory(CameraClient& client, base::Console& console)
{
    const auto rows = std::get<0>(
        client.call<std::vector<VersionRow>>(bus::service::kPipeline, "history", std::string(kAnalyticsKey)));
    for (const VersionRow& row : rows) {
        console.line(std::to_string(row.get<0>()) + "  " + base::utcText(row.get<1>()) + "  " +
                     pipeline::sizeText(row.get<2>()) + (row.get<3>() ? "" : "  damaged"));
    }
    if (rows.empty()) {
        console.line("Nothing was ever stored.");
    }
}

void perform(const ConfigOptions& options, CommandContext& context)
{
    const std::chrono::milliseconds writing = context.patience(kWritePatience);
    base::Console& console = context.console;
    CameraClient& client = context.client();
    switch (options.action) {
    case ConfigAction::set:
        return setConfigurations(client, options.arguments, writing, console);
    case ConfigAction::get:
        return console.line(configurationNow(client, options.camera.preset));
    case ConfigAction::list:
        return printAll(componentsNow(client, options.rules), console);
    case ConfigAction::types:
        return printAll(componentTypes(client, options.rules), console);
    case ConfigAction::add:
    case ConfigAction::modify:
        return storeComponents(client, options.rules, options.action == ConfigAction::modify, options.arguments,
                               writing, console);
    case ConfigAction::remove:
        return deleteComponents(client, options.rules, options.arguments, writing, console);
    case ConfigAction::reset:
        return restoreDefaults(client, writing, console);
    case ConfigAction::history:
        return printHistory(client, console);
    case ConfigAction::restore:
        throw CameraError(
            "an old document can only be restored while no camera runs on the state folder; end it first");
    }
}

} // namespace

int performConfig(const base::Arguments& arguments, base::Console& console)
{
    const ConfigOptions options = configOptions(arguments);
    if (!options.camera.stateDir.empty() && !supervisor::RuntimeFolder::find(options.camera.stateDir)) {
        return configureCamera(options, console);
    }
    CommandContext context(arguments, console);
    perform(options, context);
    return 0;
}

} // namespace camera::cli
