// SPDX-License-Identifier: MIT
// Canonicalization as a service of its own: text in, canonical text out.

#include "dsig/document/canonicalization_method.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/xml/canon/XmlCanon.h"

namespace vantrel {

namespace {

// Canonical XML 1.0 is also what an empty or misspelt version gets; there is no error for it.
std::int32_t methodFromVersion(const XString& version) {
    StringBuffer name = version.getUtf8Sb();
    name.trim2();
    name.toLowerCase();
    return name.equals("excl_c14n") ? dsig::kExclusive : dsig::kInclusive;
}

} // namespace

bool ClsXmlDSig::CanonicalizeXml(XString& xml, XString& version, bool withComments,
                                 XString& outXml) {
    return MethodFrame::run(*this, "CanonicalizeXml", [&](MethodFrame& /*frame*/) {
        outXml.clear();
        XmlCanon canonicalizer;
        canonicalizer.m_withComments = withComments;
        canonicalizer.m_method = methodFromVersion(version);
        return canonicalizer.xmlCanonicalize(xml.getUtf8Sb(), nullptr, 0, outXml.getUtf8Sb_rw(),
                                             m_log);
    });
}

bool ClsXmlDSig::CanonicalizeFragment(XString& xml, XString& fragmentId, XString& version,
                                      XString& prefixList, bool withComments, XString& outXml) {
    return MethodFrame::run(*this, "CanonicalizeFragment", [&](MethodFrame& /*frame*/) {
        m_log.LogDataX("fragmentId", fragmentId);
        m_log.LogDataX("canonicalization", version);
        m_log.LogDataX("prefixList", prefixList);
        outXml.clear();
        XmlCanon canonicalizer;
        canonicalizer.m_withComments = withComments;
        canonicalizer.m_method = methodFromVersion(version);
        // Exclusive XML Canonicalization 1.0, section 3; the inclusive method has no such list.
        if (canonicalizer.m_method == dsig::kExclusive) {
            dsig::setPrefixList(canonicalizer, prefixList.getUtf8Sb());
        }
        return canonicalizer.xmlCanonicalize(xml.getUtf8Sb(), fragmentId.getUtf8(), 0,
                                             outXml.getUtf8Sb_rw(), m_log);
    });
}

} // namespace vantrel
