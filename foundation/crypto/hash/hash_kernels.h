// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_HASH_KERNELS_H
#define FOUNDATION_CRYPTO_HASH_HASH_KERNELS_H

#include "foundation/cpu/kernel_list.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

// The state of SHA-3, and the bytes of it that a block is added to (FIPS 202, 4).
struct SpongeState {
    std::uint64_t lanes[25]; // lane x + 5 * y
    std::uint64_t rate;      // 72, 104, 136, 144 or 168
};

// The chaining value of any of the algorithms, in the form its rounds compute with.
union alignas(16) HashState {
    std::uint32_t w32[8];   // MD5, RIPEMD, SHA-1, SHA-224, SHA-256
    std::uint64_t w64[8];   // SHA-384, SHA-512
    std::uint8_t bytes[32]; // MD2: the state, then the running checksum
    SpongeState sponge;     // SHA-3
};

// Absorbs `blocks` whole blocks of the algorithm's block size, which may lie at any address.
using HashCompress = void (*)(HashState& state, const std::uint8_t* data,
                              std::size_t blocks) noexcept;

using HashKernel = cpu::Kernel<HashCompress>;

// The kernels of an algorithm. Empty for an identifier that names no algorithm.
[[nodiscard]] std::span<const HashKernel> hashKernels(int id) noexcept;

// The first of them that may run here. `id` must name an algorithm.
[[nodiscard]] const HashKernel& chosenHashKernel(int id) noexcept;

} // namespace vantrel::crypto

#endif
