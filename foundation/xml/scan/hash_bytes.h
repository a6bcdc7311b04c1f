// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_HASH_BYTES_H
#define FOUNDATION_XML_SCAN_HASH_BYTES_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace vantrel::xml {

// A hash for look-up tables over names and values of a document. It is seeded from the process's
// address layout, or at random where that is always the same, so that a document cannot be written
// to make entries collide.
[[nodiscard]] std::uint64_t hashSeed() noexcept;

[[nodiscard]] inline std::uint64_t foldMultiply(std::uint64_t a, std::uint64_t b) noexcept {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

[[nodiscard]] inline std::uint32_t hashBytes(std::string_view bytes) noexcept {
    constexpr std::uint64_t kStep = 0x9FB21C651E98DF25ULL;
    const std::uint64_t seed = hashSeed();
    std::uint64_t state = seed ^ (bytes.size() * kStep);
    while (bytes.size() >= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), 8);
        state = foldMultiply(state ^ word, kStep ^ seed);
        bytes.remove_prefix(8);
    }
    std::uint64_t word = 0;
    if (!bytes.empty()) {
        std::memcpy(&word, bytes.data(), bytes.size());
    }
    state = foldMultiply(state ^ word, kStep ^ (seed << 1));
    return static_cast<std::uint32_t>(state ^ (state >> 32));
}

} // namespace vantrel::xml

#endif
