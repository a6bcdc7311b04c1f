// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_LOCATE_STRUCTURE_H
#define FOUNDATION_XML_LOCATE_STRUCTURE_H

#include "foundation/text/LogBase.h"
#include "foundation/xml/scan/log_failure.h"
#include "foundation/xml/scan/xml_document.h"

#include <memory>

namespace vantrel::xml {

// Parses a text that may have been cut out of its document. Null after an error line.
[[nodiscard]] inline std::shared_ptr<const XmlDocument> parseLeniently(const StringBuffer& text,
                                                                       LogBase& log) {
    ParseFailure why;
    auto document = XmlDocument::parse(text, {.fragment = true}, why);
    if (document == nullptr) {
        logParseFailure(why, log);
    }
    return document;
}

} // namespace vantrel::xml

#endif
