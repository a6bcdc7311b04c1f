// SPDX-License-Identifier: MIT
#include "foundation/text/utf8_faults.h"
#include "foundation/xml/scan/block_masks_vectors.h"

#if defined(__x86_64__)

#include <immintrin.h>

#define VANTREL_AVX2 __attribute__((target("avx2")))
#define VANTREL_AVX512 __attribute__((target("avx512f,avx512bw,avx512vl")))

namespace vantrel::xml {
namespace {

__m128i load16(const void* bytes) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

// The SSE2 form of one class row: four compares a block.
std::uint64_t join(unsigned a, unsigned b, unsigned c, unsigned d) noexcept {
    return a | (static_cast<std::uint64_t>(b) << 16) | (static_cast<std::uint64_t>(c) << 32) |
           (static_cast<std::uint64_t>(d) << 48);
}

struct Sixteen {
    unsigned stops[kStopClasses];
    unsigned control;
    unsigned carriageReturn;
    unsigned high;
};

unsigned maskOf(__m128i bytes) noexcept { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

// bytes - first <= last - first, unsigned.
__m128i inRange(__m128i bytes, char first, char last) noexcept {
    const __m128i distance = _mm_sub_epi8(bytes, _mm_set1_epi8(first));
    const __m128i limit = _mm_set1_epi8(static_cast<char>(last - first));
    return _mm_cmpeq_epi8(_mm_min_epu8(distance, limit), distance);
}

Sixteen classifySixteen(const char* text) noexcept {
    const __m128i bytes = load16(text);
    const auto equals = [&](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
    const __m128i opening = _mm_or_si128(equals('<'), equals('&'));
    const __m128i lower = _mm_or_si128(bytes, _mm_set1_epi8(0x20));
    const __m128i named =
        _mm_or_si128(_mm_or_si128(inRange(lower, 'a', 'z'), inRange(bytes, '0', ':')),
                     _mm_or_si128(inRange(bytes, '-', '.'), equals('_')));
    const __m128i cr = equals('\r');
    const __m128i allowed = _mm_or_si128(cr, inRange(bytes, '\t', '\n'));
    const __m128i low = inRange(bytes, '\0', '\x1F');
    Sixteen out;
    out.stops[kMarkupStops] = maskOf(_mm_or_si128(opening, equals('>')));
    out.stops[kNameStops] = maskOf(named) ^ 0xFFFFU;
    out.stops[kDoubleQuoteStops] = maskOf(_mm_or_si128(opening, equals('"')));
    out.stops[kSingleQuoteStops] = maskOf(_mm_or_si128(opening, equals('\'')));
    out.stops[kColons] = maskOf(equals(':'));
    out.control = maskOf(_mm_andnot_si128(allowed, low));
    out.carriageReturn = maskOf(cr);
    out.high = maskOf(bytes);
    return out;
}

VANTREL_AVX2 inline __m256i load32(const char* bytes) noexcept {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

// What each byte is, by its two nibbles.
VANTREL_AVX2 inline __m256i kinds32(__m256i bytes) noexcept {
    const __m256i lowTable = _mm256_broadcastsi128_si256(load16(kLowNibble));
    const __m256i highTable = _mm256_broadcastsi128_si256(load16(kHighNibble));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), _mm256_set1_epi8(0x0F));
    return _mm256_and_si256(_mm256_shuffle_epi8(lowTable, bytes),
                            _mm256_shuffle_epi8(highTable, high));
}

VANTREL_AVX2 inline std::uint32_t maskOf32(__m256i bytes) noexcept {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
}

VANTREL_AVX2 inline __m256i equals32(__m256i bytes, char c) noexcept {
    return _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(c));
}

// One word of a row from the two halves of a block.
VANTREL_AVX2 inline std::uint64_t rowWord(__m256i low, __m256i high) noexcept {
    return maskOf32(low) | (static_cast<std::uint64_t>(maskOf32(high)) << 32);
}

VANTREL_AVX2 inline __m256i lookUp32(const std::uint8_t* table, __m256i nibbles) noexcept {
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(load16(table)), nibbles);
}

// Faults among the 32 bytes at `text`, which has three bytes before it.
VANTREL_AVX2 inline __m256i faults32(const char* text) noexcept {
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const __m256i bytes = load32(text);
    const __m256i before1 = load32(text - 1);
    const __m256i before2 = load32(text - 2);
    const __m256i before3 = load32(text - 3);
    const __m256i votes = _mm256_and_si256(
        lookUp32(text::kFirstUpper.data(), _mm256_and_si256(_mm256_srli_epi16(before1, 4), nibble)),
        _mm256_and_si256(lookUp32(text::kFirstLower.data(), _mm256_and_si256(before1, nibble)),
                         lookUp32(text::kSecondUpper.data(),
                                  _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble))));
    const __m256i third = _mm256_subs_epu8(before2, _mm256_set1_epi8(0xE0 - 0x80));
    const __m256i fourth = _mm256_subs_epu8(before3, _mm256_set1_epi8(0xF0 - 0x80));
    const __m256i mustContinue =
        _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(static_cast<char>(0x80)));
    // U+FFFE and U+FFFF: EF BF BE, EF BF BF.
    const __m256i top = _mm256_set1_epi8(static_cast<char>(0xBE));
    const __m256i beyond =
        _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_max_epu8(bytes, top), bytes),
                         _mm256_and_si256(equals32(before1, static_cast<char>(0xBF)),
                                          equals32(before2, static_cast<char>(0xEF))));
    return _mm256_or_si256(_mm256_xor_si256(votes, mustContinue), beyond);
}

