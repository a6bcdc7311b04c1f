// SPDX-License-Identifier: MIT
#include "foundation/zip/crc32.h"

#include "foundation/cpu/target_aarch64.h"

#include <array>
#include <cstddef>

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(VANTREL_ARM_EXTENSIONS)
#include <cstring>

#include <arm_acle.h>
#endif

namespace vantrel::zip {

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320; // reflected
constexpr std::size_t kSlices = 16;

using Slices = std::array<std::array<std::uint32_t, 256>, kSlices>;

// kTable[k][b]: what the byte b adds to the state when k more bytes follow it in a group.
constexpr Slices makeTable() {
    Slices table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t state = byte;
        for (int bit = 0; bit < 8; ++bit) {
            state = (state >> 1) ^ ((state & 1) != 0 ? kPolynomial : 0);
        }
        table[0][byte] = state;
    }
    for (std::size_t k = 1; k < kSlices; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = table[k - 1][byte];
            table[k][byte] = (before >> 8) ^ table[0][before & 0xFF];
        }
    }
    return table;
}

constexpr Slices kTable = makeTable();

// A group of 16 bytes takes 16 independent look-ups, where byte by byte each waits for the one
// before.
std::uint32_t updatePortable(std::uint32_t state, ByteView bytes) noexcept {
    while (bytes.size() >= kSlices) {
        std::uint32_t next = 0;
        for (std::size_t i = 0; i < kSlices; ++i) {
            const std::uint32_t mixed = i < 4 ? (state >> (8 * i)) & 0xFF : 0;
            next ^= kTable[kSlices - 1 - i][bytes[i] ^ mixed];
        }
        state = next;
        bytes = bytes.subspan(kSlices);
    }
    for (const std::uint8_t byte : bytes) {
        state = (state >> 8) ^ kTable[0][(state ^ byte) & 0xFF];
    }
    return state;
}

#if defined(__x86_64__)

// Products without carries fold what was read onto what follows it, 64 bytes a turn (Gopal et al.,
// "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ Instruction").

#define VANTREL_TARGET_PCLMUL __attribute__((target("pclmul,sse4.1")))

// x^n mod P, reflected and shifted by one place, as a carry-less product of reflected numbers wants
// it.
constexpr std::uint64_t power(unsigned n) {
    std::uint32_t state = 0x80000000; // x^0
    for (unsigned i = 0; i < n; ++i) {
        state = (state >> 1) ^ ((state & 1) != 0 ? kPolynomial : 0);
    }
    return std::uint64_t{state} << 1;
}

[[gnu::always_inline]] VANTREL_TARGET_PCLMUL inline __m128i fold(__m128i value, __m128i powers,
                                                                 __m128i next) noexcept {
    const __m128i low = _mm_clmulepi64_si128(value, powers, 0x00);
    const __m128i high = _mm_clmulepi64_si128(value, powers, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

// Folds the text into 64 bytes, these into 16, which have the remainder of all; the tables do the
// rest.
VANTREL_TARGET_PCLMUL std::uint32_t updatePclmul(std::uint32_t state, ByteView bytes) noexcept {
    constexpr std::size_t kStride = 64;
    if (bytes.size() < 2 * kStride) {
        return updatePortable(state, bytes);
    }
    const auto load = [](const std::uint8_t* from) VANTREL_TARGET_PCLMUL {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    };
    const __m128i by512 = _mm_set_epi64x(static_cast<long long>(power(512 - 32)),
                                         static_cast<long long>(power(512 + 32)));
    const __m128i by128 = _mm_set_epi64x(static_cast<long long>(power(128 - 32)),
                                         static_cast<long long>(power(128 + 32)));
    const std::uint8_t* at = bytes.data();
    __m128i a = _mm_xor_si128(load(at), _mm_cvtsi32_si128(static_cast<int>(state)));
    __m128i b = load(at + 16);
    __m128i c = load(at + 32);
    __m128i d = load(at + 48);
    std::size_t left = bytes.size() - kStride;
    for (at += kStride; left >= kStride; left -= kStride, at += kStride) {
        a = fold(a, by512, load(at));
        b = fold(b, by512, load(at + 16));
        c = fold(c, by512, load(at + 32));
        d = fold(d, by512, load(at + 48));
    }
    a = fold(fold(fold(a, by128, b), by128, c), by128, d);
    alignas(16) std::uint8_t last[16];
    _mm_store_si128(reinterpret_cast<__m128i*>(last), a);
    return updatePortable(updatePortable(0, last), {at, left});
}

#elif defined(VANTREL_ARM_EXTENSIONS)

VANTREL_TARGET_ARM_CRC32 std::uint32_t updateArm(std::uint32_t state, ByteView bytes) noexcept {
    while (bytes.size() >= sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), sizeof word);
        state = __crc32d(state, word);
        bytes = bytes.subspan(sizeof word);
    }
    for (const std::uint8_t byte : bytes) {
        state = __crc32b(state, byte);
    }
    return state;
}

#endif

constexpr Crc32Kernel kKernels[] = {
#if defined(__x86_64__)
    {"pclmul", cpu::Feature::Pclmul | cpu::Feature::Sse41, updatePclmul},
#elif defined(VANTREL_ARM_EXTENSIONS)
    {"arm-crc32", cpu::Feature::Crc32, updateArm},
#endif
    {"portable", cpu::Feature::None, updatePortable},
};
static_assert(cpu::isKernelList(kKernels));

} // namespace

std::span<const Crc32Kernel> crc32Kernels() noexcept { return kKernels; }

Crc32::Crc32() noexcept : Crc32(cpu::chosenKernel(kKernels)) {}

} // namespace vantrel::zip
