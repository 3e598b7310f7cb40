#pragma once

#include "camera/services/ServiceObject.h"

#include <cstddef>
#include <string>

namespace camera::services {

class MetadataSocket;

/// The metadata streamer service: takes ONVIF metadata documents and hands them to the socket's subscribers.
class MetadataObject : public ServiceObject {
public:
    static constexpr std::size_t kLargestDocumentBytes = 16 * 1024 * 1024;

    MetadataObject(const ObjectContext& context, MetadataSocket& socket);

private:
    void registerMethods();
    void send(const std::string& xml);

    MetadataSocket& _socket;
};

} // namespace camera::services
