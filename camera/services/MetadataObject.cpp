#include "camera/services/MetadataObject.h"

#include "camera/services/MetadataSocket.h"

namespace camera::services {

MetadataObject::MetadataObject(const ObjectContext& context, MetadataSocket& socket)
    : OnvifMetadataStreamerServer(context.connection, withFaults(context, bus::service::kOnvifMetadataStreamer)),
      _socket(socket)
{
}

std::string MetadataObject::getSocket()
{
    return _socket.path();
}

std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t> MetadataObject::getCounters()
{
    const MetadataSocket::Counters now = _socket.counters();
    return {now.received, now.delivered, now.lost, static_cast<std::uint32_t>(now.subscribers.size())};
}

void MetadataObject::sendOnvifAnalyticsMetadataXml(const std::string& xml, std::int32_t /*flag*/)
{
    if (xml.size() > kLargestDocumentBytes) {
        throw sdbus::Error(bus::error::kTooLarge, "a metadata document has at most " +
                                                      std::to_string(kLargestDocumentBytes) + " bytes, not " +
                                                      std::to_string(xml.size()));
    }
    if (xml.empty()) {
        throw bus::Refusal("the metadata document is empty");
    }
    _socket.publish(xml);
}

} // namespace camera::services
