// SPDX-License-Identifier: MIT
#include "dsig/transform/signature_profile.h"

#include "dsig/document/child_elements.h"
#include "dsig/document/signed_info.h"
#include "dsig/transform/profile_markers.h"

#include <string>

namespace vantrel::dsig {

namespace {

using xml::ElementId;
using xml::kNoElement;
using xml::XmlDocument;

std::string attributeText(const ClsXml& element, const char* name) {
    StringBuffer value;
    element.getAttrValue(name, value);
    return std::string(value.view());
}

bool isElement(const XmlDocument& document, ElementId element, std::string_view space,
               std::string_view local) {
    return document.localName(element) == local && document.namespaceUri(element) == space;
}

// The identifier of the method is that of no recommendation, and all packagers that leave white
// space out write it.
bool isAirPackage(const Selection& selection) {
    const XmlDocument& document = *selection.signature->document();
    if (selection.id.view() != marker::kAirSignatureId ||
        document.parent(selection.element()) != 0 || !isElement(document, 0, {}, "signatures")) {
        return false;
    }
    LogNull log;
    StringBuffer method;
    return signedInfoField(selection.signature, "SignatureMethod", "Algorithm", method, log) &&
           method.view() == marker::kAirSignatureMethod;
}

// Only where the whole way up is that of a prescription.
bool isNhsPrescription(const Selection& selection) {
    constexpr std::string_view kWayUp[] = {"signatureText", "author", "pertinentPrescription",
                                           "pertinentInformation1", "ParentPrescription"};
    const XmlDocument& document = *selection.signature->document();
    ElementId element = selection.element();
    for (const std::string_view name : kWayUp) {
        element = document.parent(element);
        if (element == kNoElement || !isElement(document, element, marker::kHl7Version3, name)) {
            return false;
        }
    }
    return true;
}

// The list of signatures of such an invoice holds one element for each of those who sign.
bool isVietnamInvoice(const Selection& selection) {
    const XmlDocument& document = *selection.signature->document();
    const ElementId signer = document.parent(selection.element());
    const ElementId list = signer == kNoElement ? kNoElement : document.parent(signer);
    return list != kNoElement && isElement(document, list, {}, marker::kVietnamSignatures);
}

// Whether a transform of the reference is a filter that selects what is signed.
bool isFiltered(const ClsXml& reference) {
    const Ref<ClsXml> transforms =
        Ref<ClsXml>::adopt(reference.getChildWithTagUtf8("*:Transforms"));
    if (!transforms) {
        return false;
    }
    for (const ElementId child : childElements(*transforms)) {
        const Ref<ClsXml> filter =
            Ref<ClsXml>::adopt(handleOn(*transforms, child)->getChildWithTagUtf8("*:XPath"));
        if (filter && attributeText(*filter, "Filter") == "intersect") {
            return true;
        }
    }
    return false;
}

// The signed properties of the first version of XAdES, selected by a filter.
bool isAustriaSecurityLayer(const Selection& selection) {
    const Ref<ClsXml> signedInfo =
        Ref<ClsXml>::adopt(selection.signature->getChildWithTagUtf8("*:SignedInfo"));
    if (!signedInfo) {
        return false;
    }
    for (const ElementId child : childElements(*signedInfo)) {
        const Ref<ClsXml> reference = handleOn(*signedInfo, child);
        if (reference->localName() == "Reference" &&
            attributeText(*reference, "Type") == marker::kSignedProperties111 &&
            isFiltered(*reference)) {
            return true;
        }
    }
    return false;
}

} // namespace

SignatureProfile signatureProfile(const Selection& selection) {
    if (selection.signature == nullptr) {
        return SignatureProfile::None;
    }
    if (isAirPackage(selection)) {
        return SignatureProfile::AirPackage;
    }
    if (isNhsPrescription(selection)) {
        return SignatureProfile::NhsPrescription;
    }
    return isVietnamInvoice(selection) ? SignatureProfile::VietnamInvoice : SignatureProfile::None;
}

std::string_view profileName(const Selection& selection, std::string_view ofDocument) {
    switch (signatureProfile(selection)) {
    case SignatureProfile::AirPackage: return "air-package";
    case SignatureProfile::NhsPrescription: return "nhs-prescription";
    case SignatureProfile::VietnamInvoice: return "vietnam-invoice";
    case SignatureProfile::None: break;
    }
    const bool isAustrian =
        ofDocument.empty() && selection.signature != nullptr && isAustriaSecurityLayer(selection);
    return isAustrian ? "austria-security-layer" : ofDocument;
}

bool leavesOutSpace(SignatureProfile profile) noexcept {
    return profile == SignatureProfile::AirPackage || profile == SignatureProfile::NhsPrescription;
}

} // namespace vantrel::dsig
