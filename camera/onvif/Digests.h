#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace camera::onvif {

// What a login is checked with. Nothing here keeps or logs what it is given.

using Bytes = std::vector<std::uint8_t>;

enum class Hash { md5, sha1, sha256 };

/// @throws std::runtime_error when the library has no such hash: some systems forbid MD5.
Bytes hashOf(Hash hash, std::string_view text);

/// HMAC with SHA-256, 32 bytes.
Bytes signatureOf(const Bytes& secret, std::string_view text);

/// Two lower-case digits for each byte.
std::string hexText(const Bytes& bytes);

/// Whether both are the same, in a time that depends on their sizes only.
bool sameSecret(std::string_view a, std::string_view b);

/// Bytes that nobody can foresee. @throws std::runtime_error when the system has none.
Bytes randomBytes(std::size_t count);

} // namespace camera::onvif
