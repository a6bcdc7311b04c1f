// SPDX-License-Identifier: MIT
#include "foundation/text/multi_search_kernels.h"

#if defined(__aarch64__)

#include "foundation/text/neon.h"

namespace vantrel::text {

namespace {

constexpr std::size_t kBlock = 16;

// The buckets whose fingerprint may have these bytes at one place.
uint8x16_t bucketsAt(const char* text, uint8x16_t low, uint8x16_t high) noexcept {
    const uint8x16_t bytes = loadNeon(text);
    const uint8x16_t byLow = vqtbl1q_u8(low, vandq_u8(bytes, vdupq_n_u8(0x0F)));
    return vandq_u8(byLow, vqtbl1q_u8(high, vshrq_n_u8(bytes, 4)));
}

} // namespace

Candidate nextCandidateNeon(const MultiSearchFilter& filter, std::string_view text,
                            std::size_t from) noexcept {
    uint8x16_t low[kFingerprint];
    uint8x16_t high[kFingerprint];
    for (std::size_t k = 0; k < kFingerprint; ++k) {
        low[k] = vld1q_u8(filter.byLowNibble[k].data());
        high[k] = vld1q_u8(filter.byHighNibble[k].data());
    }
    const char* const data = text.data();
    for (; text.size() - from >= kBlock + kFingerprint - 1; from += kBlock) {
        const uint8x16_t first = bucketsAt(data + from, low[0], high[0]);
        const uint8x16_t second = bucketsAt(data + from + 1, low[1], high[1]);
        const uint8x16_t third = bucketsAt(data + from + 2, low[2], high[2]);
        const uint8x16_t buckets = vandq_u8(vandq_u8(first, second), third);
        const unsigned place = firstNeon(vtstq_u8(buckets, buckets));
        if (place < kBlock) {
            std::uint8_t bytes[kBlock];
            vst1q_u8(bytes, buckets);
            return {from + place, bytes[place]};
        }
    }
    return nextCandidatePortable(filter, text, from);
}

} // namespace vantrel::text

#endif
