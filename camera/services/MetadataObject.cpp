#include "camera/services/MetadataObject.h"

#include "camera/services/MetadataSocket.h"

#include <cstdint>

namespace camera::services {

MetadataObject::MetadataObject(const ObjectContext& context, MetadataSocket& socket)
    : ServiceObject(context, bus::service::kMetadataStreamer), _socket(socket)
{
    registerMethods();
    object().finishRegistration();
}

void MetadataObject::registerMethods()
{
    object()
        .registerMethod("sendOnvifAnalyticsMetadataXml")
        .onInterface(interface())
        .withInputParamNames("xml", "flag")
        .implementedAs([this](sdbus::Result<>&& result, const std::string& xml, std::int32_t /*flag*/) {
            respond(
                std::move(result), [&] { send(xml); }, xml.size());
        });
    object()
        .registerMethod("getSocket")
        .onInterface(interface())
        .withOutputParamNames("path")
        .implementedAs([this](sdbus::Result<std::string>&& result) {
            respond(std::move(result), [this] { return base::sendable(_socket.path()); });
        });
    object()
        .registerMethod("getCounters")
        .onInterface(interface())
        .withOutputParamNames("received", "delivered", "lost", "subscribers")
        .implementedAs([this](sdbus::Result<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t>&& result) {
            respond(std::move(result), [this] {
                const MetadataSocket::Counters now = _socket.counters();
                return std::make_tuple(now.received, now.delivered, now.lost,
                                       static_cast<std::uint32_t>(now.subscribers.size()));
            });
        });
}

void MetadataObject::send(const std::string& xml)
{
    if (xml.size() > kLargestDocumentBytes) {
        throw sdbus::Error(bus::error::kTooLarge, "a metadata document has at most " +
                                                      std::to_string(kLargestDocumentBytes) + " bytes, not " +
                                                      std::to_string(xml.size()));
    }
    if (bus::checkedText(xml, "the metadata document").empty()) {
        throw bus::Refusal("the metadata document is empty");
    }
    _socket.publish(xml);
}

} // namespace camera::services
