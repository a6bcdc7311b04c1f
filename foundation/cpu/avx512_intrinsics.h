// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CPU_AVX512_INTRINSICS_H
#define FOUNDATION_CPU_AVX512_INTRINSICS_H

#include <cstddef>
#include <cstdint>

// The compiler's header of intrinsics, for files with AVX-512 kernels. It reads an undefined vector
// where the value does not matter, and gcc 12 warns of it wherever the intrinsics are inlined, so
// the warning is off for all that stands behind this.
#if defined(__x86_64__)
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

namespace vantrel::cpu {

// A bit for each octet of a block of 64 of which so many are there.
inline std::uint64_t octetsThere(std::size_t count) noexcept {
    return count >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

} // namespace vantrel::cpu
#endif

#endif
