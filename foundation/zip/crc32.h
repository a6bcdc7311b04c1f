// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ZIP_CRC32_H
#define FOUNDATION_ZIP_CRC32_H

#include "foundation/cpu/kernel_list.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <span>

namespace vantrel::zip {

// The next state of the sum after `bytes`: a register of 32 bits, reflected, neither preset nor
// inverted here.
using Crc32Update = std::uint32_t (*)(std::uint32_t state, ByteView bytes) noexcept;
using Crc32Kernel = cpu::Kernel<Crc32Update>;

// Internal: the ways to work it out, best first.
[[nodiscard]] std::span<const Crc32Kernel> crc32Kernels() noexcept;

// The running CRC-32 of ZIP (ISO 3309, polynomial 04C11DB7). It finds accidents, never attacks.
class Crc32 final {
public:
    Crc32() noexcept;
    explicit Crc32(const Crc32Kernel& kernel) noexcept : m_update(kernel.run) {}

    void update(ByteView bytes) noexcept { m_state = m_update(m_state, bytes); }
    // Of everything so far; 0 for nothing.
    [[nodiscard]] std::uint32_t value() const noexcept { return ~m_state; }

private:
    Crc32Update m_update;
    std::uint32_t m_state = ~std::uint32_t{0};
};

} // namespace vantrel::zip

#endif
