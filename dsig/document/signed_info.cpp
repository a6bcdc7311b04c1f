// SPDX-License-Identifier: MIT
#include "dsig/document/signed_info.h"

#include "dsig/document/child_elements.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <new>
#include <string>
#include <vector>

namespace vantrel::dsig {

namespace {

// By local name in any namespace: signers in the wild write signatures without one, and formats
// that wrap them in their own (EBICS) keep the names. The first such child counts, for every reader
// here, so that no two steps look at different ones.
xml::ElementId signedInfoOf(const ClsXml& signature, LogBase& log) {
    const xml::ElementId signedInfo =
        signature.document()->firstChildNamed(signature.elementId(), "SignedInfo");
    if (signedInfo == xml::kNoElement) {
        log.LogError("No SignedInfo child.");
    }
    return signedInfo;
}

// An attribute without a prefix; `value` is unchanged where there is none.
bool takeAttribute(const xml::XmlDocument& document, xml::ElementId element, const char* name,
                   StringBuffer& value) {
    return xml::attributeValue(document, element, xml::NamePattern(name), value);
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
    if (references.empty() && signedInfoOf(*signature, log) == xml::kNoElement) {
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
    int count = 0;
    forEachReference(signature, [&count](xml::ElementId /*reference*/) { ++count; });
    return count;
}

bool signedInfoField(const ClsXml* signature, const char* childName, const char* attrName,
                     StringBuffer& out, LogBase& log) {
    const LogContextExitor context(log, "getSignedInfoField");
    out.clear();
    if (signature == nullptr) {
        return false;
    }
    const xml::XmlDocument& document = *signature->document();
    const xml::ElementId signedInfo = signedInfoOf(*signature, log);
    if (signedInfo == xml::kNoElement) {
        return false;
    }
    const xml::ElementId child = document.firstChildNamed(signedInfo, childName);
    if (child == xml::kNoElement) {
        logChildNotFound(childName, log);
        return false;
    }
    if (attrName != nullptr) {
        static_cast<void>(takeAttribute(document, child, attrName, out));
    } else {
        handleOn(*signature, child)->getContentSb(out);
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
    const xml::XmlDocument& document = *signature->document();
    const xml::ElementId signedInfo = signedInfoOf(*signature, log);
    if (signedInfo == xml::kNoElement) {
        return false;
    }
    const xml::ElementId method = document.firstChildNamed(signedInfo, "CanonicalizationMethod");
    if (method == xml::kNoElement) {
        logChildNotFound("*:CanonicalizationMethod", log);
        return false;
    }
    // XML Signature, 4.4.1; the prefix list is that of Exclusive XML Canonicalization 1.0, section
    // 3.
    static_cast<void>(takeAttribute(document, method, "Algorithm", algorithm));
    const xml::ElementId list = document.firstChildNamed(method, "InclusiveNamespaces");
    if (list != xml::kNoElement) {
        static_cast<void>(takeAttribute(document, list, "PrefixList", prefixList));
    }
    return true;
}

bool signatureValue(const ClsXml* signature, StringBuffer& base64, LogBase& log) {
    base64.clear();
    if (signature == nullptr) {
        return false;
    }
    const xml::XmlDocument& document = *signature->document();
    const xml::ElementId value = document.firstChildNamed(signature->elementId(), "SignatureValue");
    if (value == xml::kNoElement) {
        log.LogError("No SignatureValue child.");
        return false;
    }
    std::string storage;
    if (!base64.setView(xml::elementContent(document, value, storage))) {
        throw std::bad_alloc();
    }
    // Some signers write the character reference for a carriage return as text.
    if (base64.view().find('&') != std::string_view::npos) {
        base64.replaceAllOccurances("&#13;", "");
        base64.replaceAllOccurances("&#xD;", "");
    }
    return !base64.isEmpty();
}

} // namespace vantrel::dsig
