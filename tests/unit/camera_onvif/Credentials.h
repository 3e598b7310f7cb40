#pragma once

#include "camera/kit/Base64.h"
#include "camera/onvif/Digests.h"
#include "camera/onvif/UsernameToken.h"

#include <string>

namespace camera::onvif {

/// The type of a token's password that is a digest.
inline constexpr const char* kPasswordDigest =
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordDigest";

/// A client's token. @param nonce  its bytes.
inline UsernameToken tokenOf(const std::string& user, const std::string& password, const std::string& nonce,
                             const std::string& created)
{
    return {user, kit::base64Text(hashOf(Hash::sha1, nonce + created + password)), kPasswordDigest,
            kit::base64Text(Bytes(nonce.begin(), nonce.end())), created};
}

/// A token as it stands in the header of a message, without the parts that are empty.
inline std::string elementOf(const UsernameToken& token)
{
    const auto part = [](const char* name, const std::string& attribute, const std::string& text) {
        return text.empty() ? "" : std::string("<") + name + attribute + ">" + text + "</" + name + ">";
    };
    return "<wsse:Security><wsse:UsernameToken>" + part("wsse:Username", "", token.username) +
           part("wsse:Password", " Type='" + token.passwordType + "'", token.password) +
           part("wsse:Nonce", "", token.nonce) + part("wsu:Created", "", token.created) +
           "</wsse:UsernameToken></wsse:Security>";
}

/// The nonce of a challenge of HTTP digest access.
inline std::string nonceOf(const std::string& challenge)
{
    const std::size_t begin = challenge.find("nonce=\"") + 7;
    return challenge.substr(begin, challenge.find('"', begin) - begin);
}

/// A client that answers such a challenge as a browser does.
struct DigestClient {
    std::string user;
    std::string password;
    std::string nonce = {};
    std::string realm = "camera";
    std::string uri = "/onvif/device_service";
    std::string method = "POST";
    std::string nc = "00000001";
    std::string cnonce = "c0ffee";
    Hash hash = Hash::md5;

    std::string response() const
    {
        const auto hex = [this](const std::string& text) { return hexText(hashOf(hash, text)); };
        return hex(hex(user + ":" + realm + ":" + password) + ":" + nonce + ":" + nc + ":" + cnonce +
                   ":auth:" + hex(method + ":" + uri));
    }

    std::string quotedUser() const
    {
        std::string quoted;
        for (const char character : user) {
            quoted += (character == '"' || character == '\\' ? "\\" : "") + std::string(1, character);
        }
        return quoted;
    }

    std::string header() const
    {
        return "Digest username=\"" + quotedUser() + "\", realm=\"" + realm + "\", nonce=\"" + nonce + "\", uri=\"" +
               uri + "\", response=\"" + response() + "\", qop=auth, nc=" + nc + ", cnonce=\"" + cnonce +
               "\", opaque=\"x\", unknown=1" + (hash == Hash::sha256 ? ", algorithm=SHA-256" : "");
    }
};

} // namespace camera::onvif
