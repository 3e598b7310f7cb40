#include "camera/onvif/UsernameToken.h"

#include "camera/kit/Base64.h"
#include "camera/onvif/Times.h"

#include <algorithm>

namespace camera::onvif {

namespace {

std::string bytesText(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

bool isTooLong(const UsernameToken& token)
{
    const auto texts = {&token.username, &token.password, &token.passwordType, &token.nonce, &token.created};
    return std::any_of(texts.begin(), texts.end(),
                       [](const std::string* text) { return text->size() > UsernameTokens::kLongestText; });
}

// A password without a type is a clear one.
bool isDigestType(const std::string& type)
{
    constexpr std::string_view kEnd = "#PasswordDigest";
    return type.size() >= kEnd.size() && type.compare(type.size() - kEnd.size(), kEnd.size(), kEnd) == 0;
}

} // namespace

Login UsernameTokens::check(const UsernameToken& token, const Users& users, std::chrono::system_clock::time_point now,
                            ReplayMemory::Clock::time_point steadyNow)
{
    if (isTooLong(token)) {
        return {LoginOutcome::malformed};
    }
    if (token.username.empty() || token.password.empty()) {
        return {LoginOutcome::incomplete};
    }
    if (!isDigestType(token.passwordType)) {
        return {LoginOutcome::unsupported};
    }
    if (token.nonce.empty() || token.created.empty()) {
        return {LoginOutcome::incomplete};
    }
    const auto nonce = kit::base64Bytes(token.nonce);
    const auto digest = kit::base64Bytes(token.password);
    const auto created = parseDateTime(token.created);
    if (!nonce || nonce->empty() || !digest || !created) {
        return {LoginOutcome::malformed};
    }

    // An unknown user costs the same work as a wrong password.
    const User* const user = users.find(token.username);
    const std::string password = user == nullptr ? "" : user->password;
    const Bytes expected = hashOf(Hash::sha1, bytesText(*nonce) + token.created + password);
    if (!sameSecret(bytesText(expected), bytesText(*digest)) || user == nullptr) {
        return {LoginOutcome::wrongCredentials};
    }
    if (*created < now - kTolerance) {
        return {LoginOutcome::tooOld};
    }
    if (*created > now + kTolerance) {
        return {LoginOutcome::inTheFuture};
    }
    // Moving bytes from the nonce to the time gives the same digest, so the digest is what must not come again.
    if (!_accepted.isNew(user->name, *digest, created->time_since_epoch(), steadyNow)) {
        return {LoginOutcome::replay};
    }
    return {LoginOutcome::ok, user->name, user->level};
}

} // namespace camera::onvif
