#ifndef FOUNDATION_XML_CANON_CANON_MASKS_H
#define FOUNDATION_XML_CANON_CANON_MASKS_H

#include "foundation/cpu/kernel_list.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::xml {

inline constexpr std::uint32_t kMaskedBytes = 64;

// Bit i of each word says whether byte i of a 64-byte block of the text is of the class. Together
// they tell, without a look at the bytes, whether a piece of text may stay as it is.
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
