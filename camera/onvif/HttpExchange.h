#pragma once

#include <functional>
#include <string>
#include <vector>

namespace camera::onvif {

/// Where clients begin.
constexpr const char* kDeviceServicePath = "/onvif/device_service";

/// Takes what shall be called once, on the thread of the services, when the client goes away before it has its answer.
using WhenGone = std::function<void(std::function<void()> gone)>;

/// A request whose whole body was read.
struct HttpRequest {
    std::string method;        ///< "POST"
    std::string target;        ///< "/onvif/device_service"
    std::string base;          ///< how the client reached this server: "http://192.168.1.2:8080"
    std::string authorization; ///< the header of that name, else empty
    std::string body;
    std::string peer;       ///< the client's address without its port
    WhenGone whenGone = {}; ///< empty: nobody knows
};

struct HttpAnswer {
    int status = 200;
    std::string contentType; ///< empty: without a body
    std::string body;
    std::vector<std::string> challenges; ///< how to log in, one header each
};

} // namespace camera::onvif
