#include "dsig/xades/timestamp_identifiers.h"

#include "foundation/io/Psdk.h"

#include <atomic>
#include <cstdint>

namespace vantrel::dsig {

namespace {

// A multiplicative congruential generator (the "minimal standard" of Park and Miller); state 0
// means not seeded. Relaxed loads and stores: a lost step does no harm.
constexpr std::uint32_t kMultiplier = 16807;
constexpr std::uint32_t kModulus = 2147483647;
constexpr std::uint32_t kLowest = 1000;
constexpr std::uint32_t kHighest = 9998;

std::atomic<std::uint32_t> generatorState{0};

std::uint32_t seed() { return static_cast<std::uint32_t>(Psdk::getTickCount()); }

std::uint32_t nextGroup() {
    std::uint32_t state = generatorState.load(std::memory_order_relaxed);
    if (state == 0) {
        state = seed();
    }
    state = kMultiplier * state % kModulus;
    if (state == 0) {
        state = seed();
    }
    generatorState.store(state, std::memory_order_relaxed);
    return kLowest + state % (kHighest - kLowest + 1);
}

} // namespace

void appendXmlAttrId(StringBuffer& out) {
    for (int group = 0; group < 4; ++group) {
        if (group > 0) {
            out.appendChar('-');
        }
        out.append(static_cast<int>(nextGroup()));
    }
}

} // namespace vantrel::dsig
