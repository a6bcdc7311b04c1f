// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_PSDK_H
#define FOUNDATION_IO_PSDK_H

#include <cstdint>

namespace vantrel {

// The clock and the constants of a small generator, for identifiers that need not be secret.
class Psdk final {
public:
    Psdk() = delete;

    // Milliseconds of a clock that never goes back; wraps after 49 days.
    [[nodiscard]] static std::uint32_t getTickCount() noexcept;

    // Multiplier and modulus of a multiplicative congruential generator (Park, Miller and
    // Stockmeyer, 1993). The modulus is prime: a state from 1 to n2() - 1 never becomes 0 when the
    // product is taken in 64 bits.
    [[nodiscard]] static constexpr std::uint32_t n1() noexcept { return 48271; }
    [[nodiscard]] static constexpr std::uint32_t n2() noexcept { return 2147483647; }

    // Maps a state into lowest..highest, both included; lowest <= highest.
    [[nodiscard]] static constexpr std::uint32_t toIntRange(std::uint32_t state,
                                                            std::uint32_t lowest,
                                                            std::uint32_t highest) noexcept {
        return lowest + state % (highest - lowest + 1);
    }
};

} // namespace vantrel

#endif
