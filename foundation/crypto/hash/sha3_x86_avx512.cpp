// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#define VANTREL_SHA3_TARGET __attribute__((target("avx512f,avx512vl")))

#include "foundation/cpu/avx512_intrinsics.h"
#include "foundation/crypto/hash/sha3_rounds.h"

namespace vantrel::crypto {

namespace {

// One lane a vector register, whose upper half is idle. There are 32 of them, so that the state
// stays in registers where the general ones hold half of it, and three operands are combined by one
// instruction.
struct Sha3Vector {
    using Lane = __m128i;

    [[gnu::always_inline]] VANTREL_SHA3_TARGET static Lane load(std::uint64_t value) noexcept {
        return _mm_cvtsi64_si128(static_cast<long long>(value));
    }
    [[gnu::always_inline]] VANTREL_SHA3_TARGET static std::uint64_t store(Lane lane) noexcept {
        return static_cast<std::uint64_t>(_mm_cvtsi128_si64(lane));
    }
    [[gnu::always_inline]] VANTREL_SHA3_TARGET static Lane exclusiveOr(Lane a, Lane b) noexcept {
        return _mm_xor_si128(a, b);
    }
    [[gnu::always_inline]] VANTREL_SHA3_TARGET static Lane exclusiveOr(Lane a, Lane b,
                                                                       Lane c) noexcept {
        return _mm_ternarylogic_epi64(a, b, c, 0x96);
    }
    [[gnu::always_inline]] VANTREL_SHA3_TARGET static Lane chi(Lane a, Lane b, Lane c) noexcept {
        return _mm_ternarylogic_epi64(a, b, c, 0xd2);
    }
    template <int kCount>
    [[gnu::always_inline]] VANTREL_SHA3_TARGET static Lane rotate(Lane a) noexcept {
        return _mm_rol_epi64(a, kCount);
    }
};

} // namespace

VANTREL_SHA3_TARGET void sha3CompressX86Avx512(HashState& state, const std::uint8_t* data,
                                               std::size_t blocks) noexcept {
    sha3Blocks<Sha3Vector>(state.sponge, data, blocks);
}

} // namespace vantrel::crypto

#endif
