#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace boost::asio::ssl {
class context;
}

namespace camera::gateway {

/// A private key (EC P-256) and a certificate for it, both as PEM.
struct Certificate {
    std::string key;
    std::string certificate;
};

/**
 * A certificate that is signed with its own key, good for ten years from yesterday on, because clocks differ.
 * @param names of the device: IP addresses and host names.
 * @throws std::runtime_error when the library fails.
 */
Certificate newCertificate(const std::vector<std::string>& names);

/// The certificate in that file, which only this user can read; made at the first call.
/// @throws std::runtime_error with one sentence that names the file.
Certificate keptCertificate(const std::filesystem::path& file, const std::vector<std::string>& names);

/// Lets a TLS server show it. TLS 1.2 and newer. @throws boost::system::system_error
void use(boost::asio::ssl::context& context, const Certificate& certificate);

} // namespace camera::gateway
