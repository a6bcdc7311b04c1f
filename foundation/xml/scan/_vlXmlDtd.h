// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_VLXMLDTD_H
#define FOUNDATION_XML_SCAN_VLXMLDTD_H

#include "foundation/xml/scan/xml_document.h"

#include <memory>

namespace vantrel {

// The entity and DTD context of a text that is searched for signatures. Default-constructed it
// knows nothing; an operation that parses a text leaves the structure here, and the next operation
// on the same text (shared storage) finds it instead of parsing again. A caller that knows the
// structure already may set it.
class _vlXmlDtd final {
public:
    _vlXmlDtd() noexcept = default;

    [[nodiscard]] const std::shared_ptr<const xml::XmlDocument>& document() const noexcept {
        return m_document;
    }
    void setDocument(std::shared_ptr<const xml::XmlDocument> document) noexcept {
        m_document = std::move(document);
    }
    // The known structure, when it is that of `text`; else null.
    [[nodiscard]] std::shared_ptr<const xml::XmlDocument> documentOf(
        const StringBuffer& text) const noexcept {
        return m_document != nullptr && m_document->sourceText().sharesStorageWith(text)
                   ? m_document
                   : nullptr;
    }

private:
    std::shared_ptr<const xml::XmlDocument> m_document;
};

} // namespace vantrel

#endif
