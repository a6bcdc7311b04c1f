// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_CHILD_ELEMENTS_H
#define DSIG_DOCUMENT_CHILD_ELEMENTS_H

#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <string>
#include <vector>

namespace vantrel::dsig {

// The child elements of an element, in document order.
// Text, comments and processing instructions between them are passed over. Ids are those of the
// parent's document and mean nothing in another one.
[[nodiscard]] inline std::vector<xml::ElementId> childElements(const ClsXml& parent) {
    std::vector<xml::ElementId> children;
    const xml::XmlDocument& document = *parent.document();
    for (xml::ElementId child = document.firstChild(parent.elementId()); child != xml::kNoElement;
         child = document.nextChild(parent.elementId(), child)) {
        children.push_back(child);
    }
    return children;
}

// Calls visit(element) for each Reference of a signature's SignedInfo, in document order, by local
// name in any namespace.
template <class Visit> void forEachReference(const ClsXml& signature, const Visit& visit) {
    const xml::XmlDocument& document = *signature.document();
    const xml::ElementId signedInfo = document.firstChildNamed(signature.elementId(), "SignedInfo");
    if (signedInfo == xml::kNoElement) {
        return;
    }
    for (xml::ElementId child = document.firstChild(signedInfo); child != xml::kNoElement;
         child = document.nextChild(signedInfo, child)) {
        if (document.localName(child) == "Reference") {
            visit(child);
        }
    }
}

// A handle on another element of the same document.
// The handle shares the document, which lives as long as one of its handles does. `element` must be
// an id of that document.
[[nodiscard]] inline Ref<ClsXml> handleOn(const ClsXml& any, xml::ElementId element) {
    return Ref<ClsXml>::adopt(ClsXml::onElement(any.document(), element));
}

// An attribute of an element; empty for one that is not there.
[[nodiscard]] inline std::string attributeOf(const ClsXml& element, const char* name) {
    StringBuffer value;
    element.getAttrValue(name, value);
    return std::string(value.view());
}

} // namespace vantrel::dsig

#endif
