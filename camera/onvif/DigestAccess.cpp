#include "camera/onvif/DigestAccess.h"

#include "camera/base/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace camera::onvif {

namespace {

using std::chrono::nanoseconds;

constexpr std::size_t kLongestHeader = 4096;
constexpr std::size_t kMostParameters = 32;
constexpr std::size_t kTimeDigits = 16;
constexpr std::string_view kDigestScheme = "digest";

bool isDigitOfHex(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

bool isTokenCharacter(char character)
{
    constexpr std::string_view kOthers = "!#$%&'*+-.^_`|~";
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || kOthers.find(character) != std::string_view::npos;
}

bool isControlCharacter(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return (byte < 0x20 && character != '\t') || byte == 0x7F;
}

// Reads a header from its beginning; an empty answer means that what was asked for does not stand there.
class HeaderReader {
public:
    explicit HeaderReader(std::string_view text) : _rest(text) {}

    bool atEnd() const { return _rest.empty(); }

    // Commas too: a list may have empty places.
    void skipSeparators() { skip(" \t,"); }

    std::size_t skipBlanks() { return skip(" \t"); }

    std::size_t skip(const char* characters)
    {
        const std::size_t count = std::min(_rest.find_first_not_of(characters), _rest.size());
        _rest.remove_prefix(count);
        return count;
    }

    bool take(char character)
    {
        const bool found = !_rest.empty() && _rest.front() == character;
        _rest.remove_prefix(found ? 1 : 0);
        return found;
    }

    std::string token()
    {
        const auto* const end = std::find_if_not(_rest.begin(), _rest.end(), isTokenCharacter);
        const std::string found(_rest.begin(), end);
        _rest.remove_prefix(found.size());
        return found;
    }

    // What stands between quotes, a backslash taken as a sign that the next character is meant as it is.
    std::optional<std::string> quoted()
    {
        std::string text;
        for (_rest.remove_prefix(1); !_rest.empty(); _rest.remove_prefix(1)) {
            if (take('"')) {
                return text;
            }
            if (_rest.front() == '\\') {
                _rest.remove_prefix(1);
            }
            if (_rest.empty() || isControlCharacter(_rest.front())) {
                return std::nullopt;
            }
            text += _rest.front();
        }
        return std::nullopt;
    }

    std::optional<std::string> value()
    {
        if (!_rest.empty() && _rest.front() == '"') {
            return quoted();
        }
        std::string found = token();
        return found.empty() ? std::nullopt : std::optional(std::move(found));
    }

private:
    std::string_view _rest;
};

// One NAME=VALUE.
bool readParameter(HeaderReader& reader, std::map<std::string, std::string>& parameters)
{
    const std::string name = base::inSmallLetters(reader.token());
    reader.skipBlanks();
    if (name.empty() || !reader.take('=')) {
        return false;
    }
    reader.skipBlanks();
    std::optional<std::string> value = reader.value();
    return value && parameters.emplace(name, std::move(*value)).second && parameters.size() <= kMostParameters;
}

// The parameters of a digest, each present.
struct DigestParameters {
    std::string username, realm, nonce, uri, response, qop, nc, cnonce;
};

// What is missing or wrong with a header before anything is computed; ok when nothing is.
LoginOutcome readDigest(const AuthorizationHeader& header, DigestParameters& digest)
{
    const auto& given = header.parameters;
    const auto userhash = given.find("userhash");
    if (header.scheme != kDigestScheme || given.count("username*") != 0 ||
        (userhash != given.end() && base::inSmallLetters(userhash->second) != "false")) {
        return LoginOutcome::unsupported;
    }
    const std::pair<const char*, std::string*> needed[] = {
        {"username", &digest.username}, {"realm", &digest.realm}, {"nonce", &digest.nonce}, {"uri", &digest.uri},
        {"response", &digest.response}, {"qop", &digest.qop},     {"nc", &digest.nc},       {"cnonce", &digest.cnonce}};
    for (const auto& [name, value] : needed) {
        const auto found = given.find(name);
        if (found == given.end() || found->second.empty()) {
            return LoginOutcome::incomplete;
        }
        *value = found->second;
    }
    if (digest.qop != "auth") {
        return LoginOutcome::unsupported;
    }
    digest.response = base::inSmallLetters(digest.response);
    const std::string count = base::inSmallLetters(digest.nc);
    const bool isCount = count.size() == 8 && std::all_of(count.begin(), count.end(), isDigitOfHex);
    return isCount ? LoginOutcome::ok : LoginOutcome::malformed;
}

// MD5 where a header names none.
std::optional<Hash> algorithmOf(const AuthorizationHeader& header)
{
    const auto given = header.parameters.find("algorithm");
    const std::string name = given == header.parameters.end() ? "md5" : base::inSmallLetters(given->second);
    return name == "md5" ? std::optional(Hash::md5) : name == "sha-256" ? std::optional(Hash::sha256) : std::nullopt;
}

std::string responseOf(Hash hash, const DigestParameters& digest, const std::string& password,
                       const std::string& method)
{
    const auto hex = [hash](const std::string& text) { return hexText(hashOf(hash, text)); };
    return hex(hex(digest.username + ":" + digest.realm + ":" + password) + ":" + digest.nonce + ":" + digest.nc + ":" +
               digest.cnonce + ":" + digest.qop + ":" + hex(method + ":" + digest.uri));
}

std::string timeDigits(nanoseconds time)
{
    const auto count = static_cast<std::uint64_t>(time.count());
    Bytes bytes(sizeof count);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(count >> (56 - 8 * i));
    }
    return hexText(bytes);
}

} // namespace

