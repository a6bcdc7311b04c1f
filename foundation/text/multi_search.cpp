// SPDX-License-Identifier: MIT
#include "foundation/text/multi_search.h"

#include "foundation/text/multi_search_kernels.h"

#include <vector>

namespace vantrel::text {

namespace {

constexpr std::size_t kNone = std::string_view::npos;

// How seldom a byte stands in XML documents, roughly: the fingerprint is the rarest stretch of a
// needle.
int rarity(char c) noexcept {
    constexpr std::string_view kCommon = "etaoinsrhlducmpfgv 0123456789";
    if (kCommon.find(c) != std::string_view::npos) {
        return 0;
    }
    if ((c >= 'a' && c <= 'z') || c == '<' || c == '>' || c == '/') {
        return 1;
    }
    return 2;
}

// Offset of the fingerprint in a needle.
std::size_t fingerprintOf(std::string_view needle) noexcept {
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

class MultiSearch final {
public:
    MultiSearch(std::span<const std::string_view> needles, std::span<std::size_t> found)
        : m_needles(needles), m_found(found), m_fingerprints(needles.size()),
          m_left(needles.size()) {
        for (std::size_t i = 0; i < needles.size(); ++i) {
            found[i] = kNone;
            m_fingerprints[i] = fingerprintOf(needles[i]);
            addToFilter(i);
        }
    }

    void run(std::string_view text, NextCandidate next) {
        std::size_t from = 0;
        while (m_left > 0) {
            const Candidate candidate = next(m_filter, text, from);
            if (candidate.at == kNone) {
                return;
            }
            check(text, candidate);
            from = candidate.at + 1;
        }
    }

private:
    void addToFilter(std::size_t needle) {
        const auto bit = static_cast<std::uint8_t>(1U << (needle % kBuckets));
        for (std::size_t k = 0; k < kFingerprint; ++k) {
            const auto byte =
                static_cast<std::uint8_t>(m_needles[needle][m_fingerprints[needle] + k]);
            m_filter.byByte[k][byte] |= bit;
            m_filter.byLowNibble[k][byte & 0x0F] |= bit;
            m_filter.byHighNibble[k][byte >> 4] |= bit;
        }
    }

    void check(std::string_view text, Candidate candidate) noexcept {
        for (std::size_t i = 0; i < m_needles.size(); ++i) {
            const bool inBucket = (candidate.buckets >> (i % kBuckets) & 1U) != 0;
            if (!inBucket || m_found[i] != kNone || candidate.at < m_fingerprints[i]) {
                continue;
            }
            const std::size_t start = candidate.at - m_fingerprints[i];
            if (text.compare(start, m_needles[i].size(), m_needles[i]) == 0) {
                m_found[i] = start;
                --m_left;
            }
        }
    }

    std::span<const std::string_view> m_needles;
    std::span<std::size_t> m_found;
    std::vector<std::size_t> m_fingerprints;
    std::size_t m_left;
    MultiSearchFilter m_filter;
};

constexpr MultiSearchKernel kMultiSearchKernels[] = {
#if defined(__x86_64__)
    {"avx2", cpu::Feature::Avx2, nextCandidateAvx2},
#endif
    {"portable", cpu::Feature::None, nextCandidatePortable},
};
static_assert(cpu::isKernelList(kMultiSearchKernels));

} // namespace

Candidate nextCandidatePortable(const MultiSearchFilter& filter, std::string_view text,
                                std::size_t from) noexcept {
    for (std::size_t at = from; at + kFingerprint <= text.size(); ++at) {
        const auto buckets =
            static_cast<std::uint8_t>(filter.byByte[0][static_cast<std::uint8_t>(text[at])] &
                                      filter.byByte[1][static_cast<std::uint8_t>(text[at + 1])] &
                                      filter.byByte[2][static_cast<std::uint8_t>(text[at + 2])]);
        if (buckets != 0) {
            return {at, buckets};
        }
    }
    return {kNone, 0};
}

std::span<const MultiSearchKernel> multiSearchKernels() noexcept { return kMultiSearchKernels; }

void findAllWith(const MultiSearchKernel& kernel, std::string_view text,
                 std::span<const std::string_view> needles, std::span<std::size_t> found) {
    MultiSearch(needles, found).run(text, kernel.run);
}

void findAll(std::string_view text, std::span<const std::string_view> needles,
             std::span<std::size_t> found) {
    findAllWith(cpu::chosenKernel(kMultiSearchKernels), text, needles, found);
}

} // namespace vantrel::text
