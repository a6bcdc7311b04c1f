// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_SIGNATURE_CHECKS_H
#define FOUNDATION_X509_PATH_SIGNATURE_CHECKS_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/keys/_vlPublicKey.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace vantrel {

class VantrelX509;

namespace x509 {

enum class SignatureVerdict : std::uint8_t {
    Good,
    Bad,
    Unsupported, // an algorithm or key that is not known here
    // Not refused yet: it may be good on one path and not on another.
    NeedsParameters, // a DSA key without parameters: they come from the path above it
    // The bound of the query is used up; nothing is said of the signature.
    OverLimit,
};

// How far an algorithm or key can be trusted today. As general recommendations have it (NIST SP
// 800-131A): Weak may still be told and accepted, Broken never is.
enum class Strength : std::uint8_t { Strong, Weak, Broken };

// The signatures of one query: every key is read once and every certificate is checked once with
// every issuer, and all checks together are bounded. Certificates must outlive this.
class SignatureChecks final {
public:
    explicit SignatureChecks(std::size_t limit) noexcept : m_limit(limit) {}

    // Whether `issuer` signed `subject`. Compares neither names nor dates, which are the path's
    // business. NeedsParameters and OverLimit are not remembered.
    [[nodiscard]] SignatureVerdict certificate(const VantrelX509& subject,
                                               const VantrelX509& issuer);
    // Whether `signer` signed the bytes; `algorithm` is an AlgorithmIdentifier.
    [[nodiscard]] SignatureVerdict bytes(ByteView algorithm, ByteView signedBytes,
                                         ByteView signature, const VantrelX509& signer);

    // Goes down a path (RFC 5280 6.1.4 d to f): `parameters`, those of the DSA key above or empty,
    // become those for the certificates below, and a key without its own takes them over. Called
    // for every certificate of a path, from the anchor on.
    void inheritParameters(const VantrelX509& certificate, ByteView& parameters);

    // Of the certificate's own key, and of the algorithm that it is signed with.
    [[nodiscard]] Strength keyStrength(const VantrelX509& certificate);
    [[nodiscard]] static Strength algorithmStrength(ByteView algorithm);

    [[nodiscard]] std::size_t count() const noexcept { return m_count; }
    // Whether a signature was not checked since there had been too many.
    [[nodiscard]] bool isExhausted() const noexcept { return m_exhausted; }

private:
    // A public key as it was read from its certificate.
    struct Key {
        std::unique_ptr<_vlPublicKey> key; // null: cannot be used
        // The parameters that a DSA key without its own was given last.
        bool inherits = false;
        ByteView inherited;
    };
    using Pair = std::pair<const VantrelX509*, const VantrelX509*>;

    // Stays valid as long as this lives: nodes of a map do not move.
    [[nodiscard]] Key& keyOf(const VantrelX509& certificate);
    // Whether a check with this key may be made now; Good when it may.
    [[nodiscard]] SignatureVerdict prepare(const Key& key) noexcept;

    std::size_t m_limit;
    std::size_t m_count = 0;
    bool m_exhausted = false;
    std::map<const VantrelX509*, Key> m_keys;
    std::map<Pair, SignatureVerdict> m_certificates;
};

} // namespace x509
} // namespace vantrel

#endif
