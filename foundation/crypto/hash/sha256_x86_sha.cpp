// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/sha2_tables.h"

#include <immintrin.h>

#define VANTREL_TARGET_SHA __attribute__((target("sha,sse4.1,ssse3")))

namespace vantrel::crypto {

namespace {

// The words of the schedule 16 to 19 places after those of `w0`: FIPS 180-4, 6.2.2, step 1.
[[gnu::always_inline]] VANTREL_TARGET_SHA inline __m128i schedule(__m128i w0, __m128i w1,
                                                                  __m128i w2, __m128i w3) noexcept {
    const __m128i sum = _mm_add_epi32(_mm_sha256msg1_epu32(w0, w1), _mm_alignr_epi8(w3, w2, 4));
    return _mm_sha256msg2_epu32(sum, w3);
}

// The working variables in the two registers that the instructions want them in.
struct Registers {
    __m128i abef;
    __m128i cdgh;
};

// Four rounds with the constants from `t` on.
[[gnu::always_inline]] VANTREL_TARGET_SHA inline void fourRounds(Registers& r, __m128i w,
                                                                 std::size_t t) noexcept {
    const __m128i k = _mm_load_si128(reinterpret_cast<const __m128i*>(kSha256Constants + t));
    const __m128i wk = _mm_add_epi32(w, k);
    r.cdgh = _mm_sha256rnds2_epu32(r.cdgh, r.abef, wk);
    r.abef = _mm_sha256rnds2_epu32(r.abef, r.cdgh, _mm_shuffle_epi32(wk, 0x0e));
}

} // namespace

VANTREL_TARGET_SHA void sha256CompressX86Sha(HashState& state, const std::uint8_t* data,
                                             std::size_t blocks) noexcept {
    // Reverses the bytes of each word.
    const __m128i order = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
    const auto load = [](const void* from) VANTREL_TARGET_SHA {
        return _mm_loadu_si128(static_cast<const __m128i*>(from));
    };
    const auto store = [](std::uint32_t* to, __m128i value) VANTREL_TARGET_SHA {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
    };
    const __m128i badc = _mm_shuffle_epi32(load(state.w32), 0xb1);
    const __m128i hgfe = _mm_shuffle_epi32(load(state.w32 + 4), 0x1b);
    Registers total{_mm_alignr_epi8(badc, hgfe, 8), _mm_blend_epi16(hgfe, badc, 0xf0)};

    for (; blocks != 0; --blocks, data += 64) {
        __m128i w0 = _mm_shuffle_epi8(load(data), order);
        __m128i w1 = _mm_shuffle_epi8(load(data + 16), order);
        __m128i w2 = _mm_shuffle_epi8(load(data + 32), order);
        __m128i w3 = _mm_shuffle_epi8(load(data + 48), order);

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
        total.abef = _mm_add_epi32(total.abef, r.abef);
        total.cdgh = _mm_add_epi32(total.cdgh, r.cdgh);
    }
    const __m128i feba = _mm_shuffle_epi32(total.abef, 0x1b);
    const __m128i dchg = _mm_shuffle_epi32(total.cdgh, 0xb1);
    store(state.w32, _mm_blend_epi16(feba, dchg, 0xf0));
    store(state.w32 + 4, _mm_alignr_epi8(dchg, feba, 8));
}

} // namespace vantrel::crypto

#endif
