// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_EDWARDS_EDWARDS_KEY_H
#define FOUNDATION_CRYPTO_EDWARDS_EDWARDS_KEY_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace vantrel::crypto {

// One of the two curves of EdDSA (RFC 8032, 5.1 and 5.2). The records are static: compare curves by
// address.
struct EdwardsCurve {
    std::string_view name; // as JWK writes it: "Ed25519", "Ed448"
    std::string_view oid;  // dotted (RFC 8410, 3)
    std::size_t fieldBits;
    std::size_t keyBytes; // of a public key; a signature has twice as many
};
extern const EdwardsCurve kEd25519;
extern const EdwardsCurve kEd448;

// Null when neither answers. Names are compared in any letter case.
[[nodiscard]] const EdwardsCurve* findEdwardsCurve(std::string_view name) noexcept;
[[nodiscard]] const EdwardsCurve* findEdwardsCurveByOid(std::string_view oid) noexcept;

// Which of the algorithms of a curve it is (RFC 8032, 5.1 and 5.2): Ed25519 and Ed448 without
// anything; Ed25519ctx with a context alone; Ed25519ph and Ed448ph over a hash of the message.
struct EdwardsVariant {
    bool withContext = false; // without effect on Ed448, which always has one
    bool preHashed = false;   // implies a context
    ByteView context = {};    // usually empty; above 255 bytes it verifies nothing
};

// A public key of EdDSA. Immutable; threads may share it. Variable time: public data only.
class EdwardsKey {
public:
    EdwardsKey() noexcept = default;
    EdwardsKey(const EdwardsKey&) = delete;
    EdwardsKey& operator=(const EdwardsKey&) = delete;
    virtual ~EdwardsKey() = default;

    // Takes an encoded point (RFC 8032, 5.1.3 and 5.2.3). Null for another length, a y that is not
    // below p, one to which no x belongs, a negative zero as x, and a point of small order, whose
    // signatures hold for messages that nobody signed; `whyNot` is then a short text of static
    // lifetime. May throw std::bad_alloc.
    [[nodiscard]] static std::unique_ptr<EdwardsKey> load(const EdwardsCurve& curve,
                                                          ByteView encoded,
                                                          std::string_view& whyNot);

    [[nodiscard]] virtual const EdwardsCurve& curve() const noexcept = 0;
    // As it was loaded, which is the only encoding of the point.
    [[nodiscard]] virtual ByteView encoded() const noexcept = 0;

    // Whether `signature` is one of `message`. Strict: the encoding of R is compared octet for
    // octet with S * B - k * A, which leaves out the cofactor, and S must be below the order of B.
    [[nodiscard]] virtual bool verifyVariant(const EdwardsVariant& variant, ByteView message,
                                             ByteView signature) const noexcept = 0;
    // Of Ed25519 and Ed448.
    [[nodiscard]] bool verify(ByteView message, ByteView signature) const noexcept {
        return verifyVariant({}, message, signature);
    }
};

} // namespace vantrel::crypto

#endif
