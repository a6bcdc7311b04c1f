// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_SIGNATURE_SIGNATURE_VALUE_H
#define FOUNDATION_CRYPTO_SIGNATURE_SIGNATURE_VALUE_H

#include "foundation/text/byte_view.h"

#include <cstddef>

namespace vantrel::crypto {

// Reads a DSA or ECDSA signature (RFC 3279, 2.2.2): SEQUENCE { r INTEGER, s INTEGER } in strict
// DER, that is shortest lengths, shortest non-negative integers, nothing behind. `r` and `s` are
// views into `der` of the magnitudes, big-endian without leading zeros. False on anything else.
[[nodiscard]] bool parseDerSignature(ByteView der, ByteView& r, ByteView& s) noexcept;

// Splits a signature that is r and s one after the other, each of exactly `width` bytes.
[[nodiscard]] bool splitRawSignature(ByteView raw, std::size_t width, ByteView& r,
                                     ByteView& s) noexcept;

// True when check(r, s) holds for a value that is read raw or as DER. XML Signature wants the raw
// form, and some signers write the other; a value may by chance be readable as both, so `rawFirst`
// is an order and no decision.
template <class Check>
[[nodiscard]] bool satisfiesInEitherForm(ByteView value, std::size_t width, bool rawFirst,
                                         const Check& check) noexcept {
    ByteView r;
    ByteView s;
    const auto raw = [&] { return splitRawSignature(value, width, r, s) && check(r, s); };
    const auto der = [&] { return parseDerSignature(value, r, s) && check(r, s); };
    return rawFirst ? raw() || der() : der() || raw();
}

} // namespace vantrel::crypto

#endif
