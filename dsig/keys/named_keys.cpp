// SPDX-License-Identifier: MIT
#include "dsig/keys/named_keys.h"

#include "dsig/document/child_elements.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/strings.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

std::set<std::string> keyNames(const ClsXml& keyInfo) {
    std::set<std::string> names;
    for (const xml::ElementId element : keyInfo.childrenWithTag("*:KeyName")) {
        StringBuffer content;
        handleOn(keyInfo, element)->getContentSb(content);
        names.emplace(content.view());
        names.emplace(text::trimmed(content.view()));
    }
    // An element without a name names nothing.
    names.erase(std::string());
    return names;
}

} // namespace vantrel::dsig
