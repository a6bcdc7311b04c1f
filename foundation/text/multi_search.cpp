// SPDX-License-Identifier: MIT
#include "foundation/text/multi_search.h"

#include "foundation/text/multi_search_kernels.h"

#include <algorithm>
#include <bit>

namespace vantrel::text {

namespace {

constexpr std::size_t kNone = std::string_view::npos;

class MultiSearch final {
public:
    MultiSearch(const NeedleSet& set, std::span<std::size_t> found) noexcept
        : m_set(set), m_found(found), m_left(set.needles().size()) {
        std::fill(found.begin(), found.end(), kNone);
    }

    void run(std::string_view text, NextCandidate next) noexcept {
        std::size_t from = 0;
        while (m_left > 0) {
            const Candidate candidate = next(m_set.filter(), text, from);
            if (candidate.at == kNone) {
                return;
            }
            for (unsigned left = candidate.buckets; left != 0; left &= left - 1) {
                check(text, candidate.at, static_cast<std::size_t>(std::countr_zero(left)));
            }
            from = candidate.at + 1;
        }
    }

private:
    // The needles of one bucket, whose fingerprints may begin at `at`.
    void check(std::string_view text, std::size_t at, std::size_t bucket) noexcept {
        const std::span<const std::string_view> needles = m_set.needles();
        for (std::size_t i = bucket; i < needles.size(); i += kBuckets) {
            if (m_found[i] != kNone || at < m_set.fingerprint(i)) {
                continue;
            }
            const std::size_t start = at - m_set.fingerprint(i);
            if (text.substr(start).starts_with(needles[i])) {
                m_found[i] = start;
                --m_left;
            }
        }
    }

    const NeedleSet& m_set;
    std::span<std::size_t> m_found;
    std::size_t m_left;
};

constexpr MultiSearchKernel kMultiSearchKernels[] = {
#if defined(__x86_64__)
    {"avx512", cpu::Feature::Avx512 | cpu::Feature::Avx512Vbmi, nextCandidateAvx512},
    {"avx2", cpu::Feature::Avx2, nextCandidateAvx2},
#elif defined(__aarch64__)
    {"neon", cpu::Feature::Neon, nextCandidateNeon},
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

void findAllWith(const MultiSearchKernel& kernel, std::string_view text, const NeedleSet& needles,
                 std::span<std::size_t> found) {
    MultiSearch(needles, found).run(text, kernel.run);
}

void findAll(std::string_view text, const NeedleSet& needles, std::span<std::size_t> found) {
    findAllWith(cpu::chosenKernel(kMultiSearchKernels), text, needles, found);
}

} // namespace vantrel::text
