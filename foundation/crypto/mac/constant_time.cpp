// SPDX-License-Identifier: MIT
#include "foundation/crypto/mac/constant_time.h"

#include <cstdint>
#include <cstring>

namespace vantrel::crypto {

bool constantTimeEqual(ByteView a, ByteView b) noexcept {
    if (a.size() != b.size() || a.empty()) {
        return false;
    }
    std::uint8_t difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        difference = static_cast<std::uint8_t>(difference | (a[i] ^ b[i]));
        // The compiler may not know the value, so it cannot leave the loop early.
        __asm__("" : "+r"(difference));
    }
    return difference == 0;
}

void secureWipe(void* data, std::size_t size) noexcept {
    if (size != 0) {
        std::memset(data, 0, size);
        // Claims to read the memory.
        __asm__ volatile("" : : "r"(data) : "memory");
    }
}

} // namespace vantrel::crypto
