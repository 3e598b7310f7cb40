#pragma once

#include "camera/onvif/AccessPolicy.h"
#include "camera/onvif/Digests.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace camera::onvif {

inline constexpr std::size_t kMostUsers = 32;
inline constexpr std::size_t kLongestUserName = 64;  ///< bytes
inline constexpr std::size_t kLongestPassword = 128; ///< bytes

/// Why a change of the users is refused; ONVIF has a fault for each.
enum class UserFault {
    usernameClash,    ///< the name is taken, or stands twice in one request
    usernameMissing,  ///< there is no such user
    usernameTooShort, ///< it is empty
    usernameTooLong,
    usernameInvalid, ///< not UTF-8, a control character, a colon, a blank at an end
    passwordTooLong,
    passwordTooWeak, ///< missing or empty
    passwordInvalid, ///< not UTF-8, a control character
    anonymousNotAllowed,
    fixedUser, ///< no administrator would be left
    tooManyUsers
};

/// One sentence, which may name the user, never a password.
class UserRefusal : public std::runtime_error {
public:
    UserRefusal(UserFault fault, const std::string& what) : std::runtime_error(what), fault(fault) {}

    UserFault fault;
};

struct User {
    std::string name;
    UserLevel level = UserLevel::user;
    std::string password; ///< clear: a token is checked with it
};

/// What SetUser says of one user; without a password the old one stays.
struct UserChange {
    std::string name;
    UserLevel level = UserLevel::user;
    std::optional<std::string> password;
};

/**
 * The users of a device, as a value: a caller changes a copy, stores it, and then takes it. There is always an
 * administrator; names are unique, and small letters differ from capitals.
 * An operation that throws UserRefusal has changed nothing.
 */
class Users {
public:
    /// @throws UserRefusal as create(), and when no administrator is among them.
    explicit Users(const std::vector<User>& users);

    const std::vector<User>& all() const { return _users; }

    /// Null when there is none of that name; valid until the next change.
    const User* find(const std::string& name) const;

    /// Empty passwords stand for missing ones: both are refused.
    void create(const std::vector<User>& users);
    void set(const std::vector<UserChange>& changes);
    void remove(const std::vector<std::string>& names);

private:
    void take(std::vector<User> users);

    std::vector<User> _users;
};

/// The users as lines NAME:LEVEL:PASSWORD, for a file that only its owner can read. readUsers() gives the same back.
std::string usersText(const Users& users);

/**
 * The users of such a text, which may also be written by hand: the password is all behind the second colon, lines may
 * end in CR LF, empty lines are passed over.
 * @throws std::runtime_error with one sentence that begins with "line 3: " where one line is to blame. It holds nothing
 *         of the line but the name where that is sound, because a part in a wrong place may be the password.
 */
Users readUsers(const std::string& text);

/// The user of an argument NAME:PASSWORD:LEVEL; colons may stand in the password. @throws as readUsers().
User readUserArgument(const std::string& text);

/// A first password, "abcd-efgh-jkmn-pqrs": 80 bits, of letters and digits that are not taken for others.
std::string firstPassword(const std::function<Bytes(std::size_t)>& random = randomBytes);

} // namespace camera::onvif