VANTREL_AVX2 inline bool checkBlockAvx2(const char* block) noexcept {
    const __m256i faults = _mm256_or_si256(faults32(block), faults32(block + 32));
    return _mm256_testz_si256(faults, faults) != 0;
}

// The unmasked broadcast of gcc 12 draws a false warning about its undefined source.
VANTREL_AVX512 inline __m512i spread(const std::uint8_t* table) noexcept {
    return _mm512_maskz_broadcast_i32x4(0xFFFF, load16(table));
}

VANTREL_AVX512 inline __m512i lookUp64(const std::uint8_t* table, __m512i nibbles) noexcept {
    return _mm512_shuffle_epi8(spread(table), nibbles);
}

VANTREL_AVX512 inline bool checkBlockAvx512(const char* block) noexcept {
    const __m512i nibble = _mm512_set1_epi8(0x0F);
    const __m512i bytes = _mm512_loadu_si512(block);
    const __m512i before1 = _mm512_loadu_si512(block - 1);
    const __m512i before2 = _mm512_loadu_si512(block - 2);
    const __m512i before3 = _mm512_loadu_si512(block - 3);
    const __m512i votes = _mm512_and_si512(
        lookUp64(text::kFirstUpper.data(), _mm512_and_si512(_mm512_srli_epi16(before1, 4), nibble)),
        _mm512_and_si512(lookUp64(text::kFirstLower.data(), _mm512_and_si512(before1, nibble)),
                         lookUp64(text::kSecondUpper.data(),
                                  _mm512_and_si512(_mm512_srli_epi16(bytes, 4), nibble))));
    const __m512i third = _mm512_subs_epu8(before2, _mm512_set1_epi8(0xE0 - 0x80));
    const __m512i fourth = _mm512_subs_epu8(before3, _mm512_set1_epi8(0xF0 - 0x80));
    const __m512i mustContinue =
        _mm512_and_si512(_mm512_or_si512(third, fourth), _mm512_set1_epi8(static_cast<char>(0x80)));
    const __m512i faults = _mm512_xor_si512(votes, mustContinue);
    const __mmask64 beyond =
        _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(static_cast<char>(0xBE))) &
        _mm512_cmpeq_epi8_mask(before1, _mm512_set1_epi8(static_cast<char>(0xBF))) &
        _mm512_cmpeq_epi8_mask(before2, _mm512_set1_epi8(static_cast<char>(0xEF)));
    return (_mm512_test_epi8_mask(faults, faults) | beyond) == 0;
}

VANTREL_AVX512 inline std::uint64_t equals64(__m512i bytes, char c) noexcept {
    return _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(c));
}

} // namespace

void classifySse2(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                  TextFacts& facts) noexcept {
    bool highBefore = hasBefore; // an unfinished character may stand before the first block
    for (std::size_t block = 0; block < count; ++block, text += kBlockSize) {
        const Sixteen a = classifySixteen(text);
        const Sixteen b = classifySixteen(text + 16);
        const Sixteen c = classifySixteen(text + 32);
        const Sixteen d = classifySixteen(text + 48);
        for (unsigned stop = 0; stop < kStopClasses; ++stop) {
            masks.rows[stop][block] =
                join(a.stops[stop], b.stops[stop], c.stops[stop], d.stops[stop]);
        }
        facts.bad |= (a.control | b.control | c.control | d.control) != 0;
        facts.carriageReturn |=
            (a.carriageReturn | b.carriageReturn | c.carriageReturn | d.carriageReturn) != 0;
        const bool high = (a.high | b.high | c.high | d.high) != 0;
        if (high || highBefore) {
            facts.bad |= !checkBlocks(text, 1, hasBefore || block != 0);
        }
        highBefore = high;
    }
}

