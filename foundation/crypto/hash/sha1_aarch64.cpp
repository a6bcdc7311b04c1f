// SPDX-License-Identifier: MIT
#include "foundation/cpu/target_aarch64.h"

#if defined(VANTREL_ARM_EXTENSIONS)

#include "foundation/crypto/hash/compress.h"

#include <arm_neon.h>

namespace vantrel::crypto {

namespace {

struct Registers {
    uint32x4_t abcd;
    std::uint32_t e;
};

// The words of the schedule 16 to 19 places after those of `w0`: FIPS 180-4, 6.1.2, step 1.
[[gnu::always_inline]] VANTREL_TARGET_ARM_SHA inline uint32x4_t schedule(uint32x4_t w0,
                                                                         uint32x4_t w1,
                                                                         uint32x4_t w2,
                                                                         uint32x4_t w3) noexcept {
    return vsha1su1q_u32(vsha1su0q_u32(w0, w1, w2), w3);
}

// Four rounds of the part kPart of the 80, which has a round function and a constant of its own.
template <int kPart>
[[gnu::always_inline]] VANTREL_TARGET_ARM_SHA inline void fourRounds(Registers& r,
                                                                     uint32x4_t w) noexcept {
    constexpr std::uint32_t kConstants[] = {0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xca62c1d6};
    const uint32x4_t wk = vaddq_u32(w, vdupq_n_u32(kConstants[kPart]));
    const std::uint32_t nextE = vsha1h_u32(vgetq_lane_u32(r.abcd, 0));
    if constexpr (kPart == 0) {
        r.abcd = vsha1cq_u32(r.abcd, r.e, wk);
    } else if constexpr (kPart == 2) {
        r.abcd = vsha1mq_u32(r.abcd, r.e, wk);
    } else {
        r.abcd = vsha1pq_u32(r.abcd, r.e, wk);
    }
    r.e = nextE;
}

} // namespace

VANTREL_TARGET_ARM_SHA void sha1CompressArm(HashState& state, const std::uint8_t* data,
                                            std::size_t blocks) noexcept {
    const auto load = [](const std::uint8_t* from) VANTREL_TARGET_ARM_SHA {
        return vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(from)));
    };
    Registers total{vld1q_u32(state.w32), state.w32[4]};

    for (; blocks != 0; --blocks, data += 64) {
        uint32x4_t w0 = load(data);
        uint32x4_t w1 = load(data + 16);
        uint32x4_t w2 = load(data + 32);
        uint32x4_t w3 = load(data + 48);

        Registers r = total;
        fourRounds<0>(r, w0);
        fourRounds<0>(r, w1);
        fourRounds<0>(r, w2);
        fourRounds<0>(r, w3);
        fourRounds<0>(r, w0 = schedule(w0, w1, w2, w3));

        fourRounds<1>(r, w1 = schedule(w1, w2, w3, w0));
        fourRounds<1>(r, w2 = schedule(w2, w3, w0, w1));
        fourRounds<1>(r, w3 = schedule(w3, w0, w1, w2));
        fourRounds<1>(r, w0 = schedule(w0, w1, w2, w3));
        fourRounds<1>(r, w1 = schedule(w1, w2, w3, w0));

        fourRounds<2>(r, w2 = schedule(w2, w3, w0, w1));
        fourRounds<2>(r, w3 = schedule(w3, w0, w1, w2));
        fourRounds<2>(r, w0 = schedule(w0, w1, w2, w3));
        fourRounds<2>(r, w1 = schedule(w1, w2, w3, w0));
        fourRounds<2>(r, w2 = schedule(w2, w3, w0, w1));

        fourRounds<3>(r, w3 = schedule(w3, w0, w1, w2));
        fourRounds<3>(r, w0 = schedule(w0, w1, w2, w3));
        fourRounds<3>(r, w1 = schedule(w1, w2, w3, w0));
        fourRounds<3>(r, w2 = schedule(w2, w3, w0, w1));
        fourRounds<3>(r, schedule(w3, w0, w1, w2));

        total.abcd = vaddq_u32(total.abcd, r.abcd);
        total.e += r.e;
    }
    vst1q_u32(state.w32, total.abcd);
    state.w32[4] = total.e;
}

} // namespace vantrel::crypto

#endif
