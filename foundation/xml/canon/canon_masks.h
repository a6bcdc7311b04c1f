// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_CANON_MASKS_H
#define FOUNDATION_XML_CANON_CANON_MASKS_H

#include "foundation/cpu/kernel_list.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::xml {

inline constexpr std::uint32_t kMaskedBytes = 64;

// Bit i of each word says whether byte i of a 64-byte block of the text is of the class. Together
// they tell, without a look at the bytes, whether a piece of text may stay as it is. An example; as
// in all words here the lowest bit is the first byte, which is written on the left, and a zero is a
// dot:
//
//     text      <p:e a="1 2" p:b="x">t&gt;</p:e>
//     less      1.........................1.....
//     greater   ....................1..........1
//     quote     .......1...1.....1.1............
//     space     ....1....1..1...................
//     colon     ..1...........1..............1..
//     slash     ...........................1....
//     hard      ......................1.........
//
// What a search for stops (stop_search.h) makes of it, by running exclusive ors and additions that
// carry a bit through a run of ones:
//
//     inTag     11111111111111111111......11111.  from each '<' to before its '>'
//     inValue   .......1111......11.............  a value and its opening quote
//     blanks    ....1.......1...................  `space` in tags outside of values
//
// The text stays as it is where a tag has at most one blank, none of `odd`, `bang` and (but for an
// end tag's) `slash`, where no '>' stands outside of tags, and at references that are canonical.
// Where a tag has several blanks, they must stand behind values, with the names in order. The
// exclusive method asks what the prefixes before the colons stand for as well.
struct CanonMasks {
    std::uint64_t less;    // '<'
    std::uint64_t greater; // '>'
    std::uint64_t quote;   // '"'
    std::uint64_t space;   // ' '
    std::uint64_t colon;   // ':'
    std::uint64_t slash;   // '/'
    std::uint64_t bang;    // '!', '?': what behind '<' begins anything but a tag
    std::uint64_t hard;    // '&', CR: to be looked at wherever they stand
    std::uint64_t odd;     // '\'', TAB, LF: to be looked at in tags

    friend bool operator==(const CanonMasks&, const CanonMasks&) = default;
};

// Fills masks[i] from block i of `text`, for `count` whole blocks at any address.
using MakeCanonMasks = void (*)(const char* text, std::size_t count, CanonMasks* masks) noexcept;

using CanonMaskKernel = cpu::Kernel<MakeCanonMasks>;

[[nodiscard]] std::span<const CanonMaskKernel> canonMaskKernels() noexcept;
// The first of them that may run here.
[[nodiscard]] const CanonMaskKernel& chosenCanonMaskKernel() noexcept;

} // namespace vantrel::xml

#endif
