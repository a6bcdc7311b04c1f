// SPDX-License-Identifier: MIT
#include "foundation/cpu/avx512_intrinsics.h"
#include "foundation/text/base64_kernels.h"
#include "foundation/text/base64_vectors.h"

#if defined(__x86_64__)

#include "foundation/text/strings.h"

#include <array>

// The values are found by looking up the upper half of each character, or the character itself
// where the processor can; two multiply-and-add steps join four of them to 24 bits, and a shuffle
// brings the three bytes into order. After the vector work by Mula and Lemire (2018, 2020).

namespace vantrel::text {

namespace {

constexpr int kPairFactors = 0x01400140; // first * 64 + second
constexpr int kQuadFactors = 0x00011000; // first pair * 4096 + second pair

struct NibbleTables {
    std::array<std::uint8_t, 16> refusedBy{}; // for a lower half: one bit for each upper half
    std::array<std::uint8_t, 16> upperBit{};  // for an upper half: its bit
};

// A character is foreign when the bit of its upper half is set for its lower half. No character
// with the upper half 0 belongs to the alphabet, so its bit serves for everything above ASCII too.
constexpr NibbleTables kNibbles = [] {
    NibbleTables tables;
    tables.refusedBy.fill(0xFF);
    tables.upperBit.fill(1);
    for (const char c : kBase64Alphabet) {
        const auto code = static_cast<unsigned char>(c);
        tables.refusedBy[code & 15] &= static_cast<std::uint8_t>(~(1U << (code >> 4)));
    }
    for (unsigned upper = 0; upper < 8; ++upper) {
        tables.upperBit[upper] = static_cast<std::uint8_t>(1U << upper);
    }
    return tables;
}();

// What turns a character into its value, by upper half; "/" stands one place before "+" (2).
constexpr std::array<std::int8_t, 16> kOffsets = {0,    63 - '/', 62 - '+', 52 - '0',
                                                  -'A', -'A',     26 - 'a', 26 - 'a'};

// Byte order of the packed groups: of every four bytes the lower three, highest first.
constexpr std::array<std::uint8_t, 64> kPackOrder = [] {
    std::array<std::uint8_t, 64> order{};
    for (std::size_t group = 0; group < 16; ++group) {
        for (std::size_t byte = 0; byte < 3; ++byte) {
            order[group * 3 + byte] = static_cast<std::uint8_t>(group * 4 + 2 - byte);
        }
    }
    return order;
}();

__attribute__((target("avx2"))) __m256i broadcast16(const void* table) noexcept {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(table)));
}

__attribute__((target("avx2"))) std::uint32_t spaceMask(__m256i chars) noexcept {
    const __m256i line = _mm256_or_si256(_mm256_cmpeq_epi8(chars, _mm256_set1_epi8('\n')),
                                         _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('\r')));
    const __m256i blank = _mm256_or_si256(_mm256_cmpeq_epi8(chars, _mm256_set1_epi8(' ')),
                                          _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('\t')));
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_or_si256(line, blank)));
}

} // namespace

__attribute__((target("avx2"))) std::size_t base64DecodeBlocksAvx2(const char* text,
                                                                   std::size_t length,
                                                                   std::uint8_t* out) noexcept {
    const __m256i refusedBy = broadcast16(kNibbles.refusedBy.data());
    const __m256i upperBit = broadcast16(kNibbles.upperBit.data());
    const __m256i offsets = broadcast16(kOffsets.data());
    const __m256i low4 = _mm256_set1_epi8(0x0F);
    const __m256i packOrder =
        _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2, 1, 0, 6, 5, 4,
                         10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i joinHalves = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    std::size_t taken = 0;
    for (; length - taken >= 32; taken += 32) {
        const __m256i chars = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + taken));
        const __m256i upper = _mm256_and_si256(_mm256_srli_epi32(chars, 4), low4);
        const __m256i lower = _mm256_and_si256(chars, low4);
        if (_mm256_testz_si256(_mm256_shuffle_epi8(refusedBy, lower),
                               _mm256_shuffle_epi8(upperBit, upper)) == 0) {
            break;
        }
        const __m256i slash = _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('/')); // -1 where it is
        const __m256i offset = _mm256_shuffle_epi8(offsets, _mm256_add_epi8(upper, slash));
        const __m256i values = _mm256_add_epi8(chars, offset);
        const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(kPairFactors));
        const __m256i quads = _mm256_madd_epi16(pairs, _mm256_set1_epi32(kQuadFactors));
        const __m256i packed =
            _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(quads, packOrder), joinHalves);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), packed);
        out += 24;
    }
    return taken;
}

