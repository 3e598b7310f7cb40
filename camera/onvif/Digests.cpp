#include "camera/onvif/Digests.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace camera::onvif {

Bytes hashOf(Hash hash, std::string_view text)
{
    const EVP_MD* const type = hash == Hash::md5 ? EVP_md5() : hash == Hash::sha1 ? EVP_sha1() : EVP_sha256();
    std::array<unsigned char, EVP_MAX_MD_SIZE> result{};
    unsigned size = 0;
    if (EVP_Digest(text.data(), text.size(), result.data(), &size, type, nullptr) != 1) {
        throw std::runtime_error("the system's library of digests does not compute a digest");
    }
    return {result.begin(), result.begin() + size};
}

Bytes signatureOf(const Bytes& secret, std::string_view text)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> result{};
    unsigned size = 0;
    if (HMAC(EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
             reinterpret_cast<const unsigned char*>(text.data()), text.size(), result.data(), &size) == nullptr) {
        throw std::runtime_error("the system's library of digests does not sign");
    }
    return {result.begin(), result.begin() + size};
}

std::string hexText(const Bytes& bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const unsigned byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text;
}

bool sameSecret(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

Bytes randomBytes(std::size_t count)
{
    Bytes bytes(count);
    if (RAND_bytes(bytes.data(), static_cast<int>(count)) != 1) {
        throw std::runtime_error("the system has no random numbers");
    }
    return bytes;
}

} // namespace camera::onvif
