// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_MULTI_SEARCH_KERNELS_H
#define FOUNDATION_TEXT_MULTI_SEARCH_KERNELS_H

// Internal: the filter of the search for several texts, its kernels and their choice.

#include "foundation/cpu/kernel_list.h"

#include <array>
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

// The first place at or after `from` that the filter lets pass, and its buckets. npos at the end.
struct Candidate {
    std::size_t at;
    std::uint8_t buckets;
};
using NextCandidate = Candidate (*)(const MultiSearchFilter& filter, std::string_view text,
                                    std::size_t from) noexcept;
using MultiSearchKernel = cpu::Kernel<NextCandidate>;

[[nodiscard]] std::span<const MultiSearchKernel> multiSearchKernels() noexcept;

// findAll (multi_search.h) with a given kernel.
void findAllWith(const MultiSearchKernel& kernel, std::string_view text,
                 std::span<const std::string_view> needles, std::span<std::size_t> found);

[[nodiscard]] Candidate nextCandidatePortable(const MultiSearchFilter& filter,
                                              std::string_view text, std::size_t from) noexcept;

#if defined(__x86_64__)
// For Feature::Avx2. Where less than a block of 32 is left it goes on portably.
[[nodiscard]] Candidate nextCandidateAvx2(const MultiSearchFilter& filter, std::string_view text,
                                          std::size_t from) noexcept;
#endif

} // namespace vantrel::text

#endif