VANTREL_AVX2 void classifyAvx2(const char* text, std::size_t count, bool hasBefore,
                               BlockMasks& masks, TextFacts& facts) noexcept {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i named = _mm256_set1_epi8(static_cast<char>(kNamed));
    __m256i met = zero; // of all kinds
    bool highBefore = hasBefore;
    for (std::size_t block = 0; block < count; ++block, text += kBlockSize) {
        const __m256i a = load32(text);
        const __m256i b = load32(text + 32);
        const __m256i openA = _mm256_or_si256(equals32(a, '<'), equals32(a, '&'));
        const __m256i openB = _mm256_or_si256(equals32(b, '<'), equals32(b, '&'));
        const auto withOpening = [&](char c) VANTREL_AVX2 {
            return rowWord(_mm256_or_si256(openA, equals32(a, c)),
                           _mm256_or_si256(openB, equals32(b, c)));
        };
        const __m256i kindsA = kinds32(a);
        const __m256i kindsB = kinds32(b);
        met = _mm256_or_si256(met, _mm256_or_si256(kindsA, kindsB));
        masks.rows[kMarkupStops][block] = withOpening('>');
        masks.rows[kNameStops][block] =
            rowWord(_mm256_cmpeq_epi8(_mm256_and_si256(kindsA, named), zero),
                    _mm256_cmpeq_epi8(_mm256_and_si256(kindsB, named), zero));
        masks.rows[kDoubleQuoteStops][block] = withOpening('"');
        masks.rows[kSingleQuoteStops][block] = withOpening('\'');
        masks.rows[kColons][block] = rowWord(equals32(a, ':'), equals32(b, ':'));
        const bool anyHigh = maskOf32(_mm256_or_si256(a, b)) != 0;
        if (anyHigh || highBefore) [[unlikely]] {
            facts.bad |= !withBefore(text, hasBefore || block != 0, checkBlockAvx2);
        }
        highBefore = anyHigh;
    }
    facts.bad |= _mm256_testz_si256(met, _mm256_set1_epi8(static_cast<char>(kControl))) == 0;
    facts.carriageReturn |=
        _mm256_testz_si256(met, _mm256_set1_epi8(static_cast<char>(kReturn))) == 0;
}

VANTREL_AVX512 void classifyAvx512(const char* text, std::size_t count, bool hasBefore,
                                   BlockMasks& masks, TextFacts& facts) noexcept {
    const __m512i lowTable = spread(kLowNibble);
    const __m512i highTable = spread(kHighNibble);
    const __m512i named = _mm512_set1_epi8(static_cast<char>(kNamed));
    __m512i met = _mm512_setzero_si512();
    bool highBefore = hasBefore;
    for (std::size_t block = 0; block < count; ++block, text += kBlockSize) {
        const __m512i bytes = _mm512_loadu_si512(text);
        const __m512i high = _mm512_and_si512(_mm512_srli_epi16(bytes, 4), _mm512_set1_epi8(0x0F));
        const __m512i kinds = _mm512_and_si512(_mm512_shuffle_epi8(lowTable, bytes),
                                               _mm512_shuffle_epi8(highTable, high));
        met = _mm512_or_si512(met, kinds);
        const std::uint64_t opening = equals64(bytes, '<') | equals64(bytes, '&');
        masks.rows[kMarkupStops][block] = opening | equals64(bytes, '>');
        masks.rows[kNameStops][block] = _mm512_testn_epi8_mask(kinds, named);
        masks.rows[kDoubleQuoteStops][block] = opening | equals64(bytes, '"');
        masks.rows[kSingleQuoteStops][block] = opening | equals64(bytes, '\'');
        masks.rows[kColons][block] = equals64(bytes, ':');
        const bool anyHigh = _mm512_movepi8_mask(bytes) != 0;
        if (anyHigh || highBefore) [[unlikely]] {
            facts.bad |= !withBefore(text, hasBefore || block != 0, checkBlockAvx512);
        }
        highBefore = anyHigh;
    }
    facts.bad |= _mm512_test_epi8_mask(met, _mm512_set1_epi8(static_cast<char>(kControl))) != 0;
    facts.carriageReturn |=
        _mm512_test_epi8_mask(met, _mm512_set1_epi8(static_cast<char>(kReturn))) != 0;
}

} // namespace vantrel::xml

#endif
