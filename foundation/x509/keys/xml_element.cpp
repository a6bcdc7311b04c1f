// SPDX-License-Identifier: MIT
#include "foundation/x509/keys/xml_element.h"

#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/values.h"

namespace vantrel::x509 {

bool XmlElement::child(std::string_view localName, XmlElement& out) const noexcept {
    for (xml::ElementId id = m_document->firstChild(m_id); id != xml::kNoElement;
         id = m_document->nextChild(m_id, id)) {
        if (m_document->localName(id) == localName) {
            out = XmlElement(*m_document, id);
            return true;
        }
    }
    return false;
}

bool XmlElement::attribute(std::string_view localName, std::string& value) const {
    xml::StartTagReader tag(m_document->text(), m_document->element(m_id).start);
    for (xml::Attribute attribute; tag.next(attribute);) {
        if (!attribute.isNamespaceDecl() && attribute.localName() == localName) {
            value.clear();
            xml::appendAttributeValue(attribute.raw, xml::AttributeType::Cdata, value);
            return true;
        }
    }
    return false;
}

bool XmlElement::appendContent(std::string& out) const {
    const xml::ElementRecord& record = m_document->element(m_id);
    xml::StartTagReader tag(m_document->text(), record.start);
    for (xml::Attribute attribute; tag.next(attribute);) {}
    if (tag.selfClosing()) {
        return true;
    }
    xml::ElementId nextChild = m_document->firstChild(m_id);
    xml::ContentReader reader(m_document->text(), tag.end(), record.end);
    xml::ContentPiece piece;
    while (true) {
        switch (reader.next(piece)) {
        case xml::ContentKind::Text: xml::appendText(piece.body, out); break;
        case xml::ContentKind::Cdata: xml::appendCdata(piece.body, out); break;
        case xml::ContentKind::StartTag:
            reader.skipTo(m_document->element(nextChild).end);
            nextChild = m_document->nextChild(m_id, nextChild);
            break;
        case xml::ContentKind::Comment:
        case xml::ContentKind::ProcessingInstruction:
        case xml::ContentKind::Doctype: break;
        case xml::ContentKind::EndTag:
        case xml::ContentKind::End: return true;
        }
    }
}

} // namespace vantrel::x509
