// SPDX-License-Identifier: MIT
#include "dsig/document/signed_info.h"

#include "dsig/document/child_elements.h"
#include "foundation/base/LogContextExitor.h"

#include <string>
#include <vector>

namespace vantrel::dsig {

namespace {

// By local name in any namespace: signers in the wild write signatures without one, and formats
// that wrap them in their own (EBICS) keep the names. The first such child counts, for every reader
// here, so that no two steps look at different ones.
Ref<ClsXml> signedInfoOf(const ClsXml& signature, LogBase& log) {
    Ref<ClsXml> signedInfo = Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignedInfo"));
    if (!signedInfo) {
        log.LogError("No SignedInfo child.");
    }
    return signedInfo;
}

void logChildNotFound(const char* child, LogBase& log) { log.logText("childNotFound", child); }

} // namespace

xml::ElementId referenceId(Document* document, const Selection& selection, int index,
                           LogBase& log) {
    const LogContextExitor context(log, "getReference");
    if (log.verbose()) {
        log.LogDataLong("m_selector", selection.index);
        log.LogDataLong("index", index);
    }
    const ClsXml* const signature = selection.signature;
    if (signature == nullptr) {
        log.LogError("No object in dsig array at the current selector index.");
        log.LogDataLong("selectorIndex", selection.index);
        return xml::kNoElement;
    }
    const std::vector<xml::ElementId>& references = document->referencesOf(*signature);
    // Tells a signature without SignedInfo from one with too few references.
    if (references.empty() && !signedInfoOf(*signature, log)) {
        return xml::kNoElement;
    }
    if (index < 0 || static_cast<std::size_t>(index) >= references.size()) {
        log.LogError("No Reference element at the requested index.");
        log.LogDataLong("index", index);
        return xml::kNoElement;
    }
    return references[static_cast<std::size_t>(index)];
}

Ref<ClsXml> referenceElement(Document* document, const Selection& selection, int index,
                             LogBase& log) {
    const xml::ElementId element = referenceId(document, selection, index, log);
    return element != xml::kNoElement ? handleOn(*selection.signature, element) : Ref<ClsXml>();
}

// Counted the same way as referencesOf collects them, so that each index below it has an element.
int numReferences(const ClsXml& signature) {
    LogNull log;
    const Ref<ClsXml> signedInfo =
        Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignedInfo"));
    return signedInfo ? signedInfo->numChildrenHavingTagUtf8("*:Reference", log) : 0;
}

bool signedInfoField(const ClsXml* signature, const char* childName, const char* attrName,
                     StringBuffer& out, LogBase& log) {
    const LogContextExitor context(log, "getSignedInfoField");
    out.clear();
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

bool canonicalizationMethod(const ClsXml* signature, StringBuffer& algorithm,
                            StringBuffer& prefixList, LogBase& log) {
    algorithm.clear();
    prefixList.clear();
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
    // XML Signature, 4.4.1; the prefix list is that of Exclusive XML Canonicalization 1.0, section
    // 3.
    method->getAttrValue("Algorithm", algorithm);
    method->getChildAttrValue("*:InclusiveNamespaces", "PrefixList", prefixList);
    return true;
}

bool signatureValue(const ClsXml* signature, StringBuffer& base64, LogBase& log) {
    base64.clear();
    if (signature == nullptr) {
        return false;
    }
    if (!signature->getChildContentUtf8("*:SignatureValue", base64, false)) {
        log.LogError("No SignatureValue child.");
        return false;
    }
    // Some signers write the character reference for a carriage return as text.
    base64.replaceAllOccurances("&#13;", "");
    base64.replaceAllOccurances("&#xD;", "");
    return !base64.isEmpty();
}

} // namespace vantrel::dsig
