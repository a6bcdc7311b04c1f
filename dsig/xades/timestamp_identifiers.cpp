// SPDX-License-Identifier: MIT
#include "dsig/xades/timestamp_identifiers.h"

#include "foundation/io/Psdk.h"

#include <atomic>

namespace vantrel {

namespace {

// Four digits each, so that all identifiers have one length.
constexpr std::uint32_t kLowest = 1000;
constexpr std::uint32_t kHighest = 9998;
constexpr int kParts = 4;

} // namespace

std::uint32_t _idPart() {
    // The generator's state, 0 before it is seeded. Relaxed loads and stores: a lost step does no
    // harm.
    static std::atomic<std::uint32_t> _x{0};
    std::uint32_t state = _x.load(std::memory_order_relaxed);
    if (state == 0) {
        state = Psdk::getTickCount();
    }
    // The product is taken in 64 bits. A seed that is 0 or a multiple of the modulus gives 0, where
    // the generator would stay.
    state = static_cast<std::uint32_t>(std::uint64_t{Psdk::n1()} * state % Psdk::n2());
    if (state == 0) {
        state = Psdk::getTickCount();
    }
    _x.store(state, std::memory_order_relaxed);
    return Psdk::toIntRange(state, kLowest, kHighest);
}

void appendXmlAttrId(StringBuffer& out) {
    for (int part = 0; part < kParts; ++part) {
        if (part > 0) {
            out.appendChar('-');
        }
        out.append(static_cast<int>(_idPart()));
    }
}

} // namespace vantrel
