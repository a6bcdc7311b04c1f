// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ASN1_BER_NORMALIZE_H
#define FOUNDATION_ASN1_BER_NORMALIZE_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::asn1 {

// Rewrites the first BER element of `ber` with definite lengths in their shortest form and
// primitive strings; contents are otherwise kept, so a SET is not sorted and a boolean not changed.
// Strings under implicit context tags cannot be told from other elements and stay constructed.
// `consumed` is the number of bytes the element took. False when the input is malformed or nests
// deeper than kMaxNesting. The output is at most a few bytes per element longer than the input, and
// the work is linear in its size times the nesting. May throw std::bad_alloc.
[[nodiscard]] bool normalizeBer(ByteView ber, std::vector<std::uint8_t>& der,
                                std::size_t& consumed);

} // namespace vantrel::asn1

#endif
