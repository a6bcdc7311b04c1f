// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_POINT_DECODING_H
#define FOUNDATION_CRYPTO_ECC_POINT_DECODING_H

#include "foundation/crypto/ecc/curves.h"
#include "foundation/text/byte_view.h"

#include <string_view>

namespace vantrel::crypto {

// Decodes a point of `curve` (SEC 1, 2.3.4): 04 x y, or 02/03 x, each coordinate of exactly the
// field's width. The coordinates are checked to be below p, and the point to be on the curve. On
// failure `whyNot` is a short fixed text.
[[nodiscard]] bool decodePoint(const Curve& curve, ByteView encoded, CurveNumber& x, CurveNumber& y,
                               std::string_view& whyNot) noexcept;

} // namespace vantrel::crypto

#endif
