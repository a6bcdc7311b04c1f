// Canonicalization as a service of its own: text in, canonical text out.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/transform/canonicalization_method.h"
#include "foundation/log/MethodFrame.h"
#include "foundation/xml/canon/XmlCanon.h"

#include <new>

namespace vantrel {

namespace {

std::int32_t methodFromVersion(const XString& version) {
    StringBuffer name = version.getUtf8Sb();
    name.trim2();
    name.toLowerCase();
    return name.equals("excl_c14n") ? dsig::kExclusive : dsig::kInclusive;
}

} // namespace

bool ClsXmlDSig::CanonicalizeXml(XString& xml, XString& version, bool withComments,
                                 XString& outXml) {
    MethodFrame frame(*this, "CanonicalizeXml");
    frame.begin();
    outXml.clear();
    try {
        XmlCanon canonicalizer;
        canonicalizer.m_withComments = withComments;
        canonicalizer.m_method = methodFromVersion(version);
        return canonicalizer.xmlCanonicalize(xml.getUtf8Sb(), nullptr, 0, outXml.getUtf8Sb_rw(),
                                             m_log);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::CanonicalizeFragment(XString& xml, XString& fragmentId, XString& version,
                                      XString& prefixList, bool withComments, XString& outXml) {
    MethodFrame frame(*this, "CanonicalizeFragment");
    frame.begin();
    m_log.LogDataX("fragmentId", fragmentId);
    m_log.LogDataX("canonicalization", version);
    m_log.LogDataX("prefixList", prefixList);
    outXml.clear();
    try {
        XmlCanon canonicalizer;
        canonicalizer.m_withComments = withComments;
        canonicalizer.m_method = methodFromVersion(version);
        if (canonicalizer.m_method == dsig::kExclusive) {
            dsig::setPrefixList(canonicalizer, prefixList.getUtf8Sb());
        }
        return canonicalizer.xmlCanonicalize(xml.getUtf8Sb(), fragmentId.getUtf8(), 0,
                                             outXml.getUtf8Sb_rw(), m_log);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

} // namespace vantrel
