#pragma once

#include "camera/onvif/DigestAccess.h"
#include "camera/onvif/HttpExchange.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/UsernameToken.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace camera::onvif {

/// Clocks of the device, which tests set.
struct Clocks {
    std::function<std::chrono::system_clock::time_point()> wall = std::chrono::system_clock::now;
    std::function<std::chrono::steady_clock::time_point()> steady = std::chrono::steady_clock::now;
};

/**
 * Answers HTTP requests that carry SOAP: reads the envelope, finds the operation, lets the client log in, performs it.
 *
 * Every address below /onvif/ answers every operation, because clients send operations to the wrong one. Whether a
 * client has to log in is decided before the operation sees the request; an operation that everybody may call does not
 * look at credentials.
 *
 * Thread-bound; an operation that answers later does so on this thread too.
 */
class SoapService {
public:
    using Answered = std::function<void(HttpAnswer)>;

    /// @param operations, users  borrowed; the users may change between two requests.
    SoapService(const Operations& operations, const Users& users, DigestAccess digestAccess, Clocks clocks = {});

    /// Throws nothing; answers once.
    void handle(const HttpRequest& request, const Answered& answered);

private:
    void perform(const HttpRequest& request, std::shared_ptr<Call>& call, const Answered& answered);
    Login logIn(const HttpRequest& request, const Call& call);
    HttpAnswer asksToLogIn(bool stale, const std::string& relatesTo) const;

    const Operations& _operations;
    const Users& _users;
    DigestAccess _digestAccess;
    UsernameTokens _tokens;
    const Clocks _clocks;
};

} // namespace camera::onvif
