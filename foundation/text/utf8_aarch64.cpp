// SPDX-License-Identifier: MIT
#include "foundation/text/utf8_kernels.h"

#if defined(__aarch64__)

#include "foundation/text/neon.h"

// How faults are found stands in utf8_faults.h.

namespace vantrel::text {

namespace {

constexpr std::size_t kVector = 16;
constexpr std::size_t kVectors = 4; // of a block

} // namespace

std::size_t utf8BlocksNeon(std::string_view text) noexcept {
    const Utf8FaultsNeon tables;
    uint8x16_t before = vdupq_n_u8(0);
    bool beforeIsAscii = true;
    std::size_t at = 0;
    for (; text.size() - at >= kVectors * kVector; at += kVectors * kVector) {
        const uint8x16x4_t block =
            vld1q_u8_x4(reinterpret_cast<const std::uint8_t*>(text.data()) + at);
        const uint8x16_t all =
            vorrq_u8(vorrq_u8(block.val[0], block.val[1]), vorrq_u8(block.val[2], block.val[3]));
        const bool ascii = vmaxvq_u8(all) < 0x80;
        if (!ascii || !beforeIsAscii) {
            uint8x16_t faults = vdupq_n_u8(0);
            uint8x16_t last = before;
            for (const uint8x16_t bytes : block.val) {
                faults = vorrq_u8(faults, tables.find(bytes, vextq_u8(last, bytes, kVector - 1),
                                                      vextq_u8(last, bytes, kVector - 2),
                                                      vextq_u8(last, bytes, kVector - 3)));
                last = bytes;
            }
            if (anyNeon(faults)) {
                break;
            }
        }
        before = block.val[kVectors - 1];
        beforeIsAscii = ascii;
    }
    return at;
}

} // namespace vantrel::text

#endif
