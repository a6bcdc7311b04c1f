#ifndef FOUNDATION_CRYPTO_BIGNUM_DER_SIGNATURE_H
#define FOUNDATION_CRYPTO_BIGNUM_DER_SIGNATURE_H

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

} // namespace vantrel::crypto

#endif
