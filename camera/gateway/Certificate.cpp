#include "camera/gateway/Certificate.h"

#include "camera/base/AtomicFile.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ssl/context.hpp>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <array>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace camera::gateway {

namespace {

constexpr long kDay = 24L * 60 * 60;
constexpr long kYears = 10 * 365 * kDay;
constexpr const char* kEndOfKey = "-----END PRIVATE KEY-----\n";

struct Free {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
    void operator()(BIO* bio) const { BIO_free(bio); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

/// @throws std::runtime_error when the library failed: what it returned is null or not positive.
template <class Result>
Result checked(Result result)
{
    if (result <= Result(0)) {
        throw std::runtime_error("the TLS library cannot make a certificate");
    }
    return result;
}

template <class T>
Owned<T> checked(T* made)
{
    if (made == nullptr) {
        throw std::runtime_error("the TLS library cannot make a certificate");
    }
    return Owned<T>(made);
}

void addExtension(X509* certificate, int kind, const std::string& value)
{
    X509V3_CTX context{};
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const Owned<X509_EXTENSION> extension = checked(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    checked(X509_add_ext(certificate, extension.get(), -1));
}

std::string alternativeNames(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        boost::system::error_code error;
        boost::asio::ip::make_address(name, error);
        text += (text.empty() ? "" : ",") + std::string(error ? "DNS:" : "IP:") + name;
    }
    return text;
}

template <class Write>
std::string pem(Write write)
{
    const Owned<BIO> memory = checked(BIO_new(BIO_s_mem()));
    checked(write(memory.get()));
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return std::string(text, static_cast<std::size_t>(size));
}

} // namespace

Certificate newCertificate(const std::vector<std::string>& names)
{
    const Owned<EVP_PKEY> key = checked(EVP_EC_gen("P-256"));
    const Owned<X509> certificate = checked(X509_new());
    checked(X509_set_version(certificate.get(), X509_VERSION_3));
    std::array<unsigned char, 16> number{};
    checked(RAND_bytes(number.data(), static_cast<int>(number.size())));
    number[0] &= 0x7fU; // positive
    BIGNUM* const serial = BN_bin2bn(number.data(), static_cast<int>(number.size()), nullptr);
    const bool numbered =
        serial != nullptr && BN_to_ASN1_INTEGER(serial, X509_get_serialNumber(certificate.get())) != nullptr;
    BN_free(serial);
    checked(static_cast<int>(numbered));
    checked(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kDay) != nullptr ? 1 : 0);
    checked(X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kYears) != nullptr ? 1 : 0);
    checked(X509_set_pubkey(certificate.get(), key.get()));
    X509_NAME* const subject = X509_get_subject_name(certificate.get());
    const auto* const common = reinterpret_cast<const unsigned char*>("Virtual camera");
    checked(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC, common, -1, -1, 0));
    checked(X509_set_issuer_name(certificate.get(), subject));
    addExtension(certificate.get(), NID_subject_alt_name, alternativeNames(names));
    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate.get(), NID_ext_key_usage, "serverAuth");
    checked(X509_sign(certificate.get(), key.get(), EVP_sha256()));
    return {pem([&](BIO* bio) {
                return PEM_write_bio_PKCS8PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
            }),
            pem([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate.get()); })};
}

Certificate keptCertificate(const std::filesystem::path& file, const std::vector<std::string>& names)
{
    if (std::filesystem::exists(file)) {
        const std::string text = base::readFile(file).value_or("");
        const std::size_t end = text.find(kEndOfKey);
        if (end == std::string::npos) {
            throw std::runtime_error("'" + file.string() + "' holds no key and certificate; remove it");
        }
        const std::size_t second = end + std::string(kEndOfKey).size();
        return {text.substr(0, second), text.substr(second)};
    }
    Certificate made = newCertificate(names);
    if (!base::replaceFileDurably(file, made.key + made.certificate)) {
        throw std::runtime_error("cannot write '" + file.string() + "'");
    }
    return made;
}

void use(boost::asio::ssl::context& context, const Certificate& certificate)
{
    using Context = boost::asio::ssl::context;
    context.set_options(Context::default_workarounds | Context::no_sslv2 | Context::no_sslv3 | Context::no_tlsv1 |
                        Context::no_tlsv1_1);
    context.use_certificate_chain(boost::asio::buffer(certificate.certificate));
    context.use_private_key(boost::asio::buffer(certificate.key), Context::pem);
}

} // namespace camera::gateway