__attribute__((target("avx2"))) std::size_t base64SqueezeAvx2(const char* text, std::size_t length,
                                                              char* out) noexcept {
    std::size_t kept = 0;
    std::size_t at = 0;
    while (length - at >= 32) {
        const __m256i chars = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + at));
        const std::uint32_t spaces = spaceMask(chars);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + kept), chars);
        if (spaces == 0) {
            kept += 32;
            at += 32;
            continue;
        }
        // Up to the white space, and over the run that begins there.
        const auto run = static_cast<std::size_t>(__builtin_ctz(spaces));
        kept += run;
        at += run + 1;
        while (at < length && isSpaceAscii(text[at])) {
            ++at;
        }
    }
    return kept + base64SqueezePortable(text + at, length - at, out + kept);
}

namespace {

struct ByteDecoder {
    __m512i lowValues;
    __m512i highValues;
    __m512i packOrder;

    // Writes what 64 characters stand for; the number of them that stand in whole groups at the
    // front.
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi"),
                   always_inline)) inline std::size_t
    decode(__m512i chars, std::uint8_t* out) const noexcept {
        const __m512i values = _mm512_permutex2var_epi8(lowValues, chars, highValues);
        const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(kPairFactors));
        const __m512i quads = _mm512_madd_epi16(pairs, _mm512_set1_epi32(kQuadFactors));
        _mm512_storeu_si512(out, _mm512_maskz_permutexvar_epi8(~__mmask64{0}, packOrder, quads));
        const std::uint64_t foreign = _mm512_movepi8_mask(_mm512_or_si512(values, chars));
        return foreign == 0 ? 64 : static_cast<std::size_t>(__builtin_ctzll(foreign)) / 4 * 4;
    }
};

} // namespace

__attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi"))) std::size_t
base64DecodeBlocksAvx512(const char* text, std::size_t length, std::uint8_t* out) noexcept {
    const ByteDecoder decoder{_mm512_loadu_si512(kBase64Values.data()),
                              _mm512_loadu_si512(kBase64Values.data() + 64),
                              _mm512_loadu_si512(kPackOrder.data())};
    std::size_t taken = 0;
    for (; length - taken >= 64; taken += 64, out += 48) {
        const std::size_t groups = decoder.decode(_mm512_loadu_si512(text + taken), out);
        if (groups != 64) {
            return taken + groups;
        }
    }
    // Zeros behind the end belong to no group.
    return taken == length
               ? taken
               : taken + decoder.decode(_mm512_maskz_loadu_epi8(cpu::octetsThere(length - taken),
                                                                text + taken),
                                        out);
}

__attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,popcnt"))) std::size_t
base64SqueezeAvx512(const char* text, std::size_t length, char* out) noexcept {
    std::size_t kept = 0;
    for (std::size_t at = 0; at < length; at += 64) {
        const __mmask64 inText = cpu::octetsThere(length - at);
        const __m512i chars = _mm512_maskz_loadu_epi8(inText, text + at);
        const __mmask64 spaces = _mm512_cmpeq_epi8_mask(chars, _mm512_set1_epi8(' ')) |
                                 _mm512_cmpeq_epi8_mask(chars, _mm512_set1_epi8('\t')) |
                                 _mm512_cmpeq_epi8_mask(chars, _mm512_set1_epi8('\r')) |
                                 _mm512_cmpeq_epi8_mask(chars, _mm512_set1_epi8('\n'));
        const __mmask64 keep = inText & ~spaces;
        _mm512_storeu_si512(out + kept, _mm512_maskz_compress_epi8(keep, chars));
        kept += static_cast<std::size_t>(__builtin_popcountll(keep));
    }
    return kept;
}

} // namespace vantrel::text

#endif
