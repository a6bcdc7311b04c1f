// Read access to the selected signature's SignedInfo, SignatureValue and references, on the tree.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/child_elements.h"
#include "dsig/object/loaded_structure.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/log/MethodFrame.h"
#include "foundation/xml/tree/ClsXml.h"

#include <string>

namespace vantrel {

namespace {

Ref<ClsXml> signedInfoOf(const ClsXml& signature, LogBase& log) {
    Ref<ClsXml> signedInfo = Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignedInfo"));
    if (!signedInfo) {
        log.LogError("No SignedInfo child.");
    }
    return signedInfo;
}

void logChildNotFound(const char* child, LogBase& log) { log.logText("childNotFound", child); }

} // namespace

ClsXml* ClsXmlDSig::getReference(int index, LogBase& log) {
    const LogContextExitor context(log, "getReference");
    if (log.verbose()) {
        log.LogDataLong("m_selector", m_selector);
        log.LogDataLong("index", index);
    }
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        log.LogError("No object in dsig array at the current selector index.");
        log.LogDataLong("selectorIndex", m_selector);
        return nullptr;
    }
    if (!signedInfoOf(*signature, log)) {
        return nullptr;
    }
    const std::vector<xml::ElementId>& references = structure().referencesOf(*signature);
    if (index < 0 || static_cast<std::size_t>(index) >= references.size()) {
        log.LogError("No Reference element at the requested index.");
        log.LogDataLong("index", index);
        return nullptr;
    }
    return dsig::handleOn(*signature, references[static_cast<std::size_t>(index)]).release();
}

int ClsXmlDSig::get_NumReferences() {
    const CritSecExitor lock(m_critSec);
    const ClsXml* const signature = selectedSignature();
    LogNull log;
    return signature != nullptr ? numReferences(*signature, log) : 0;
}

int ClsXmlDSig::numReferences(const ClsXml& signature, LogBase& log) const {
    const Ref<ClsXml> signedInfo =
        Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignedInfo"));
    return signedInfo ? signedInfo->numChildrenHavingTagUtf8("*:Reference", log) : 0;
}

bool ClsXmlDSig::getSignedInfoField(const char* childName, const char* attrName, StringBuffer& out,
                                    LogBase& log) {
    const LogContextExitor context(log, "getSignedInfoField");
    out.clear();
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        return false;
    }
    const Ref<ClsXml> signedInfo = signedInfoOf(*signature, log);
    if (!signedInfo) {
        return false;
    }
    const std::string tag = std::string("*:") + childName;
    const Ref<ClsXml> child = Ref<ClsXml>::adopt(signedInfo->getChildWithTagUtf8(tag.c_str()));
    if (!child) {
        logChildNotFound(childName, log);
        return false;
    }
    if (attrName != nullptr) {
        child->getAttrValue(attrName, out);
    } else {
        child->getContentSb(out);
    }
    return true;
}

bool ClsXmlDSig::getSignatureMethod(StringBuffer& outAlgorithm, LogBase& log) {
    return getSignedInfoField("SignatureMethod", "Algorithm", outAlgorithm, log);
}

bool ClsXmlDSig::getCanonicalizationMethod(StringBuffer& outAlgorithm, StringBuffer& outPrefixList,
                                           LogBase& log) {
    outAlgorithm.clear();
    outPrefixList.clear();
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        return false;
    }
    const Ref<ClsXml> signedInfo = signedInfoOf(*signature, log);
    if (!signedInfo) {
        return false;
    }
    const char* const tag = "*:CanonicalizationMethod";
    const Ref<ClsXml> method = Ref<ClsXml>::adopt(signedInfo->getChildWithTagUtf8(tag));
    if (!method) {
        logChildNotFound(tag, log);
        return false;
    }
    method->getAttrValue("Algorithm", outAlgorithm);
    method->getChildAttrValue("*:InclusiveNamespaces", "PrefixList", outPrefixList);
    return true;
}

bool ClsXmlDSig::getSignatureValue(StringBuffer& outBase64, LogBase& log) {
    outBase64.clear();
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        return false;
    }
    if (!signature->getChildContentUtf8("*:SignatureValue", outBase64, false)) {
        log.LogError("No SignatureValue child.");
        return false;
    }
    // Some signers write the character reference for a carriage return as text.
    outBase64.replaceAllOccurances("&#13;", "");
    outBase64.replaceAllOccurances("&#xD;", "");
    return !outBase64.isEmpty();
}

bool ClsXmlDSig::getReferenceUri(int index, StringBuffer& outUri, LogBase& log) {
    outUri.clear();
    const Ref<ClsXml> reference = Ref<ClsXml>::adopt(getReference(index, log));
    if (!reference) {
        return false;
    }
    reference->getAttrValue("URI", outUri);
    return true;
}

bool ClsXmlDSig::ReferenceUri(int index, XString& outUri) {
    MethodFrame frame(*this, "ReferenceUri");
    frame.begin();
    outUri.clear();
    return getReferenceUri(index, outUri.getUtf8Sb_rw(), m_log);
}

bool ClsXmlDSig::IsReferenceExternal(int index) {
    MethodFrame frame(*this, "IsReferenceExternal");
    frame.begin();
    StringBuffer uri;
    return getReferenceUri(index, uri, m_log) && !uri.isEmpty() && !uri.beginsWith("#");
}

} // namespace vantrel
