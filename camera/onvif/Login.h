#pragma once

#include "camera/onvif/AccessPolicy.h"

#include <string>

namespace camera::onvif {

/// What came of a login. A client with wrong credentials learns nothing else: whether the user exists and whether the
/// rest would have been right is told only to those who know the password.
enum class LoginOutcome {
    ok,
    wrongCredentials, ///< no such user, or not its password
    tooOld,           ///< the time of a token, or the nonce of a digest, is over
    inTheFuture,      ///< the time of a token has not come
    replay,           ///< the same was sent before
    incomplete,       ///< a part is missing
    malformed,        ///< a part cannot be read, or does not belong to this request
    unsupported       ///< another way to log in, or another algorithm
};

struct Login {
    LoginOutcome outcome = LoginOutcome::incomplete;
    std::string user = {};                  ///< empty unless ok
    UserLevel level = UserLevel::anonymous; ///< anonymous unless ok
};

} // namespace camera::onvif
