#pragma once

#include "HttpClient.h"
#include "camera/base/ListeningSocket.h"
#include "camera/onvif/Digests.h"
#include "camera/onvif/Times.h"
#include "kit/ChildProcess.h"
#include "kit/TemporaryFolder.h"
#include "unit/camera_onvif/Credentials.h"

#include <chrono>
#include <fcntl.h>
#include <string>
#include <utility>
#include <vector>

namespace camera::gateway {

/// A request as a client sends it. @param header  of its envelope. @param lines  more lines of HTTP.
inline std::string postOf(const std::string& request, const std::string& header = "", const std::string& lines = "")
{
    const std::string text =
        "<env:Envelope><env:Header>" + header + "</env:Header><env:Body>" + request + "</env:Body></env:Envelope>";
    return "POST /onvif/device_service HTTP/1.1\r\nHost: camera\r\n" + lines +
           "Content-Length: " + std::to_string(text.size()) + "\r\n\r\n" + text;
}

/// An ONVIF client that sends a token with each request.
class OnvifClient {
public:
    OnvifClient(std::uint16_t port, std::string user, std::string password)
        : _port(port), _user(std::move(user)), _password(std::move(password))
    {
    }

    /// The whole HTTP answer. @param request  the element in the body, "<tds:GetUsers/>"
    std::string ask(const std::string& request) const { return HttpClient(_port).ask(message(request)); }

    std::string message(const std::string& request) const
    {
        const std::string nonce = onvif::hexText(onvif::randomBytes(8));
        const std::string created = onvif::dateTimeText(std::chrono::system_clock::now());
        return postOf(request, onvif::elementOf(onvif::tokenOf(_user, _password, nonce, created)));
    }

private:
    const std::uint16_t _port;
    const std::string _user;
    const std::string _password;
};

/// A folder and a port that outlive the programs that use them.
class GatewayPlace {
public:
    GatewayPlace() { ::fcntl(_listener.get(), F_SETFD, 0); }

    std::uint16_t port() const { return base::portOf(_listener.get()); }
    std::filesystem::path state() const { return _folder.path(); }
    std::filesystem::path usersFile() const { return state() / "gateway" / "users"; }
    const ::kit::TemporaryFolder& folder() const { return _folder; }

    /// The command line of a gateway here.
    std::vector<std::string> words(const std::string& bus, const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> words = {CAMERA_GATEWAY_PROGRAM,
                                          "--bus",
                                          bus,
                                          "--state",
                                          state(),
                                          "--http",
                                          "fd:" + std::to_string(_listener.get())};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

private:
    ::kit::TemporaryFolder _folder;
    const base::FileDescriptor _listener = base::listeningSocket("127.0.0.1", 0);
};

} // namespace camera::gateway
