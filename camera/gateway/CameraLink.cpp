#include "camera/gateway/CameraLink.h"

namespace camera::gateway {

namespace {

constexpr const char* kAsked[] = {
    bus::service::kPipeline,    bus::service::kAnalytics, bus::service::kOnvifAnalyticService,
    bus::service::kPositioning, bus::service::kDayNight,  bus::service::kWindowBlanking,
    bus::service::kSupervisor,
};

onvif::Fault cannot(const std::string& reason)
{
    return onvif::Fault::receiver({"ter:Action"}, reason);
}

} // namespace

CameraLink::Services::Services(const std::shared_ptr<bus::Session>& session, bus::NameWatch::Changed positioningChanged)
    : _watch(session->connection(), {bus::busName(bus::service::kPositioning)}, std::move(positioningChanged))
{
    for (const char* const service : kAsked) {
        _proxies[service] = sdbus::createProxy(session->connection(), bus::busName(service), bus::objectPath(service));
    }
}

CameraLink::CameraLink(bus::Connection& connection, boost::asio::io_context& context) : _context(context)
{
    _services = connection.add<Services>([this](const std::shared_ptr<bus::Session>& session) {
        return std::make_shared<Services>(session, [this](const std::string& /*name*/, bool owned) {
            if (owned) {
                boost::asio::post(_context, [this] { lookWhetherItMoves(); });
            }
        });
    });
}

// What was known stays while nobody can be asked.
void CameraLink::lookWhetherItMoves()
{
    property<bool>(bus::service::kPositioning, "Available", [this](const onvif::Outcome<bool>& moves) {
        _moves = std::holds_alternative<bool>(moves) ? std::get<bool>(moves) : _moves;
    });
}

onvif::Fault CameraLink::noBus()
{
    return cannot("the camera's processes cannot be reached; try again when it has started");
}

onvif::Fault CameraLink::silence(const std::string& service)
{
    return cannot("the camera's service '" + service + "' does not answer");
}

onvif::Fault CameraLink::faultOf(const std::string& service, const sdbus::Error& error)
{
    if (bus::isAbsence(error)) {
        return cannot("the camera's service '" + service + "' does not run; try again when it has started");
    }
    return bus::isSilence(error) ? silence(service) : cannot(error.getMessage());
}

} // namespace camera::gateway
