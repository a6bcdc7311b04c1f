// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_MULTI_SEARCH_KERNELS_H
#define FOUNDATION_TEXT_MULTI_SEARCH_KERNELS_H

// Internal: the kernels of the search for several texts, and their choice.

#include "foundation/cpu/kernel_list.h"
#include "foundation/text/multi_search.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel::text {

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
void findAllWith(const MultiSearchKernel& kernel, std::string_view text, const NeedleSet& needles,
                 std::span<std::size_t> found);

[[nodiscard]] Candidate nextCandidatePortable(const MultiSearchFilter& filter,
                                              std::string_view text, std::size_t from) noexcept;

#if defined(__x86_64__)
// For Feature::Avx2. Where less than a block of 32 is left it goes on portably.
[[nodiscard]] Candidate nextCandidateAvx2(const MultiSearchFilter& filter, std::string_view text,
                                          std::size_t from) noexcept;
// For Feature::Avx512 with Avx512Vbmi.
[[nodiscard]] Candidate nextCandidateAvx512(const MultiSearchFilter& filter, std::string_view text,
                                            std::size_t from) noexcept;
#elif defined(__aarch64__)
// For Feature::Neon, likewise with blocks of 16.
[[nodiscard]] Candidate nextCandidateNeon(const MultiSearchFilter& filter, std::string_view text,
                                          std::size_t from) noexcept;
#endif

} // namespace vantrel::text

#endif
