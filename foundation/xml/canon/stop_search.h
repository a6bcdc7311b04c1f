// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_STOP_SEARCH_H
#define FOUNDATION_XML_CANON_STOP_SEARCH_H

#include "foundation/cpu/kernel_list.h"
#include "foundation/xml/canon/canon_window.h"
#include "foundation/xml/canon/start_tag_writer.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// Searches from `at`, which is outside of tags, for the first place before `limit` where the text
// may not be canonical as it stands, and returns it, or else `limit`. The place is the '<' of a tag
// or of other markup, or a character outside of tags; where `limit` cuts a tag through, the '<' of
// that tag. Whatever lies before it may stay, but for declarations of the prefix of an element's
// name that were due: they have been written.
using FindStop = std::uint32_t (*)(CanonWindow& window, StartTagWriter& tags, std::string_view text,
                                   std::uint32_t at, std::uint32_t limit);

using StopSearchKernel = cpu::Kernel<FindStop>;

#if defined(__x86_64__)
// Needs BMI2 and PCLMUL.
[[nodiscard]] std::uint32_t findStopX86Bmi2(CanonWindow& window, StartTagWriter& tags,
                                            std::string_view text, std::uint32_t at,
                                            std::uint32_t limit);
#endif

// The best that may run here.
[[nodiscard]] const StopSearchKernel& chosenStopSearchKernel() noexcept;

} // namespace vantrel::xml

#endif
