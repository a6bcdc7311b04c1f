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
            words.less |= c == '<' ? bit : 0;
            words.greater |= c == '>' ? bit : 0;
            words.quote |= c == '"' ? bit : 0;
            words.space |= c == ' ' ? bit : 0;
            words.colon |= c == ':' ? bit : 0;
            words.slash |= c == '/' ? bit : 0;
            words.bang |= c == '!' || c == '?' ? bit : 0;
            words.hard |= c == '&' || c == '\r' ? bit : 0;
            words.odd |= c == '\'' || c == '\t' || c == '\n' ? bit : 0;
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
    const auto either = [](__m128i a, __m128i b) { return _mm_or_si128(a, b); };
    add(words.less, equals('<'));
    add(words.greater, equals('>'));
    add(words.quote, equals('"'));
    add(words.space, equals(' '));
    add(words.colon, equals(':'));
    add(words.slash, equals('/'));
    add(words.bang, either(equals('!'), equals('?')));
    add(words.hard, either(equals('&'), equals('\r')));
    add(words.odd, either(equals('\''), either(equals('\t'), equals('\n'))));
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

VANTREL_AVX2 inline __m256i equals2(__m256i bytes, char c) noexcept {
    return _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(c));
}

VANTREL_AVX2 inline __m256i either2(__m256i bytes, char a, char b) noexcept {
    return _mm256_or_si256(equals2(bytes, a), equals2(bytes, b));
}

VANTREL_AVX2 inline std::uint64_t bits2(__m256i low, __m256i high) noexcept {
    const auto lowBits = static_cast<std::uint32_t>(_mm256_movemask_epi8(low));
    const auto highBits = static_cast<std::uint32_t>(_mm256_movemask_epi8(high));
    return lowBits | (static_cast<std::uint64_t>(highBits) << 32);
}

VANTREL_AVX2 void makeAvx2(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    for (std::size_t block = 0; block < count; ++block, text += kMaskedBytes) {
        const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
        const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 32));
        CanonMasks& words = masks[block];
        words.less = bits2(equals2(low, '<'), equals2(high, '<'));
        words.greater = bits2(equals2(low, '>'), equals2(high, '>'));
        words.quote = bits2(equals2(low, '"'), equals2(high, '"'));
        words.space = bits2(equals2(low, ' '), equals2(high, ' '));
        words.colon = bits2(equals2(low, ':'), equals2(high, ':'));
        words.slash = bits2(equals2(low, '/'), equals2(high, '/'));
        words.bang = bits2(either2(low, '!', '?'), either2(high, '!', '?'));
        words.hard = bits2(either2(low, '&', '\r'), either2(high, '&', '\r'));
        words.odd = bits2(_mm256_or_si256(either2(low, '\t', '\n'), equals2(low, '\'')),
                          _mm256_or_si256(either2(high, '\t', '\n'), equals2(high, '\'')));
    }
}

VANTREL_AVX512 inline std::uint64_t equals5(__m512i bytes, char c) noexcept {
    return _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(c));
}

VANTREL_AVX512 void makeAvx512(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    for (std::size_t block = 0; block < count; ++block, text += kMaskedBytes) {
        const __m512i bytes = _mm512_loadu_si512(text);
        CanonMasks& words = masks[block];
        words.less = equals5(bytes, '<');
        words.greater = equals5(bytes, '>');
        words.quote = equals5(bytes, '"');
        words.space = equals5(bytes, ' ');
        words.colon = equals5(bytes, ':');
        words.slash = equals5(bytes, '/');
        words.bang = equals5(bytes, '!') | equals5(bytes, '?');
        words.hard = equals5(bytes, '&') | equals5(bytes, '\r');
        words.odd = equals5(bytes, '\'') | equals5(bytes, '\t') | equals5(bytes, '\n');
    }
}

#elif defined(__aarch64__)

void makeNeon(const char* text, std::size_t count, CanonMasks* masks) noexcept {
    const auto either = [](uint8x16_t part, char a, char b) {
        return vorrq_u8(text::equalsNeon(part, a), text::equalsNeon(part, b));
    };
    for (std::size_t block = 0; block < count; ++block, text += kMaskedBytes) {
        const text::NeonBlock bytes(text);
        CanonMasks& words = masks[block];
        words.less = bytes.equals('<');
        words.greater = bytes.equals('>');
        words.quote = bytes.equals('"');
        words.space = bytes.equals(' ');
        words.colon = bytes.equals(':');
        words.slash = bytes.equals('/');
        words.bang = bytes.maskOf([&](uint8x16_t part) { return either(part, '!', '?'); });
        words.hard = bytes.maskOf([&](uint8x16_t part) { return either(part, '&', '\r'); });
        words.odd = bytes.maskOf([&](uint8x16_t part) {
            return vorrq_u8(text::equalsNeon(part, '\''), either(part, '\t', '\n'));
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
