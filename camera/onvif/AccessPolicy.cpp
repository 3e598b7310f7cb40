#include "camera/onvif/AccessPolicy.h"

#include "camera/base/Text.h"

namespace camera::onvif {

namespace {

constexpr UserLevel kLevels[] = {UserLevel::anonymous, UserLevel::user, UserLevel::operator_, UserLevel::administrator};

} // namespace

UserLevel lowestLevel(AccessClass access)
{
    switch (access) {
    case AccessClass::preAuth:
        return UserLevel::anonymous;
    case AccessClass::readSystem:
    case AccessClass::readMedia:
        return UserLevel::user;
    case AccessClass::readSystemSensitive:
    case AccessClass::actuate:
        return UserLevel::operator_;
    case AccessClass::readSystemSecret:
    case AccessClass::writeSystem:
    case AccessClass::unrecoverable:
        break;
    }
    return UserLevel::administrator;
}

bool mayCall(UserLevel level, AccessClass access)
{
    return level >= lowestLevel(access);
}

std::string levelText(UserLevel level)
{
    switch (level) {
    case UserLevel::administrator:
        return "Administrator";
    case UserLevel::operator_:
        return "Operator";
    case UserLevel::user:
        return "User";
    case UserLevel::anonymous:
        break;
    }
    return "Anonymous";
}

std::optional<UserLevel> levelNamed(const std::string& text)
{
    for (const UserLevel level : kLevels) {
        if (base::inSmallLetters(text) == base::inSmallLetters(levelText(level))) {
            return level;
        }
    }
    return std::nullopt;
}

} // namespace camera::onvif
