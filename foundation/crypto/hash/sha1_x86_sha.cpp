// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/crypto/hash/compress.h"

#include <immintrin.h>

#define VANTREL_TARGET_SHA __attribute__((target("sha,sse4.1,ssse3")))

namespace vantrel::crypto {

namespace {

// The words of the schedule 16 to 19 places after those of `w0`: FIPS 180-4, 6.1.2, step 1.
[[gnu::always_inline]] VANTREL_TARGET_SHA inline __m128i schedule(__m128i w0, __m128i w1,
                                                                  __m128i w2, __m128i w3) noexcept {
    return _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(w0, w1), w2), w3);
}

// a to d, and the a to d of four rounds ago: its a, turned, is the e of now.
struct Registers {
    __m128i abcd;
    __m128i before;
};

// Four rounds with the round function and constant number F.
template <int F>
[[gnu::always_inline]] VANTREL_TARGET_SHA inline void fourRounds(Registers& r, __m128i w) noexcept {
    const __m128i e = _mm_sha1nexte_epu32(r.before, w);
    r.before = r.abcd;
    __asm__("" : "+x"(r.before)); // the copy goes aside: not on the path from abcd to abcd
    r.abcd = _mm_sha1rnds4_epu32(r.abcd, e, F);
}

} // namespace

VANTREL_TARGET_SHA void sha1CompressX86Sha(HashState& state, const std::uint8_t* data,
                                           std::size_t blocks) noexcept {
    // Reverses all bytes: the instructions want the first word at the top.
    const __m128i order = _mm_set_epi64x(0x0001020304050607, 0x08090a0b0c0d0e0f);
    const auto load = [](const void* from) VANTREL_TARGET_SHA {
        return _mm_loadu_si128(static_cast<const __m128i*>(from));
    };
    __m128i abcd = _mm_shuffle_epi32(load(state.w32), 0x1b);
    __m128i e = _mm_set_epi32(static_cast<int>(state.w32[4]), 0, 0, 0);

    for (; blocks != 0; --blocks, data += 64) {
        __m128i w0 = _mm_shuffle_epi8(load(data), order);
        __m128i w1 = _mm_shuffle_epi8(load(data + 16), order);
        __m128i w2 = _mm_shuffle_epi8(load(data + 32), order);
        __m128i w3 = _mm_shuffle_epi8(load(data + 48), order);

        Registers r{abcd, abcd};
        r.abcd = _mm_sha1rnds4_epu32(abcd, _mm_add_epi32(e, w0), 0);
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

        e = _mm_sha1nexte_epu32(r.before, e);
        abcd = _mm_add_epi32(abcd, r.abcd);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(state.w32), _mm_shuffle_epi32(abcd, 0x1b));
    state.w32[4] = static_cast<std::uint32_t>(_mm_extract_epi32(e, 3));
}

} // namespace vantrel::crypto

#endif
