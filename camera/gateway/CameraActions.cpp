#include "camera/gateway/CameraActions.h"

#include <cstdint>

namespace camera::gateway {

namespace {

using onvif::Blanking;
using onvif::Done;
using onvif::Fault;
using onvif::Outcome;
using onvif::PictureFacts;

/// Gives the value of an outcome on, or tells its fault.
template <class Value, class Then, class Next>
void goOn(const Outcome<Value>& outcome, const Then& then, const Next& next)
{
    if (const auto* const fault = std::get_if<Fault>(&outcome)) {
        then(*fault);
    } else {
        next(std::get<Value>(outcome));
    }
}

void askPicture(CameraLink& link, const std::function<void(Outcome<PictureFacts>)>& then)
{
    using Format = sdbus::Struct<std::uint32_t, std::uint32_t, double>;
    link.property<Format>(bus::service::kPipeline, "PictureFormat", [then](const Outcome<Format>& outcome) {
        goOn(outcome, then, [&then](const Format& format) {
            if (format.get<0>() == 0) {
                then(Fault::receiver({"ter:Action"}, "the camera has no pictures"));
                return;
            }
            const onvif::PictureSize size{static_cast<int>(format.get<0>()), static_cast<int>(format.get<1>())};
            then(PictureFacts{size, format.get<2>()});
        });
    });
}

void askBlanking(CameraLink& link, const std::function<void(Outcome<Blanking>)>& then)
{
    using On = std::tuple<std::uint8_t>;
    using Colour = std::tuple<std::uint8_t, std::uint8_t, std::uint8_t>;
    const char* const service = bus::service::kWindowBlanking;
    link.call<On>(service, "getEnable", [&link, service, then](const Outcome<On>& outcome) {
        goOn(outcome, then, [&](const On& on) {
            link.call<Colour>(service, "getRegionColor", [then, on](const Outcome<Colour>& colour) {
                goOn(colour, then, [&](const Colour& rgb) {
                    then(Blanking{std::get<0>(on) != 0, std::get<0>(rgb), std::get<1>(rgb), std::get<2>(rgb)});
                });
            });
        });
    });
}

void setBlanking(CameraLink& link, const Blanking& wanted, const Done& done)
{
    const auto switchIt = [&link, on = wanted.on, done](const std::optional<Fault>& failure) {
        if (failure) {
            done(failure);
        } else {
            link.perform(bus::service::kWindowBlanking, "setEnable", done, on);
        }
    };
    link.perform(bus::service::kWindowBlanking, "setRegionColor", switchIt, wanted.red, wanted.green, wanted.blue);
}

} // namespace

onvif::MediaActions mediaActions(CameraLink& link)
{
    onvif::MediaActions actions;
    actions.picture = [&link](const auto& then) { askPicture(link, then); };
    actions.moves = [&link] { return link.moves(); };
    // Nothing is streamed, so every stream would begin.
    actions.synchronize = [](const std::string& /*profile*/, const Done& done) { done(std::nullopt); };
    actions.blanking = [&link](const auto& then) { askBlanking(link, then); };
    actions.setBlanking = [&link](const Blanking& wanted, const Done& done) { setBlanking(link, wanted, done); };
    return actions;
}

onvif::ImagingActions imagingActions(CameraLink& link, onvif::Kept<onvif::IrCutFilter>& filter)
{
    onvif::ImagingActions actions;
    actions.filter = [&filter](const auto& then) { then(filter.value()); };
    actions.setFilter = [&link, &filter](onvif::IrCutFilter wanted, const Done& done) {
        // Both are sent before either is answered: a filter that began to move always arrives, even when this process
        // ends now.
        const auto keep = [&filter, wanted, done](const std::optional<Fault>& failure) {
            if (failure) {
                done(failure);
            } else {
                filter.change([wanted](onvif::IrCutFilter& kept) { kept = wanted; }, done);
            }
        };
        link.perform(bus::service::kDayNight, "begin", [](const std::optional<Fault>& /*failure*/) {});
        link.perform(bus::service::kDayNight, "end", keep);
    };
    return actions;
}

} // namespace camera::gateway
