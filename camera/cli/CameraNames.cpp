#include "camera/cli/CameraNames.h"

#include "camera/base/Log.h"
#include "camera/base/PluginPath.h"
#include "camera/base/StrictJson.h"
#include "camera/cli/AnalyticsCalls.h"
#include "camera/cli/Command.h"
#include "camera/onvif/ConfigurationFile.h"

namespace camera::cli {

namespace {

using Names = std::vector<std::string>;
using base::Offer;

// The models beside the program; --model also takes the path of a file.
Names models()
{
    Names names;
    for (const auto& file : std::filesystem::directory_iterator(base::programFolder() / "cameras")) {
        names.push_back(file.path().stem().string());
    }
    return names;
}

// The first field of each row that a service lists.
template <class... Fields>
Names listed(CameraClient& client, const char* method)
{
    Names names;
    for (const auto& row : std::get<0>(
             client.call<std::vector<sdbus::Struct<std::string, Fields...>>>(bus::service::kPositioning, method))) {
        names.push_back(std::get<0>(row));
    }
    return names;
}

Names components(CameraClient& client, bool rules)
{
    Names names;
    for (const std::string& element : componentsNow(client, rules)) {
        for (const onvif::ComponentName& component : onvif::componentsOf(element)) {
            names.push_back(component.name);
        }
    }
    return names;
}

Names engines(CameraClient& client)
{
    Names names;
    const auto [text] = client.call<std::string>(bus::service::kPipeline, "status");
    const Json::Value status = base::readStrictJson(text, text.size());
    for (const Json::Value& engine : status["engines"]) {
        names.push_back(engine["name"].asString());
    }
    return names;
}

Names ask(Offer offer, CommandContext& context)
{
    using Stop = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
    switch (offer) {
    case Offer::presets:
        return listed<std::uint32_t, std::int32_t, std::uint32_t>(context.client(), "listPresets");
    case Offer::tours:
        return listed<std::vector<Stop>>(context.client(), "listTours");
    case Offer::rules:
        return components(context.client(), true);
    case Offer::modules:
        return components(context.client(), false);
    case Offer::engines:
        return engines(context.client());
    case Offer::services:
        return {bus::service::kDayNight, bus::service::kWindowBlanking, bus::service::kRotate,
                bus::service::kMetadataStreamer, bus::service::kConfiguration};
    case Offer::models:
        return models();
    case Offer::nothing:
    case Offer::files:
    case Offer::folders:
        break;
    }
    return {};
}

} // namespace

std::vector<std::string> cameraNames(Offer offer, const base::Arguments& typed)
{
    base::Log::instance().setWriter([](const std::string&) {});
    base::Console console(stdout, stderr);
    base::Arguments arguments = typed;
    arguments.add("--timeout", "2"); // a person waits for the shell
    CommandContext context(arguments, console);
    try {
        return ask(offer, context);
    } catch (const std::exception&) {
        return {}; // the shell has no place for a sentence
    }
}

} // namespace camera::cli
