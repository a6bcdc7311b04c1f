// SPDX-License-Identifier: MIT
#include "dsig/keys/security_tokens.h"

#include "foundation/base/LogContextExitor.h"
#include "foundation/cms/AsnXmlCodec.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

namespace {

// Far above any chain in use. The error line names the number as well.
constexpr int kMaxPathCertificates = 100;

// The base64 of the last certificate of a PKI path: a DER sequence of certificates, the signer's
// last.
bool pkiPathV1_to_cert(const StringBuffer& in, StringBuffer& out, LogBase& log) {
    const LogContextExitor context(log, "pkiPathV1_to_cert");
    out.clear();
    DataBuffer der;
    der.appendEncoded(in.view(), "base64");
    StringBuffer xml;
    if (!AsnXmlCodec::derToXml(der, false, true, xml, nullptr, log)) {
        log.LogError("Invalid binary security token content.");
        return false;
    }
    const Ref<ClsXml> path = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    if (!path || !path->loadXml(xml, false, log) || path->get_NumChildren() == 0) {
        log.LogError("Invalid binary security token content..");
        return false;
    }
    if (path->get_NumChildren() > kMaxPathCertificates) {
        log.LogError("The PKI path has more than 100 certificates.");
        return false;
    }
    path->getChild2(path->get_NumChildren() - 1);
    log.LogInfo("Getting last cert from X509PKIPathv1...");
    // The rendering was an exact one, so these are the very bytes of the token: the signature of
    // the certificate still fits them.
    AsnXmlCodec::xmlToDer(*path, der, log);
    der.encodeDB("base64", out);
    return true;
}

} // namespace

// The reference need not be a well-behaved one: without an '#' it leads out of the document, and
// nothing is fetched for a key. One substring covers #X509v3, #X509PKIPathv1 and #X509v1 of the
// token profile.
bool readTokenReference(const ClsXml& reference, TokenReference& target, LogBase& log) {
    const bool hasUri = reference.getAttrValue("URI", target.uri);
    const bool hasType = reference.getAttrValue("ValueType", target.valueType);
    if (hasUri && hasType && target.uri.beginsWith("#") &&
        target.valueType.containsSubstring("#X509")) {
        return true;
    }
    log.LogError("Unhandled security token reference.");
    log.LogDataSb("uri", target.uri);
    log.LogDataSb("valueType", target.valueType);
    return false;
}

void logNoToken(LogBase& log) {
    log.LogError("Failed to find the wsse:BinarySecurityToken element");
}

bool takeLastOfPkiPath(StringBuffer& content, LogBase& log) {
    StringBuffer last;
    if (!pkiPathV1_to_cert(content, last, log)) {
        return false;
    }
    content.takeSb(last);
    return true;
}

} // namespace vantrel::dsig
