#include "camera/cli/CameraNames.h"

#include "camera/base/Log.h"
#include "camera/base/PluginPath.h"
#include "camera/cli/AnalyticsCalls.h"
#include "camera/cli/Command.h"

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

// The first field of each row that a method lists.
template <class Method>
Names listed(CameraClient& client, Method method)
{
    Names names;
    for (const auto& row : client.ask(method)) {
        names.push_back(row.template get<0>());
    }
    return names;
}

Names components(CameraClient& client, bool rules)
{
    Names names;
    for (const onvif::PlacedComponent& component : publicComponents(client)) {
        if (component.isRule == rules) {
            names.push_back(component.name);
        }
    }
    return names;
}

Names ask(Offer offer, CommandContext& context)
{
    switch (offer) {
    case Offer::presets:
        return listed(context.client(), &bus::PositioningClient::listPresets);
    case Offer::tours:
        return listed(context.client(), &bus::PositioningClient::listTours);
    case Offer::rules:
        return components(context.client(), true);
    case Offer::modules:
        return components(context.client(), false);
    case Offer::engines:
        return listed(context.client(), &bus::PipelineClient::engines);
    case Offer::services:
        return {bus::service::kDayNight, bus::service::kWindowBlanking, bus::service::kRotate,
                bus::service::kOnvifMetadataStreamer, bus::service::kConfiguration};
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
    arguments.add("--timeout", "2"); // because a person waits for the shell
    CommandContext context(arguments, console);
    try {
        return ask(offer, context);
    } catch (const std::exception&) {
        return {}; // completion cannot show an error
    }
}

} // namespace camera::cli
