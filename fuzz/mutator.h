// SPDX-License-Identifier: MIT
#ifndef FUZZ_MUTATOR_H
#define FUZZ_MUTATOR_H

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

// A target may be linked with mutations that know what its input is made of: xml_mutator.cpp or
// der_mutator.cpp (CMakeLists.txt says which). Fuzzing engines call them by way of mutator.cpp,
// beside their own; replay_main.cpp as well.
namespace vantrel::fuzz {

using Random = std::mt19937_64;

// The input with a few changes of its structure; empty where it has none that can be changed.
[[nodiscard]] std::string mutateStructure(std::string_view input, Random& random);

} // namespace vantrel::fuzz

#endif
