// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_MULTI_SEARCH_H
#define FOUNDATION_TEXT_MULTI_SEARCH_H

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel::text {

inline constexpr std::size_t kFingerprint = 3; // consecutive bytes of a needle
inline constexpr std::size_t kBuckets = 8;

// Needles are spread over eight buckets. byByte[k][b] has the bit of each bucket that holds a
// needle whose fingerprint has the byte b at place k: a fingerprint can begin at a place of the
// text only if the three sets there have a bit in common. byNibble is the same by the low and the
// high half of the byte; it lets more places pass, and vectors can look it up.
struct MultiSearchFilter {
    std::array<std::array<std::uint8_t, 256>, kFingerprint> byByte{};
    std::array<std::array<std::uint8_t, 16>, kFingerprint> byLowNibble{};
    std::array<std::array<std::uint8_t, 16>, kFingerprint> byHighNibble{};
};

// Texts that are looked for together, prepared for the search: where they are known when the
// program is compiled, so is this. Their array must outlive it; they have at least three bytes.
class NeedleSet final {
public:
    static constexpr std::size_t kMost = 32;

    constexpr explicit NeedleSet(std::span<const std::string_view> needles) : m_needles(needles) {
        assert(needles.size() <= kMost);
        for (std::size_t i = 0; i < needles.size(); ++i) {
            m_fingerprints[i] = fingerprintOf(needles[i]);
            addToFilter(i);
        }
    }

    [[nodiscard]] std::span<const std::string_view> needles() const noexcept { return m_needles; }
    // Offset of the fingerprint in a needle.
    [[nodiscard]] std::size_t fingerprint(std::size_t needle) const noexcept {
        return m_fingerprints[needle];
    }
    [[nodiscard]] const MultiSearchFilter& filter() const noexcept { return m_filter; }

private:
    // How seldom a byte stands in XML documents, roughly: the fingerprint is the rarest stretch of
    // a needle.
    static constexpr int rarity(char c) noexcept {
        constexpr std::string_view kCommon = "etaoinsrhlducmpfgv 0123456789";
        if (kCommon.find(c) != std::string_view::npos) {
            return 0;
        }
        return (c >= 'a' && c <= 'z') || c == '<' || c == '>' || c == '/' ? 1 : 2;
    }

    static constexpr std::size_t fingerprintOf(std::string_view needle) noexcept {
        std::size_t best = 0;
        int bestRarity = -1;
        for (std::size_t at = 0; at + kFingerprint <= needle.size(); ++at) {
            const int sum = rarity(needle[at]) + rarity(needle[at + 1]) + rarity(needle[at + 2]);
            if (sum > bestRarity) {
                best = at;
                bestRarity = sum;
            }
        }
        return best;
    }

    constexpr void addToFilter(std::size_t needle) noexcept {
        const auto bit = static_cast<std::uint8_t>(1U << (needle % kBuckets));
        for (std::size_t k = 0; k < kFingerprint; ++k) {
            const auto byte =
                static_cast<std::uint8_t>(m_needles[needle][m_fingerprints[needle] + k]);
            m_filter.byByte[k][byte] |= bit;
            m_filter.byLowNibble[k][byte & 0x0F] |= bit;
            m_filter.byHighNibble[k][byte >> 4] |= bit;
        }
    }

    std::span<const std::string_view> m_needles;
    std::array<std::size_t, kMost> m_fingerprints{};
    MultiSearchFilter m_filter;
};

// Looks for several texts in one pass. found[i] := offset of the first occurrence of the i-th
// needle in `text`, or npos. `found` has as many places as there are needles.
void findAll(std::string_view text, const NeedleSet& needles, std::span<std::size_t> found);

} // namespace vantrel::text

#endif
