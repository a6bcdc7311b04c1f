#ifndef DSIG_TRANSFORM_PROFILE_DETECTION_H
#define DSIG_TRANSFORM_PROFILE_DETECTION_H

#include "dsig/document/rules.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <string_view>

namespace vantrel::dsig {

// Recognises documents of national and industry systems by the markers in their text
// (profile_markers.h), and sets the rules accordingly. The marker and its place are logged.
void detectProfile(std::string_view xml, Rules& rules, LogBase& log);

// The word ZATCA in an options text, in any case, switches these rules on; its absence off.
void setZatcaFromOptions(const StringBuffer& options, Rules& rules, LogBase& log);

// The line that says so, wherever the emulation is switched on or used.
void logAttrSortEmulation(LogBase& log);

} // namespace vantrel::dsig

#endif
