#include "dsig/xades/timestamp_identifiers.h"

#include "foundation/io/Psdk.h"

#include <atomic>
#include <cstdint>

namespace vantrel::dsig {

namespace {

constexpr std::uint32_t kLowest = 1000;
constexpr std::uint32_t kHighest = 9998;

// 0 means not seeded. Relaxed loads and stores: a lost step does no harm.
std::atomic<std::uint32_t> generatorState{0};

std::uint32_t nextGroup() {
    std::uint32_t state = generatorState.load(std::memory_order_relaxed);
    if (state == 0) {
        state = Psdk::getTickCount();
    }
    state = static_cast<std::uint32_t>(std::uint64_t{Psdk::n1()} * state % Psdk::n2());
    if (state == 0) {
        state = Psdk::getTickCount();
    }
    generatorState.store(state, std::memory_order_relaxed);
    return Psdk::toIntRange(state, kLowest, kHighest);
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
