#include "camera/cli/AnalyticsCalls.h"

#include "camera/base/PrintableText.h"
#include "camera/base/Utf8.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/pipeline/TargetClient.h"

#include <algorithm>
#include <cstdint>

namespace camera::cli {

namespace {

constexpr const char* kAnalytics = bus::service::kAnalytics;
using Texts = std::vector<std::string>;

std::string countOf(std::size_t count, bool rules)
{
    return std::to_string(count) + (rules ? " rule" : " module") + (count == 1 ? "" : "s");
}

// The file's text as the bus takes it.
const std::string& checked(const std::string& text, const std::string& file)
{
    if (!base::isSendable(text)) {
        throw CameraError("the configuration '" + file + "' is refused: it is not UTF-8 text; save it as UTF-8");
    }
    return text;
}

// As far as the types tell why no engine takes a document.
std::string refusalReason(CameraClient& client, const std::vector<onvif::ComponentName>& given)
{
    for (const onvif::ComponentName& component : given) {
        const Texts types = componentTypes(client, component.isRule);
        if (std::find(types.begin(), types.end(), component.type) == types.end()) {
            return "no engine knows the type of its " + base::printable(onvif::describe(component)) + "; camera " +
                   (component.isRule ? "rules" : "modules") + " types lists those that there are";
        }
    }
    if (given.empty()) {
        return "there is no rule and no module in it";
    }
    return "the camera's log names the reason; without one, it mixes the types of several engines, which take a "
           "file each";
}

void setConfiguration(CameraClient& client, const std::string& xml, const std::string& file, Patience patience,
                      base::Console& console)
{
    const auto [result, failed] =
        client.callWithin<std::int32_t, std::uint8_t>(patience, kAnalytics, "setConfiguration", xml);
    const std::vector<onvif::ComponentName> given = onvif::componentsOf(xml);
    if (result != 0 || failed != 0) {
        throw CameraError("the camera refuses the configuration '" + file + "': " + refusalReason(client, given));
    }
    const std::vector<onvif::ComponentName> active = onvif::componentsOf(configurationNow(client, ""));
    const bool all = std::all_of(given.begin(), given.end(), [&active](const onvif::ComponentName& component) {
        return std::find(active.begin(), active.end(), component) != active.end();
    });
    console.line("'" + base::printable(file) +
                 (all ? "' is stored and active." : "' is stored; it is not active where the camera stands now."));
}

void change(CameraClient& client, const char* method, const Texts& items, Patience patience, const std::string& what,
            const std::string& advice)
{
    const auto [result, status] = client.callWithin<std::int32_t, std::uint32_t>(patience, kAnalytics, method, items);
    const pipeline::Answer answer{result, static_cast<pipeline::Outcome>(status)};
    if (!answer.ok()) {
        throw CameraError(
            what + ": " +
            (answer.outcome == pipeline::Outcome::done ? "the camera failed" : pipeline::describe(answer.outcome)) +
            "; " + advice);
    }
}

} // namespace

std::vector<std::string> componentsNow(CameraClient& client, bool rules)
{
    return std::get<0>(client.call<Texts>(kAnalytics, rules ? "getCurrentRules" : "getCurrentEngines"));
}

std::vector<std::string> componentTypes(CameraClient& client, bool rules)
{
    return std::get<0>(client.call<Texts>(kAnalytics, rules ? "getSupportedRules" : "getSupportedEngines"));
}

void setConfigurations(CameraClient& client, const Texts& files, Patience patience, base::Console& console)
{
    Texts documents;
    for (const std::string& file : files) {
        documents.push_back(checked(onvif::readConfiguration(file), file));
    }
    for (std::size_t i = 0; i < documents.size(); ++i) {
        setConfiguration(client, documents[i], files[i], patience, console);
    }
}

std::string configurationNow(CameraClient& client, const std::string& preset)
{
    return preset.empty() ? std::get<0>(client.call<std::string>(kAnalytics, "getCurrentConfiguration"))
                          : std::get<0>(client.call<std::string>(kAnalytics, "getPtzPresetConfiguration", preset));
}

void storeComponents(CameraClient& client, bool rules, bool modify, const Texts& files, Patience patience,
                     base::Console& console)
{
    Texts items;
    for (const std::string& file : files) {
        for (const std::string& item : onvif::readComponents(file, rules)) {
            items.push_back(checked(item, file));
        }
    }
    const char* method =
        rules ? (modify ? "modifyRules" : "createRules") : (modify ? "modifyEngines" : "createEngines");
    change(client, method, items, patience, "cannot store " + countOf(items.size(), rules),
           "the camera's log names the reason");
    console.line(countOf(items.size(), rules) + " stored.");
}

void deleteComponents(CameraClient& client, bool rules, const Texts& names, Patience patience, base::Console& console)
{
    change(client, rules ? "deleteRules" : "deleteEngines", names, patience,
           "cannot delete " + countOf(names.size(), rules),
           std::string("camera ") + (rules ? "rules" : "modules") + " list shows the names");
    console.line(countOf(names.size(), rules) + " deleted.");
}

void restoreDefaults(CameraClient& client, Patience patience, base::Console& console)
{
    const auto [result] = client.callWithin<std::int32_t>(patience, kAnalytics, "restoreDefaultSettings");
    if (result != 0) {
        throw CameraError("the camera cannot restore its defaults; its log names the reason");
    }
    console.line("The engines have no rules now; what is stored comes back when the camera starts again.");
}

} // namespace camera::cli
