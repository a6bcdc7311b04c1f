#ifndef FOUNDATION_TEXT_MULTI_SEARCH_FILTER_H
#define FOUNDATION_TEXT_MULTI_SEARCH_FILTER_H

// Internal: the filter of the search for several texts.

#include <array>
#include <cstddef>
#include <cstdint>
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
[[nodiscard]] Candidate nextCandidatePortable(const MultiSearchFilter& filter,
                                              std::string_view text, std::size_t from) noexcept;

#if defined(__x86_64__)
// For a machine with AVX2. Where less than a block of 32 is left it goes on portably.
[[nodiscard]] Candidate nextCandidateAvx2(const MultiSearchFilter& filter, std::string_view text,
                                          std::size_t from) noexcept;
#endif

} // namespace vantrel::text

#endif
