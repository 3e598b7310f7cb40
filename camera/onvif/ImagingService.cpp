#include "camera/onvif/ImagingService.h"

#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/Requests.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace camera::onvif {

namespace {

constexpr std::array<std::pair<IrCutFilter, const char*>, 3> kFilters = {{
    {IrCutFilter::on, "ON"},
    {IrCutFilter::off, "OFF"},
    {IrCutFilter::automatic, "AUTO"},
}};

void checkImagingSource(const Call& call)
{
    if (requiredText(call.request(), "timg:VideoSourceToken") != kVideoSource) {
        throw Fault::invalid("ter:NoSource", "there is no such video source");
    }
}

/// The filter that a client sets, which is all that it can set.
IrCutFilter wantedFilter(const pugi::xml_node& settings)
{
    for (const pugi::xml_node& setting : settings.children()) {
        if (setting.type() == pugi::node_element && setting.name() != std::string_view("tt:IrCutFilter")) {
            throw Fault::invalid("ter:SettingsInvalid",
                                 "'" + std::string(setting.name()) + "' cannot be set; tt:IrCutFilter can");
        }
    }
    if (const auto wanted = filterNamed(requiredText(settings, "tt:IrCutFilter"))) {
        return *wanted;
    }
    throw Fault::invalid("ter:SettingsInvalid", "tt:IrCutFilter is ON, OFF or AUTO");
}

} // namespace

std::string filterText(IrCutFilter filter)
{
    const auto* const found =
        std::find_if(kFilters.begin(), kFilters.end(), [filter](const auto& each) { return each.first == filter; });
    return found->second;
}

std::optional<IrCutFilter> filterNamed(const std::string& text)
{
    for (const auto& [filter, name] : kFilters) {
        if (text == name) {
            return filter;
        }
    }
    return std::nullopt;
}

ImagingService::ImagingService(ImagingActions actions) : _actions(std::move(actions))
{
}

void ImagingService::addTo(Operations& operations, ServiceDirectory& directory)
{
    using Shared = std::shared_ptr<const Call>;
    const auto capabilities = [](pugi::xml_node node) {
        putAttribute(node, "ImageStabilization", false);
        putAttribute(node, "Presets", false);
    };
    directory.add({"timg", "/onvif/imaging_service", 24, 6, capabilities, "Imaging"}, operations);
    operations.add("timg:GetOptions", AccessClass::readMedia, [](const Call& call) {
        checkImagingSource(call);
        Answer answer = call.answer();
        pugi::xml_node options = answer.body().append_child("timg:ImagingOptions");
        for (const auto& [filter, text] : kFilters) {
            put(options, "tt:IrCutFilterModes", text);
        }
        return answer;
    });
    operations.addLater(
        "timg:GetImagingSettings", AccessClass::readMedia, [this](const Shared& call, const Reply& reply) {
            checkImagingSource(*call);
            askAndAnswer(_actions.filter, reply, [call](IrCutFilter filter) {
                Answer answer = call->answer();
                put(answer.body().append_child("timg:ImagingSettings"), "tt:IrCutFilter", filterText(filter));
                return answer;
            });
        });
    operations.addLater("timg:SetImagingSettings", AccessClass::actuate,
                        [this](const Shared& call, const Reply& reply) {
                            checkImagingSource(*call);
                            _actions.setFilter(wantedFilter(call->request().child("timg:ImagingSettings")),
                                               answerWhenDone(call, reply));
                        });
}

} // namespace camera::onvif
