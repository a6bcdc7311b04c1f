// SPDX-License-Identifier: MIT
#include "foundation/text/utf8_faults.h"
#include "foundation/text/utf8_kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

// How faults are found stands in utf8_faults.h.

namespace vantrel::text {

namespace {

constexpr std::size_t kBlock = 64;

__attribute__((target("avx2"))) inline __m256i load(const void* bytes) noexcept {
    return _mm256_loadu_si256(static_cast<const __m256i*>(bytes));
}

__attribute__((target("avx2"))) inline __m256i broadcast(const HalfByteTable& table) noexcept {
    return _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(table.data())));
}

// The bytes `Back` places before those of `bytes`.
template <int Back>
__attribute__((target("avx2"))) inline __m256i shifted(__m256i bytes, __m256i before) noexcept {
    return _mm256_alignr_epi8(bytes, _mm256_permute2x128_si256(before, bytes, 0x21), 16 - Back);
}

struct Tables {
    __m256i firstUpper;
    __m256i firstLower;
    __m256i secondUpper;
};

// A bit where something is wrong.
__attribute__((target("avx2"))) inline __m256i faultsOf(__m256i bytes, __m256i before,
                                                        const Tables& tables) noexcept {
    const __m256i low4 = _mm256_set1_epi8(0x0F);
    const __m256i one = shifted<1>(bytes, before);
    const __m256i firstUpper =
        _mm256_shuffle_epi8(tables.firstUpper, _mm256_and_si256(_mm256_srli_epi16(one, 4), low4));
    const __m256i firstLower = _mm256_shuffle_epi8(tables.firstLower, _mm256_and_si256(one, low4));
    const __m256i secondUpper = _mm256_shuffle_epi8(
        tables.secondUpper, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), low4));
    const __m256i pairs = _mm256_and_si256(_mm256_and_si256(firstUpper, firstLower), secondUpper);

    // 0x80 where the byte two back leads three or more, or the byte three back leads four.
    const __m256i third =
        _mm256_subs_epu8(shifted<2>(bytes, before), _mm256_set1_epi8(0xE0 - 0x80));
    const __m256i fourth =
        _mm256_subs_epu8(shifted<3>(bytes, before), _mm256_set1_epi8(0xF0 - 0x80));
    const __m256i wanted =
        _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(static_cast<char>(0x80)));
    return _mm256_xor_si256(pairs, wanted);
}

} // namespace

__attribute__((target("avx2"))) std::size_t utf8BlocksAvx2(std::string_view text) noexcept {
    const Tables tables = {broadcast(kFirstUpper), broadcast(kFirstLower), broadcast(kSecondUpper)};
    __m256i before = _mm256_setzero_si256();
    bool beforeIsAscii = true;
    std::size_t at = 0;
    for (; text.size() - at >= kBlock; at += kBlock) {
        const __m256i first = load(text.data() + at);
        const __m256i second = load(text.data() + at + 32);
        const bool ascii = _mm256_movemask_epi8(_mm256_or_si256(first, second)) == 0;
        if (!ascii || !beforeIsAscii) {
            const __m256i faults =
                _mm256_or_si256(faultsOf(first, before, tables), faultsOf(second, first, tables));
            if (_mm256_testz_si256(faults, faults) == 0) {
                break;
            }
        }
        before = second;
        beforeIsAscii = ascii;
    }
    return at;
}

} // namespace vantrel::text

#endif
