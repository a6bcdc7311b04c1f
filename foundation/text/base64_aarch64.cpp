// SPDX-License-Identifier: MIT
#include "foundation/text/base64_vectors.h"

#if defined(__aarch64__)

#include "foundation/text/base64_kernels.h"
#include "foundation/text/neon.h"
#include "foundation/text/strings.h"

namespace vantrel::text {

namespace {

constexpr std::size_t kBlock = 64;
constexpr std::size_t kVector = 16;

// The values of ASCII characters; 0x80 for foreign ones, 0 above ASCII.
uint8x16_t valuesOf(uint8x16_t chars, uint8x16x4_t low, uint8x16x4_t high) noexcept {
    const uint8x16_t ofLow = vqtbl4q_u8(low, chars); // 0 from 64 on
    return vqtbx4q_u8(ofLow, high, vsubq_u8(chars, vdupq_n_u8(64)));
}

} // namespace

std::size_t base64DecodeBlocksNeon(const char* text, std::size_t length,
                                   std::uint8_t* out) noexcept {
    const uint8x16x4_t low = vld1q_u8_x4(kBase64Values.data());
    const uint8x16x4_t high = vld1q_u8_x4(kBase64Values.data() + 64);
    std::size_t taken = 0;
    for (; length - taken >= kBlock; taken += kBlock) {
        // Dealt out by their place in a group of four, and back to three by three.
        const NeonBlock chars(text + taken);
        uint8x16_t values[4];
        uint8x16_t foreign = vdupq_n_u8(0);
        for (std::size_t place = 0; place < 4; ++place) {
            values[place] = valuesOf(chars.bytes.val[place], low, high);
            foreign = vorrq_u8(foreign, vorrq_u8(values[place], chars.bytes.val[place]));
        }
        if (vmaxvq_u8(foreign) >= 0x80) {
            break;
        }
        uint8x16x3_t bytes;
        bytes.val[0] = vorrq_u8(vshlq_n_u8(values[0], 2), vshrq_n_u8(values[1], 4));
        bytes.val[1] = vorrq_u8(vshlq_n_u8(values[1], 4), vshrq_n_u8(values[2], 2));
        bytes.val[2] = vorrq_u8(vshlq_n_u8(values[2], 6), values[3]);
        vst3q_u8(out, bytes);
        out += kBlock / 4 * 3;
    }
    return taken;
}

std::size_t base64SqueezeNeon(const char* text, std::size_t length, char* out) noexcept {
    std::size_t kept = 0;
    std::size_t at = 0;
    while (length - at >= kVector) {
        const uint8x16_t chars = loadNeon(text + at);
        const uint8x16_t line = vorrq_u8(equalsNeon(chars, '\n'), equalsNeon(chars, '\r'));
        const uint8x16_t blank = vorrq_u8(equalsNeon(chars, ' '), equalsNeon(chars, '\t'));
        const std::size_t run = firstNeon(vorrq_u8(line, blank));
        vst1q_u8(reinterpret_cast<std::uint8_t*>(out + kept), chars);
        kept += run;
        at += run;
        if (run == kVector) {
            continue;
        }
        // Over the white space that begins there.
        while (at < length && isSpaceAscii(text[at])) {
            ++at;
        }
    }
    return kept + base64SqueezePortable(text + at, length - at, out + kept);
}

} // namespace vantrel::text

#endif
