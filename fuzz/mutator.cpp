// SPDX-License-Identifier: MIT
// What the fuzzing engine calls for an input to be changed: one time in four by the engine's own
// changes of octets, else in its structure.

#include "fuzz/mutator.h"

#include <algorithm>
#include <cstddef>

// Of the engine; a replay has none.
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size,
                                                              std::size_t room);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed) {
    vantrel::fuzz::Random random(seed);
    std::string changed;
    if (LLVMFuzzerMutate == nullptr || random() % 4 != 0) {
        const std::string input(data, data + size);
        changed = vantrel::fuzz::mutateStructure(input, random);
    }
    if (changed.empty() || changed.size() > room) {
        return LLVMFuzzerMutate != nullptr ? LLVMFuzzerMutate(data, size, room) : size;
    }
    std::copy(changed.begin(), changed.end(), data);
    return changed.size();
}
