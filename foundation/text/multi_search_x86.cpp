// SPDX-License-Identifier: MIT
#include "foundation/cpu/avx512_intrinsics.h"
#include "foundation/text/multi_search_kernels.h"

#if defined(__x86_64__)

#include <bit>

#define VANTREL_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))

namespace vantrel::text {

namespace {

constexpr std::size_t kBlock = 32;

__attribute__((target("avx2"))) __m256i table(const std::array<std::uint8_t, 16>& bytes) noexcept {
    return _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data())));
}

// The buckets whose fingerprint may have these bytes at one place.
__attribute__((target("avx2"))) __m256i bucketsAt(__m256i bytes, __m256i low,
                                                  __m256i high) noexcept {
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const __m256i lowHalf = _mm256_and_si256(bytes, nibble);
    const __m256i highHalf = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble);
    return _mm256_and_si256(_mm256_shuffle_epi8(low, lowHalf), _mm256_shuffle_epi8(high, highHalf));
}

__attribute__((target("avx2"))) __m256i load(const char* at) noexcept {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

// The buckets of a byte at one place. Of bytes above ASCII the lower seven bits are looked up, so
// that what is there for either is there for both.
struct ByteTable {
    __m512i low;
    __m512i high;
};

VANTREL_VBMI inline ByteTable byteTable(const std::array<std::uint8_t, 256>& buckets) noexcept {
    const auto part = [&](std::size_t at) VANTREL_VBMI {
        return _mm512_or_si512(_mm512_loadu_si512(buckets.data() + at),
                               _mm512_loadu_si512(buckets.data() + 128 + at));
    };
    return {part(0), part(64)};
}

// Of 64 bytes at `at`, as far as there are so many.
VANTREL_VBMI inline __m512i bucketsOf(const ByteTable& table, const char* at,
                                      std::size_t there) noexcept {
    const __m512i bytes = _mm512_maskz_loadu_epi8(cpu::octetsThere(there), at);
    return _mm512_permutex2var_epi8(table.low, bytes, table.high);
}

} // namespace

__attribute__((target("avx2"))) Candidate nextCandidateAvx2(const MultiSearchFilter& filter,
                                                            std::string_view text,
                                                            std::size_t from) noexcept {
    const __m256i low0 = table(filter.byLowNibble[0]);
    const __m256i low1 = table(filter.byLowNibble[1]);
    const __m256i low2 = table(filter.byLowNibble[2]);
    const __m256i high0 = table(filter.byHighNibble[0]);
    const __m256i high1 = table(filter.byHighNibble[1]);
    const __m256i high2 = table(filter.byHighNibble[2]);
    const char* const data = text.data();
    for (; text.size() - from >= kBlock + kFingerprint - 1; from += kBlock) {
        const __m256i first = bucketsAt(load(data + from), low0, high0);
        const __m256i second = bucketsAt(load(data + from + 1), low1, high1);
        const __m256i third = bucketsAt(load(data + from + 2), low2, high2);
        const __m256i buckets = _mm256_and_si256(_mm256_and_si256(first, second), third);
        if (_mm256_testz_si256(buckets, buckets) != 0) {
            continue;
        }
        const __m256i none = _mm256_cmpeq_epi8(buckets, _mm256_setzero_si256());
        const auto places = ~static_cast<std::uint32_t>(_mm256_movemask_epi8(none));
        const auto place = static_cast<std::size_t>(std::countr_zero(places));
        alignas(kBlock) std::uint8_t bytes[kBlock];
        _mm256_store_si256(reinterpret_cast<__m256i*>(bytes), buckets);
        return {from + place, bytes[place]};
    }
    return nextCandidatePortable(filter, text, from);
}

VANTREL_VBMI Candidate nextCandidateAvx512(const MultiSearchFilter& filter, std::string_view text,
                                           std::size_t from) noexcept {
    const ByteTable table0 = byteTable(filter.byByte[0]);
    const ByteTable table1 = byteTable(filter.byByte[1]);
    const ByteTable table2 = byteTable(filter.byByte[2]);
    const char* const data = text.data();
    for (; from + kFingerprint <= text.size(); from += 64) {
        const std::size_t left = text.size() - from;
        const __m512i first = bucketsOf(table0, data + from, left);
        const __m512i second = bucketsOf(table1, data + from + 1, left - 1);
        const __m512i third = bucketsOf(table2, data + from + 2, left - 2);
        const __m512i buckets = _mm512_and_si512(_mm512_and_si512(first, second), third);
        const std::uint64_t places =
            _mm512_test_epi8_mask(buckets, buckets) & cpu::octetsThere(left - 2);
        if (places != 0) {
            const auto place = static_cast<std::size_t>(std::countr_zero(places));
            alignas(64) std::uint8_t bytes[64];
            _mm512_store_si512(bytes, buckets);
            return {from + place, bytes[place]};
        }
    }
    return {std::string_view::npos, 0};
}

} // namespace vantrel::text

#undef VANTREL_VBMI

#endif
