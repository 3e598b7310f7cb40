#pragma once

#include "camera/bus/onvif_metadata_streamer_server.h"
#include "camera/services/FaultyAnswers.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>

namespace camera::services {

class MetadataSocket;

/// The metadata streamer service: takes ONVIF metadata documents and hands them to the socket's subscribers.
class MetadataObject final : public bus::OnvifMetadataStreamerServer {
public:
    static constexpr std::size_t kLargestDocumentBytes = 16 * 1024 * 1024;

    MetadataObject(const ObjectContext& context, MetadataSocket& socket);

private:
    void sendOnvifAnalyticsMetadataXml(const std::string& xml, std::int32_t flag) override;
    std::string getSocket() override;
    std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t> getCounters() override;

    MetadataSocket& _socket;
};

} // namespace camera::services
