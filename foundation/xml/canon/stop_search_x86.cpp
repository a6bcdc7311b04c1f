// SPDX-License-Identifier: MIT
#if defined(__x86_64__)

#define VANTREL_STOP_TARGET __attribute__((target("bmi,bmi2,pclmul")))

#include "foundation/xml/canon/stop_search.h"
#include "foundation/xml/canon/stop_search_blocks.h"

#include <immintrin.h>

namespace vantrel::xml {

namespace {

// The product with all ones, without carries, adds up all bits below each.
struct PclmulStopBits {
    [[gnu::always_inline]] VANTREL_STOP_TARGET static std::uint64_t runningParity(
        std::uint64_t bits) noexcept {
        const __m128i product = _mm_clmulepi64_si128(
            _mm_cvtsi64_si128(static_cast<long long>(bits)), _mm_set1_epi8(-1), 0);
        return static_cast<std::uint64_t>(_mm_cvtsi128_si64(product));
    }
};

} // namespace

VANTREL_STOP_TARGET std::uint32_t findStopX86Bmi2(CanonWindow& window, StartTagWriter& tags,
                                                  std::string_view text, std::uint32_t at,
                                                  std::uint32_t limit) {
    return tags.stopRules().byPrefix
               ? StopSearch<PclmulStopBits, true>(window, tags, text, limit).run(at)
               : StopSearch<PclmulStopBits, false>(window, tags, text, limit).run(at);
}

} // namespace vantrel::xml

#endif
