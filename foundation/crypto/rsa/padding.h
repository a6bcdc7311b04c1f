// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_RSA_PADDING_H
#define FOUNDATION_CRYPTO_RSA_PADDING_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

inline constexpr int kAnySalt = -1; // any that the encoding is consistent with

// What a recovered block says about a hash.
enum class PaddingVerdict {
    NoForm,    // not a block of this padding at all: another key, most likely
    Different, // the right form over something else
    Match,
};

// EMSA-PKCS1-v1_5 (RFC 8017, 9.2). `block` has the size of the modulus. The form is
// 00 01 FF..FF 00 with at least eight FF; a match is the whole block as it must be, with the NULL
// parameter or without. `hashId` must name an algorithm with a digest of hash.size() bytes.
[[nodiscard]] PaddingVerdict checkPkcs1(ByteView block, int hashId, ByteView hash) noexcept;

// EMSA-PSS (RFC 8017, 9.1.2) with a salt of `saltLength` bytes, or of any length (kAnySalt).
// `block` has the size of the modulus and is overwritten (unmasked in place). `modulusBits` is the
// modulus's exact size.
[[nodiscard]] PaddingVerdict checkPss(std::span<std::uint8_t> block, std::size_t modulusBits,
                                      int hashId, int mgfHashId, ByteView hash,
                                      int saltLength = kAnySalt) noexcept;

} // namespace vantrel::crypto

#endif
