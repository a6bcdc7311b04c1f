// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_PROFILE_DETECTION_H
#define DSIG_TRANSFORM_PROFILE_DETECTION_H

#include "dsig/document/rules.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <string_view>

namespace vantrel::dsig {

// Recognises documents of national and industry systems by the markers in their text
// (profile_markers.h), and sets the rules accordingly. The marker and its place are logged. `rules`
// are replaced: nothing of the document before stays in force but what a load does not touch (the
// ZATCA switch, the last cut, the profile code). At most one profile of the ordered list is
// applied; SK-XML is independent of them. The name that a profile gets in reports is set too, and
// is empty for an ordinary document. Whoever writes the document chooses its profile, since a
// marker anywhere will do, comments included. A profile therefore never makes a signature valid by
// itself: it changes which octets are digested, these are still compared with the signed digest,
// and what it left out is reported.
void detectProfile(std::string_view xml, Rules& rules, LogBase& log);

// The word ZATCA in an options text, in any case, switches these rules on; its absence off. They
// also forbid the retry with the other attribute order.
void setZatcaFromOptions(const StringBuffer& options, Rules& rules, LogBase& log);

// The line that says so, wherever the emulation is switched on or used.
void logAttrSortEmulation(LogBase& log);

} // namespace vantrel::dsig

#endif
