// SPDX-License-Identifier: MIT
#ifndef API_KEY_H
#define API_KEY_H

#include "api/certificate.h"
#include "api/result.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// Public keys of one source, with which signatures are verified. Most sources hold one key; a CMS
/// certificate bag or a JWK set may hold several, which are tried in their order. A constant value:
/// copies share what they hold, and may be used by several threads. That a caller hands a key over
/// is his word for it: nothing is checked of a certificate that it comes from.
class Key final {
public:
    /// What is known of one key.
    struct Facts {
        std::string type;       ///< "RSA", "DSA", "EC", "EdDSA", "ML-DSA-65", ...
        unsigned bits = 0;      ///< of the modulus, the prime, the curve's field
        std::string curve;      ///< "P-256", ...; empty for other kinds
        std::string spkiSha256; ///< lower-case hexadecimal, of the SubjectPublicKeyInfo
    };

    /// From PEM (RFC 7468), DER or base64 of DER: a SubjectPublicKeyInfo, an RSAPublicKey, a
    /// certificate, a CMS certificate bag; from a JWK or a JWK set (RFC 7517), or an XML key value.
    /// The error says what else the bytes are, such as a private key.
    [[nodiscard]] static Result<Key> fromBytes(std::string_view bytes);
    [[nodiscard]] static Result<Key> fromFile(const std::string& path);

    /// At least one.
    [[nodiscard]] const std::vector<Facts>& keys() const noexcept { return m_data->keys; }
    /// Those that keys came from; they name the keys' holders.
    [[nodiscard]] const CertificateStore& certificates() const noexcept {
        return m_data->certificates;
    }
    /// What it was read from.
    [[nodiscard]] std::string_view source() const noexcept { return m_data->source; }

private:
    struct Data {
        std::string source;
        std::vector<Facts> keys;
        CertificateStore certificates;
    };

    explicit Key(std::shared_ptr<const Data> data) noexcept : m_data(std::move(data)) {}

    std::shared_ptr<const Data> m_data; // never null
};

} // namespace vantrel

#endif
