// SPDX-License-Identifier: MIT
#ifndef DSIG_PACKAGE_PART_XML_H
#define DSIG_PACKAGE_PART_XML_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

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

} // namespace vantrel::dsig

#endif
