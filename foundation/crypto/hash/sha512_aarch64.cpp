// SPDX-License-Identifier: MIT
#include "foundation/cpu/target_aarch64.h"

#if defined(VANTREL_ARM_EXTENSIONS)

#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/sha2_tables.h"

#include <arm_neon.h>

namespace vantrel::crypto {

namespace {

// The working variables, the first of each pair in the lower half.
struct Registers {
    uint64x2_t ab;
    uint64x2_t cd;
    uint64x2_t ef;
    uint64x2_t gh;
};

// Two rounds with the constants from `t` on.
[[gnu::always_inline]] VANTREL_TARGET_ARM_SHA512 inline void twoRounds(Registers& r, uint64x2_t w,
                                                                       std::size_t t) noexcept {
    const uint64x2_t wk = vaddq_u64(w, vld1q_u64(kSha512Constants + t));
    // h belongs to the first of the two rounds, g to the second.
    const uint64x2_t added = vaddq_u64(r.gh, vextq_u64(wk, wk, 1));
    const uint64x2_t fg = vextq_u64(r.ef, r.gh, 1);
    const uint64x2_t de = vextq_u64(r.cd, r.ef, 1);
    const uint64x2_t t1 = vsha512hq_u64(added, fg, de);
    r.gh = r.ef;
    r.ef = vaddq_u64(r.cd, t1);
    const uint64x2_t ab = vsha512h2q_u64(t1, r.cd, r.ab);
    r.cd = r.ab;
    r.ab = ab;
}

} // namespace

VANTREL_TARGET_ARM_SHA512 void sha512CompressArm(HashState& state, const std::uint8_t* data,
                                                 std::size_t blocks) noexcept {
    constexpr std::size_t kPairs = 8; // words of a block, two by two
    Registers total{vld1q_u64(state.w64), vld1q_u64(state.w64 + 2), vld1q_u64(state.w64 + 4),
                    vld1q_u64(state.w64 + 6)};

    for (; blocks != 0; --blocks, data += 128) {
        uint64x2_t w[kPairs];
        Registers r = total;
        for (std::size_t i = 0; i < kPairs; ++i) {
            w[i] = vreinterpretq_u64_u8(vrev64q_u8(vld1q_u8(data + 16 * i)));
            twoRounds(r, w[i], 2 * i);
        }
        for (std::size_t t = 16; t < 80; t += 16) {
            // FIPS 180-4, 6.4.2, step 1: the words 16 places on take the place of these.
            for (std::size_t i = 0; i < kPairs; ++i) {
                const uint64x2_t ninth = vextq_u64(w[(i + 4) % kPairs], w[(i + 5) % kPairs], 1);
                const uint64x2_t sum = vsha512su0q_u64(w[i], w[(i + 1) % kPairs]);
                w[i] = vsha512su1q_u64(sum, w[(i + 7) % kPairs], ninth);
                twoRounds(r, w[i], t + 2 * i);
            }
        }
        total.ab = vaddq_u64(total.ab, r.ab);
        total.cd = vaddq_u64(total.cd, r.cd);
        total.ef = vaddq_u64(total.ef, r.ef);
        total.gh = vaddq_u64(total.gh, r.gh);
    }
    vst1q_u64(state.w64, total.ab);
    vst1q_u64(state.w64 + 2, total.cd);
    vst1q_u64(state.w64 + 4, total.ef);
    vst1q_u64(state.w64 + 6, total.gh);
}

} // namespace vantrel::crypto

#endif
