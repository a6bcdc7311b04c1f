#include "dsig/xades/stamped_value.h"

#include "foundation/xml/canon/XmlCanon.h"

namespace vantrel::dsig {

StringBuffer stampedValue(const std::shared_ptr<const xml::XmlDocument>& document,
                          std::int32_t method, const StringBuffer& signatureValueId, LogBase& log) {
    XmlCanon canonicalizer;
    canonicalizer.m_method = method;
    canonicalizer.m_withComments = false;
    canonicalizer.m_document = document;
    StringBuffer canonical;
    if (!canonicalizer.xmlCanonicalize(document ? document->sourceText() : StringBuffer(),
                                       signatureValueId.getString(), 0, canonical, log)) {
        canonical.clear();
    }
    canonical.toLF();
    return canonical;
}

} // namespace vantrel::dsig
