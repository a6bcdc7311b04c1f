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
//     content   1...................1.1...1....1
//     greater   ....................1..........1
//     quote     .......1...1.....1.1............
//     space     ....1....1..1...................
//     colon     ..1...........1..............1..
//     odd       ......................1.........
//
// What CanonWindow::tagAt (canon_window.h) makes of the tag at byte 0:
//
//     greater & -greater: byte 20, where the tag closes; the words below are cut off there
//     inside    .......1111......11.............  the running exclusive or of `quote`: a value and
//                                                 its opening quote, but not the closing one
//     blanks    ....1.......1...................  `space` outside of values: one before each
//                                                 attribute; the first ends the name "p:e"
//     closing   ...........1.......1............  closing quotes: one before each blank but the
//                                                 first, and one before the '>'
//
// So the tag has single spaces in the right places and none elsewhere, and `odd` has no bit in it:
// no reference, no line end, no apostrophe. It is canonical as far as its characters go. What is
// left are questions of names: the colons outside of values (bytes 2 and 14) give the prefixes, and
// the byte behind each blank begins the attribute name whose order is compared.
//
// `content` serves between tags: from byte 21 on its first bit is byte 22, a reference, to be
// resolved and written again; all text before it is passed over.
struct alignas(64) CanonMasks {
    std::uint64_t content; // '<', '&', '>', CR: where character data needs a closer look
    std::uint64_t greater; // '>'
    std::uint64_t quote;   // '"'
    std::uint64_t space;   // ' '
    std::uint64_t colon;   // ':'
    std::uint64_t odd;     // '\'', '&', TAB, LF, CR: no tag that is canonical at a glance has these

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
