// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_MAC_CONSTANT_TIME_H
#define FOUNDATION_CRYPTO_MAC_CONSTANT_TIME_H

#include "foundation/text/byte_view.h"

#include <cstddef>

namespace vantrel::crypto {

// Constant time: what these do, and for how long, depends on the sizes only.

// True when both have the same size and the same bytes. An empty code equals nothing, not even
// another empty one.
[[nodiscard]] bool constantTimeEqual(ByteView a, ByteView b) noexcept;

// Overwrites `size` bytes with zeros in a way that the compiler may not leave out.
void secureWipe(void* data, std::size_t size) noexcept;

} // namespace vantrel::crypto

#endif
