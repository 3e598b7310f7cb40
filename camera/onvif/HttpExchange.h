#pragma once

#include <string>
#include <vector>

namespace camera::onvif {

/// Where clients begin.
constexpr const char* kDeviceServicePath = "/onvif/device_service";

/// A request whose whole body was read.
struct HttpRequest {
    std::string method;        ///< "POST"
    std::string target;        ///< "/onvif/device_service"
    std::string base;          ///< how the client reached this server: "http://192.168.1.2:8080"
    std::string authorization; ///< the header of that name, else empty
    std::string body;
    std::string peer; ///< the client's address without its port
};

struct HttpAnswer {
    int status = 200;
    std::string contentType; ///< empty: without a body
    std::string body;
    std::vector<std::string> challenges; ///< how to log in, one header each
};

} // namespace camera::onvif