std::optional<AuthorizationHeader> parseAuthorization(const std::string& value)
{
    if (value.size() > kLongestHeader) {
        return std::nullopt;
    }
    HeaderReader reader(value);
    reader.skipBlanks();
    AuthorizationHeader header{base::inSmallLetters(reader.token()), {}};
    if (header.scheme.empty() || reader.skipBlanks() == 0) {
        return std::nullopt;
    }
    if (header.scheme != kDigestScheme) {
        return header;
    }
    reader.skipSeparators();
    while (!reader.atEnd()) {
        if (!readParameter(reader, header.parameters)) {
            return std::nullopt;
        }
        reader.skipBlanks();
        if (!reader.atEnd() && !reader.take(',')) {
            return std::nullopt;
        }
        reader.skipSeparators();
    }
    return header;
}

DigestAccess::DigestAccess(std::string realm, Bytes secret) : _realm(std::move(realm)), _secret(std::move(secret))
{
}

std::vector<std::string> DigestAccess::challenges(bool stale, Time now) const
{
    std::vector<std::string> values;
    // A client takes the first that it knows, and most know MD5 only.
    for (const char* const algorithm : {"MD5", "SHA-256"}) {
        values.push_back("Digest realm=\"" + _realm + "\", qop=\"auth\", algorithm=" + algorithm + ", nonce=\"" +
                         nonceOf(now.time_since_epoch()) + "\", stale=" + (stale ? "true" : "false"));
    }
    return values;
}

Login DigestAccess::check(const std::string& authorization, const std::string& method, const std::string& target,
                          const Users& users, Time now)
{
    const std::optional<AuthorizationHeader> header = parseAuthorization(authorization);
    if (!header) {
        return {LoginOutcome::malformed};
    }
    DigestParameters digest;
    const LoginOutcome outcome = readDigest(*header, digest);
    if (outcome != LoginOutcome::ok) {
        return {outcome};
    }
    const std::optional<Hash> hash = algorithmOf(*header);
    if (!hash) {
        return {LoginOutcome::unsupported};
    }
    if (digest.uri != target || digest.realm != _realm) {
        return {LoginOutcome::malformed};
    }

    // An unknown user costs the same work as a wrong password.
    const User* const user = users.find(digest.username);
    const std::string response = responseOf(*hash, digest, user == nullptr ? "" : user->password, method);
    if (!sameSecret(response, digest.response) || user == nullptr) {
        return {LoginOutcome::wrongCredentials};
    }
    // Only now: "stale" tells a client that its password is right. A nonce of an earlier process counts as old.
    const std::optional<nanoseconds> made = whenMade(digest.nonce, now);
    if (!made) {
        return {LoginOutcome::tooOld};
    }
    // No part holds a line end.
    const Bytes use = hashOf(Hash::sha256, digest.nonce + "\n" + digest.nc + "\n" + digest.cnonce);
    if (!_used.isNew(user->name, use, *made, now)) {
        return {LoginOutcome::replay};
    }
    return {LoginOutcome::ok, user->name, user->level};
}

std::string DigestAccess::nonceOf(nanoseconds made) const
{
    const std::string time = timeDigits(made);
    return time + hexText(signatureOf(_secret, time));
}

// Nothing when it is not a nonce of this process, or its time is over.
std::optional<nanoseconds> DigestAccess::whenMade(const std::string& nonce, Time now) const
{
    const nanoseconds made(std::strtoll(nonce.substr(0, kTimeDigits).c_str(), nullptr, 16));
    if (!sameSecret(nonceOf(made), nonce) || made > now.time_since_epoch() ||
        now.time_since_epoch() - made > kNonceLife) {
        return std::nullopt;
    }
    return made;
}

} // namespace camera::onvif
