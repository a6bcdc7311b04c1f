// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canon_masks.h"

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include "foundation/text/neon.h"
#endif

namespace vantrel::xml {

namespace {

void makePortable(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    for (std::size_t block = 0; block < count; ++block) {
        CanonMasks words{};
        for (unsigned i = 0; i < kMaskedBytes; ++i) {
            const char c = text[block * kMaskedBytes + i];
            const std::uint64_t bit = std::uint64_t{1} << i;
            words.content |= c == '<' || c == '&' || c == '>' || c == '\r' ? bit : 0;
            words.greater |= c == '>' ? bit : 0;
            words.quote |= c == '"' ? bit : 0;
            words.space |= c == ' ' ? bit : 0;
            words.colon |= c == ':' ? bit : 0;
            words.odd |= c == '\'' || c == '&' || c == '\t' || c == '\n' || c == '\r' ? bit : 0;
        }
        masks[block] = words;
    }
}

#if defined(__x86_64__)

#define VANTREL_AVX2 __attribute__((target("avx2")))
#define VANTREL_AVX512 __attribute__((target("avx512f,avx512bw")))

// The masks of the 16 bytes at `text`, moved to their place in the block and added to `words`.
void addSixteen(const char* text, unsigned shift, CanonMasks& words) noexcept {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const auto equals = [bytes](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
    const auto add = [shift](std::uint64_t& word, __m128i hits) {
        word |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(hits))) << shift;
    };
    const __m128i greater = equals('>');
    const __m128i both = _mm_or_si128(equals('&'), equals('\r'));
    add(words.content, _mm_or_si128(_mm_or_si128(equals('<'), greater), both));
    add(words.greater, greater);
    add(words.quote, equals('"'));
    add(words.space, equals(' '));
    add(words.colon, equals(':'));
    add(words.odd,
        _mm_or_si128(_mm_or_si128(equals('\''), both), _mm_or_si128(equals('\t'), equals('\n'))));
}

void makeSse2(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    for (std::size_t block = 0; block < count; ++block, text += kMaskedBytes) {
        CanonMasks words{};
        for (unsigned part = 0; part < kMaskedBytes; part += 16) {
            addSixteen(text + part, part, words);
        }
        masks[block] = words;
    }
}

VANTREL_AVX2 inline std::uint64_t equals2(__m256i low, __m256i high, char c) noexcept {
    const __m256i value = _mm256_set1_epi8(c);
    const auto lowBits =
        static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, value)));
    const auto highBits =
        static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, value)));
    return lowBits | (static_cast<std::uint64_t>(highBits) << 32);
}

VANTREL_AVX2 void makeAvx2(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    for (std::size_t block = 0; block < count; ++block, text += kMaskedBytes) {
        const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
        const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 32));
        const std::uint64_t greater = equals2(low, high, '>');
        const std::uint64_t both = equals2(low, high, '&') | equals2(low, high, '\r');
        CanonMasks& words = masks[block];
        words.content = equals2(low, high, '<') | greater | both;
        words.greater = greater;
        words.quote = equals2(low, high, '"');
        words.space = equals2(low, high, ' ');
        words.colon = equals2(low, high, ':');
        words.odd =
            equals2(low, high, '\'') | both | equals2(low, high, '\t') | equals2(low, high, '\n');
    }
}

VANTREL_AVX512 inline std::uint64_t equals5(__m512i bytes, char c) noexcept {
    return _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(c));
}

VANTREL_AVX512 void makeAvx512(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    for (std::size_t block = 0; block < count; ++block, text += kMaskedBytes) {
        const __m512i bytes = _mm512_loadu_si512(text);
        const std::uint64_t greater = equals5(bytes, '>');
        const std::uint64_t both = equals5(bytes, '&') | equals5(bytes, '\r');
        CanonMasks& words = masks[block];
        words.content = equals5(bytes, '<') | greater | both;
        words.greater = greater;
        words.quote = equals5(bytes, '"');
        words.space = equals5(bytes, ' ');
        words.colon = equals5(bytes, ':');
        words.odd = equals5(bytes, '\'') | both | equals5(bytes, '\t') | equals5(bytes, '\n');
    }
}

#elif defined(__aarch64__)

void makeNeon(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    const auto equals = [](uint8x16_t part, char c) { return text::equalsNeon(part, c); };
    for (std::size_t block = 0; block < count; ++block, text += kMaskedBytes) {
        const text::NeonBlock bytes(text);
        const std::uint64_t greater = bytes.equals('>');
        const std::uint64_t both = bytes.maskOf(
            [&](uint8x16_t part) { return vorrq_u8(equals(part, '&'), equals(part, '\r')); });
        CanonMasks& words = masks[block];
        words.content = bytes.equals('<') | greater | both;
        words.greater = greater;
        words.quote = bytes.equals('"');
        words.space = bytes.equals(' ');
        words.colon = bytes.equals(':');
        words.odd = both | bytes.maskOf([&](uint8x16_t part) {
            const uint8x16_t white = vorrq_u8(equals(part, '\t'), equals(part, '\n'));
            return vorrq_u8(equals(part, '\''), white);
        });
    }
}

#endif

constexpr CanonMaskKernel kKernels[] = {
#if defined(__x86_64__)
    {"avx512", cpu::Feature::Avx512, makeAvx512},
    {"avx2", cpu::Feature::Avx2, makeAvx2},
    {"sse2", cpu::Feature::Sse2, makeSse2},
#elif defined(__aarch64__)
    {"neon", cpu::Feature::Neon, makeNeon},
#endif
    {"portable", cpu::Feature::None, makePortable},
};
static_assert(cpu::isKernelList(kKernels));

} // namespace

std::span<const CanonMaskKernel> canonMaskKernels() noexcept { return kKernels; }

const CanonMaskKernel& chosenCanonMaskKernel() noexcept { return cpu::chosenKernel(kKernels); }

} // namespace vantrel::xml
