// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_LOG_FAILURE_H
#define FOUNDATION_XML_SCAN_LOG_FAILURE_H

#include "foundation/text/LogBase.h"
#include "foundation/xml/scan/xml_document.h"

namespace vantrel::xml {

// Writes the one error line that says why and where a text was refused.
void logParseFailure(const ParseFailure& why, LogBase& log);

} // namespace vantrel::xml

#endif
