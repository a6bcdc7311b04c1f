// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_UNROLL_H
#define FOUNDATION_CRYPTO_HASH_UNROLL_H

#include <cstddef>
#include <utility>

// Calls step(0) to step(N - 1), the argument being a compile-time constant, one after another: the
// rounds of a compression function, whose registers change places from round to round. The step
// should be a lambda marked VANTREL_INLINE_STEP.
#define VANTREL_INLINE_STEP __attribute__((always_inline))

namespace vantrel::crypto {

template <std::size_t... I, typename Step>
[[gnu::always_inline]] inline void unrollSteps(std::index_sequence<I...> /*steps*/,
                                               const Step& step) noexcept {
    (step(std::integral_constant<std::size_t, I>{}), ...);
}

template <std::size_t N, typename Step>
[[gnu::always_inline]] inline void unroll(const Step& step) noexcept {
    unrollSteps(std::make_index_sequence<N>{}, step);
}

} // namespace vantrel::crypto

#endif
