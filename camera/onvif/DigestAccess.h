#pragma once

#include "camera/onvif/Digests.h"
#include "camera/onvif/Login.h"
#include "camera/onvif/ReplayMemory.h"
#include "camera/onvif/Users.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// An Authorization header.
struct AuthorizationHeader {
    std::string scheme;                            ///< in small letters: "digest"
    std::map<std::string, std::string> parameters; ///< of a digest; names in small letters, values without quotes
};

/// The value of such a header: a scheme and, where that is Digest, a list of NAME=TOKEN and NAME="TEXT". Nothing when
/// it is not of that form, when a name stands twice, and for more than 4096 bytes or 32 parameters.
std::optional<AuthorizationHeader> parseAuthorization(const std::string& value);

/**
 * HTTP digest access with MD5 and SHA-256 and qop "auth". A nonce is the time at which it was made and its signature
 * with the secret of this process; it is good for five minutes. Nonce, count and client nonce are accepted together
 * once: what comes again, or with a nonce that is not good, is answered with a new challenge that says "stale", upon
 * which a client asks again without asking its user.
 *
 * Times are those of a steady clock: another time of day changes nothing.
 *
 * Thread-bound.
 */
class DigestAccess {
public:
    using Time = ReplayMemory::Clock::time_point;

    static constexpr std::chrono::minutes kNonceLife{5};

    /// @param realm  printable ASCII without quotes and backslashes.
    /// @param secret of 32 random bytes, new for each process.
    explicit DigestAccess(std::string realm, Bytes secret = randomBytes(32));

    /// The values of the WWW-Authenticate headers of an answer 401, in this order.
    std::vector<std::string> challenges(bool stale, Time now) const;

    /// Whether the challenge upon this outcome says "stale".
    static bool isStale(LoginOutcome outcome)
    {
        return outcome == LoginOutcome::tooOld || outcome == LoginOutcome::replay;
    }

    /**
     * @param authorization the value of the header.
     * @param method, target as in the first line of the request; the parameter uri is the target to the byte.
     */
    Login check(const std::string& authorization, const std::string& method, const std::string& target,
                const Users& users, Time now);

private:
    std::string nonceOf(std::chrono::nanoseconds made) const;
    std::optional<std::chrono::nanoseconds> whenMade(const std::string& nonce, Time now) const;

    std::string _realm;
    Bytes _secret;
    ReplayMemory _used{kNonceLife};
};

} // namespace camera::onvif
