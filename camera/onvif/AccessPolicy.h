#pragma once

#include <optional>
#include <string>

namespace camera::onvif {

/// What a user may do, from little to much: a higher level may do all that a lower one may.
enum class UserLevel { anonymous, user, operator_, administrator };

/// What an operation does, which decides who may call it.
enum class AccessClass {
    preAuth,
    readSystem,
    readSystemSensitive,
    readSystemSecret,
    writeSystem,
    unrecoverable,
    readMedia,
    actuate
};

/// The default access policy: the lowest level that may call operations of a class.
UserLevel lowestLevel(AccessClass access);
bool mayCall(UserLevel level, AccessClass access);

/// "Administrator", as ONVIF writes it.
std::string levelText(UserLevel level);

/// The level of that name, in any case; nothing when there is none.
std::optional<UserLevel> levelNamed(const std::string& text);

} // namespace camera::onvif
