// SPDX-License-Identifier: MIT
#include "foundation/cpu/target_aarch64.h"

#if defined(VANTREL_ARM_EXTENSIONS)

#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/sha2_tables.h"

#include <arm_neon.h>

namespace vantrel::crypto {

namespace {

struct Registers {
    uint32x4_t abcd;
    uint32x4_t efgh;
};

// The words of the schedule 16 to 19 places after those of `w0`: FIPS 180-4, 6.2.2, step 1.
[[gnu::always_inline]] VANTREL_TARGET_ARM_SHA inline uint32x4_t schedule(uint32x4_t w0,
                                                                         uint32x4_t w1,
                                                                         uint32x4_t w2,
                                                                         uint32x4_t w3) noexcept {
    return vsha256su1q_u32(vsha256su0q_u32(w0, w1), w2, w3);
}

// Four rounds with the constants from `t` on.
[[gnu::always_inline]] VANTREL_TARGET_ARM_SHA inline void fourRounds(Registers& r, uint32x4_t w,
                                                                     std::size_t t) noexcept {
    const uint32x4_t wk = vaddq_u32(w, vld1q_u32(kSha256Constants + t));
    const uint32x4_t before = r.abcd;
    r.abcd = vsha256hq_u32(before, r.efgh, wk);
    r.efgh = vsha256h2q_u32(r.efgh, before, wk);
}

} // namespace

VANTREL_TARGET_ARM_SHA void sha256CompressArm(HashState& state, const std::uint8_t* data,
                                              std::size_t blocks) noexcept {
    const auto load = [](const std::uint8_t* from) VANTREL_TARGET_ARM_SHA {
        return vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(from)));
    };
    Registers total{vld1q_u32(state.w32), vld1q_u32(state.w32 + 4)};

    for (; blocks != 0; --blocks, data += 64) {
        uint32x4_t w0 = load(data);
        uint32x4_t w1 = load(data + 16);
        uint32x4_t w2 = load(data + 32);
        uint32x4_t w3 = load(data + 48);

        Registers r = total;
        fourRounds(r, w0, 0);
        fourRounds(r, w1, 4);
        fourRounds(r, w2, 8);
        fourRounds(r, w3, 12);
        for (std::size_t t = 16; t < 64; t += 16) {
            fourRounds(r, w0 = schedule(w0, w1, w2, w3), t);
            fourRounds(r, w1 = schedule(w1, w2, w3, w0), t + 4);
            fourRounds(r, w2 = schedule(w2, w3, w0, w1), t + 8);
            fourRounds(r, w3 = schedule(w3, w0, w1, w2), t + 12);
        }
        total.abcd = vaddq_u32(total.abcd, r.abcd);
        total.efgh = vaddq_u32(total.efgh, r.efgh);
    }
    vst1q_u32(state.w32, total.abcd);
    vst1q_u32(state.w32 + 4, total.efgh);
}

} // namespace vantrel::crypto

#endif
