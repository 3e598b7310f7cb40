#pragma once

#include "camera/onvif/Login.h"
#include "camera/onvif/ReplayMemory.h"
#include "camera/onvif/Users.h"

#include <chrono>
#include <string>

namespace camera::onvif {

/// The texts of a wsse:UsernameToken as they stand in the message; empty where it has none.
struct UsernameToken {
    std::string username;
    std::string password;     ///< the digest in base64
    std::string passwordType; ///< the attribute Type of the password
    std::string nonce;        ///< in base64
    std::string created;      ///< digested as it is written
};

/**
 * Checks tokens whose password is a digest, Base64(SHA-1(nonce + created + password)). Nonce and time are both needed,
 * and the time lies within five minutes of the device's clock. What was accepted is remembered for ten minutes, the
 * longest time for which it could be accepted again; a clock that is set back by more than that makes older messages
 * acceptable again. Nothing is remembered of a client that does not know the password.
 *
 * Thread-bound.
 */
class UsernameTokens {
public:
    static constexpr std::chrono::minutes kTolerance{5};
    static constexpr std::size_t kLongestText = 256; ///< of each text in bytes

    Login check(const UsernameToken& token, const Users& users, std::chrono::system_clock::time_point now,
                ReplayMemory::Clock::time_point steadyNow);

private:
    ReplayMemory _accepted{2 * kTolerance};
};

} // namespace camera::onvif
