#include "camera/onvif/Users.h"

#include "camera/base/Utf8.h"

#include <algorithm>
#include <string_view>

namespace camera::onvif {

namespace {

// Neither a file of lines nor a terminal keeps control characters as they are.
bool isOneLine(const std::string& text)
{
    const std::u32string characters = base::codePoints(text);
    return base::isSendable(text) && std::none_of(characters.begin(), characters.end(), [](char32_t character) {
               return character < 0x20 || (character >= 0x7F && character <= 0x9F);
           });
}

void checkName(const std::string& name)
{
    if (name.empty()) {
        throw UserRefusal(UserFault::usernameTooShort, "a user needs a name");
    }
    if (name.size() > kLongestUserName) {
        throw UserRefusal(UserFault::usernameTooLong,
                          "the name of a user has at most " + std::to_string(kLongestUserName) + " bytes");
    }
    // A colon ends the name where a digest is computed.
    if (!isOneLine(name) || name.find(':') != std::string::npos || name.front() == ' ' || name.back() == ' ') {
        throw UserRefusal(UserFault::usernameInvalid, "the name of a user is UTF-8 without control characters, colons, "
                                                      "and blanks at its ends");
    }
}

void checkPassword(const User& user)
{
    if (user.password.empty()) {
        throw UserRefusal(UserFault::passwordTooWeak, "the user '" + user.name + "' needs a password");
    }
    if (user.password.size() > kLongestPassword) {
        throw UserRefusal(UserFault::passwordTooLong, "the password of the user '" + user.name + "' has more than " +
                                                          std::to_string(kLongestPassword) + " bytes");
    }
    if (!isOneLine(user.password)) {
        throw UserRefusal(UserFault::passwordInvalid, "the password of the user '" + user.name +
                                                          "' has bytes that are not UTF-8, or control characters");
    }
}

void checkLevel(const std::string& name, UserLevel level)
{
    if (level == UserLevel::anonymous) {
        throw UserRefusal(UserFault::anonymousNotAllowed, "the user '" + name + "' cannot have the level Anonymous");
    }
}

std::vector<User>::iterator userNamed(std::vector<User>& users, const std::string& name)
{
    return std::find_if(users.begin(), users.end(), [&](const User& user) { return user.name == name; });
}

void addUsers(std::vector<User>& users, const std::vector<User>& added)
{
    for (const User& user : added) {
        checkName(user.name);
        checkPassword(user);
        checkLevel(user.name, user.level);
        if (userNamed(users, user.name) != users.end()) {
            throw UserRefusal(UserFault::usernameClash, "there is a user '" + user.name + "' already");
        }
        users.push_back(user);
    }
    if (users.size() > kMostUsers) {
        throw UserRefusal(UserFault::tooManyUsers, "there are at most " + std::to_string(kMostUsers) + " users");
    }
}

// @throws UserRefusal when a name is unknown or stands twice.
void checkNamesOfRequest(std::vector<User>& users, std::vector<std::string> names)
{
    for (const std::string& name : names) {
        if (userNamed(users, name) == users.end()) {
            // The text may be anything, so it is not shown.
            throw UserRefusal(UserFault::usernameMissing, "there is no user of that name");
        }
    }
    std::sort(names.begin(), names.end());
    const auto twice = std::adjacent_find(names.begin(), names.end());
    if (twice != names.end()) {
        throw UserRefusal(UserFault::usernameClash, "the request names the user '" + *twice + "' twice");
    }
}

UserLevel levelOf(std::string_view text)
{
    const std::optional<UserLevel> level = levelNamed(std::string(text));
    if (!level || *level == UserLevel::anonymous) {
        throw std::runtime_error("the level is 'administrator', 'operator' or 'user'");
    }
    return *level;
}

User checkedUser(User user)
{
    checkName(user.name);
    checkPassword(user);
    return user;
}

User userOfLine(std::string_view line)
{
    const std::size_t first = line.find(':');
    const std::size_t second = first == std::string_view::npos ? first : line.find(':', first + 1);
    if (second == std::string_view::npos) {
        throw std::runtime_error("it is not of the form NAME:LEVEL:PASSWORD");
    }
    return checkedUser({std::string(line.substr(0, first)), levelOf(line.substr(first + 1, second - first - 1)),
                        std::string(line.substr(second + 1))});
}

} // namespace

Users::Users(const std::vector<User>& users)
{
    create(users);
}

const User* Users::find(const std::string& name) const
{
    const auto found = std::find_if(_users.begin(), _users.end(), [&](const User& user) { return user.name == name; });
    return found == _users.end() ? nullptr : &*found;
}

void Users::create(const std::vector<User>& users)
{
    std::vector<User> next = _users;
    addUsers(next, users);
    take(std::move(next));
}

void Users::set(const std::vector<UserChange>& changes)
{
    std::vector<User> next = _users;
    std::vector<std::string> names;
    for (const UserChange& change : changes) {
        names.push_back(change.name);
    }
    checkNamesOfRequest(next, std::move(names));
    for (const UserChange& change : changes) {
        User& user = *userNamed(next, change.name);
        checkLevel(change.name, change.level);
        user.level = change.level;
        user.password = change.password.value_or(user.password);
        checkPassword(user);
    }
    take(std::move(next));
}

void Users::remove(const std::vector<std::string>& names)
{
    std::vector<User> next = _users;
    checkNamesOfRequest(next, names);
    for (const std::string& name : names) {
        next.erase(userNamed(next, name));
    }
    take(std::move(next));
}

// A user who may change users must be able to log in, also after this change.
void Users::take(std::vector<User> users)
{
    if (std::none_of(users.begin(), users.end(),
                     [](const User& user) { return user.level == UserLevel::administrator; })) {
        throw UserRefusal(UserFault::fixedUser, "one user must be an administrator");
    }
    _users = std::move(users);
}

std::string usersText(const Users& users)
{
    std::string text;
    for (const User& user : users.all()) {
        text += user.name + ":" + levelText(user.level) + ":" + user.password + "\n";
    }
    return text;
}

Users readUsers(const std::string& text)
{
    std::vector<User> users;
    std::size_t number = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string_view line = std::string_view(text).substr(begin, end - begin);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        begin = end + 1;
        ++number;
        if (line.empty()) {
            continue;
        }
        try {
            addUsers(users, {userOfLine(line)});
        } catch (const std::runtime_error& refusal) {
            throw std::runtime_error("line " + std::to_string(number) + ": " + refusal.what());
        }
    }
    return Users(users);
}

User readUserArgument(const std::string& text)
{
    const std::size_t first = text.find(':');
    const std::size_t last = text.rfind(':');
    if (first == last) {
        throw std::runtime_error("it is not of the form NAME:PASSWORD:LEVEL");
    }
    return checkedUser({text.substr(0, first), levelOf(std::string_view(text).substr(last + 1)),
                        text.substr(first + 1, last - first - 1)});
}

std::string firstPassword(const std::function<Bytes(std::size_t)>& random)
{
    // 32 characters: a byte gives five bits, each as likely.
    constexpr std::string_view kReadable = "abcdefghijkmnpqrstuvwxyz23456789";
    constexpr std::size_t kLetters = 16;
    const Bytes bytes = random(kLetters);
    std::string password;
    for (std::size_t i = 0; i < kLetters; ++i) {
        password += (i > 0 && i % 4 == 0 ? "-" : "");
        password += kReadable[bytes.at(i) % kReadable.size()];
    }
    return password;
}

} // namespace camera::onvif
