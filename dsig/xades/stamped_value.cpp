// SPDX-License-Identifier: MIT
#include "dsig/xades/stamped_value.h"

#include "foundation/xml/canon/XmlCanon.h"

namespace vantrel::dsig {

StringBuffer stampedValue(const std::shared_ptr<const xml::XmlDocument>& document,
                          std::int32_t method, const StringBuffer& signatureValueId, LogBase& log) {
    XmlCanon canonicalizer;
    canonicalizer.m_method = method;
    canonicalizer.m_withComments = false;
    // The structure is known, so nothing is parsed again.
    canonicalizer.m_document = document;
    StringBuffer canonical;
    // An Id that stands on two elements is refused: a second element cannot take the place of the
    // SignatureValue.
    if (!canonicalizer.xmlCanonicalize(document ? document->sourceText() : StringBuffer(),
                                       signatureValueId.getString(), 0, canonical, log)) {
        canonical.clear();
    }
    // The caller that needs CRLF makes it from this form.
    canonical.toLF();
    return canonical;
}

} // namespace vantrel::dsig
