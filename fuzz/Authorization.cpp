// Authorization headers: any bytes are refused, or are parameters that stand for themselves; nothing logs in twice.

#include "camera/onvif/DigestAccess.h"
#include "support/Check.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using camera::onvif::AuthorizationHeader;
using camera::onvif::Bytes;
using camera::onvif::DigestAccess;
using camera::onvif::Login;
using camera::onvif::LoginOutcome;
using camera::onvif::parseAuthorization;
using camera::onvif::UserLevel;
using camera::onvif::Users;

std::string quoted(const std::string& value)
{
    std::string text = "\"";
    for (const char character : value) {
        text += character == '"' || character == '\\' ? "\\" : "";
        text += character;
    }
    return text + "\"";
}

void checkParameters(const AuthorizationHeader& header)
{
    fuzz::check(header.parameters.size() <= 32, "there is a limit of parameters");
    std::string again = header.scheme + " ";
    for (const auto& [name, value] : header.parameters) {
        again += name + "=" + quoted(value) + ",";
    }
    const auto back = parseAuthorization(again);
    // Quotes, a space and commas make it longer than it was.
    fuzz::check(back ? back->scheme == header.scheme && back->parameters == header.parameters : again.size() > 4096,
                "parameters that are written are read back");
}

// The corpus has headers that log in: secret and time never change.
void logIn(const std::string& text)
{
    static const Users users({{"root", UserLevel::administrator, "swordfish"}});
    const DigestAccess::Time now(std::chrono::seconds(100000));
    DigestAccess access("camera", Bytes(32, 7));
    const Login first = access.check(text, "POST", "/onvif/device_service", users, now);
    fuzz::check((first.outcome == LoginOutcome::ok) == (first.level == UserLevel::administrator),
                "a login has a level");
    const Login second = access.check(text, "POST", "/onvif/device_service", users, now);
    fuzz::check(second.outcome == (first.outcome == LoginOutcome::ok ? LoginOutcome::replay : first.outcome),
                "nothing logs in twice");
    fuzz::check(second.user.empty(), "only a login has a user");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (const auto header = parseAuthorization(text)) {
        checkParameters(*header);
    }
    logIn(text);
    return 0;
}
