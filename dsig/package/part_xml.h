// SPDX-License-Identifier: MIT
#ifndef DSIG_PACKAGE_PART_XML_H
#define DSIG_PACKAGE_PART_XML_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

#include <string>

namespace vantrel::dsig {

// The root of a part that is XML, in the encoding that it declares; null after an error line.
[[nodiscard]] inline Ref<ClsXml> parsePart(const DataBuffer& part, LogBase& log) {
    DataBuffer bytes = part;
    StringBuffer text;
    Ref<ClsXml> root = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    if (!root || !bytes.convertXmlToUtf8(log)) {
        return {};
    }
    text.takeFromDb(bytes);
    return root->loadXml(text, false, log) ? std::move(root) : Ref<ClsXml>();
}

// Empty for an attribute that is not there.
[[nodiscard]] inline std::string attributeOf(const ClsXml& element, const char* name) {
    StringBuffer value;
    element.getAttrValue(name, value);
    return std::string(value.view());
}

} // namespace vantrel::dsig

#endif
