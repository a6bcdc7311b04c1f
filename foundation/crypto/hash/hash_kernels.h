#ifndef FOUNDATION_CRYPTO_HASH_HASH_KERNELS_H
#define FOUNDATION_CRYPTO_HASH_HASH_KERNELS_H

#include "foundation/cpu/cpu_features.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel::crypto {

// The chaining value of any of the algorithms, in the form its rounds compute with.
union alignas(16) HashState {
    std::uint32_t w32[8];   // MD5, RIPEMD, SHA-1, SHA-256
    std::uint64_t w64[8];   // SHA-384, SHA-512
    std::uint8_t bytes[32]; // MD2: the state, then the running checksum
};

// Absorbs `blocks` whole blocks of the algorithm's block size, which may lie at any address.
using HashCompress = void (*)(HashState& state, const std::uint8_t* data,
                              std::size_t blocks) noexcept;

// One way to compute an algorithm. All kernels of an algorithm give the same results.
struct HashKernel {
    std::string_view name;
    CpuFeature needs;
    HashCompress compress;
};

// The kernels of an algorithm, best first; the last is always "portable" and needs nothing. Empty
// for an identifier that names no algorithm.
[[nodiscard]] std::span<const HashKernel> hashKernels(int id) noexcept;

// The first of them that may run here. `id` must name an algorithm.
[[nodiscard]] const HashKernel& chosenHashKernel(int id) noexcept;

} // namespace vantrel::crypto

#endif
