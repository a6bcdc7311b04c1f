// SPDX-License-Identifier: MIT
#include "dsig/transform/signature_profile.h"

#include "dsig/document/child_elements.h"
#include "dsig/document/signed_info.h"
#include "dsig/transform/profile_markers.h"

#include <functional>
#include <string>

namespace vantrel::dsig {

namespace {

using xml::ElementId;
using xml::kNoElement;
using xml::XmlDocument;

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

// Whether one of the elements of this name among the children of `parent` is as asked.
bool anyChild(const ClsXml& parent, std::string_view local,
              const std::function<bool(const ClsXml& child)>& isAsked) {
    for (const ElementId id : childElements(parent)) {
        const Ref<ClsXml> child = handleOn(parent, id);
        if (child->localName() == local && isAsked(*child)) {
            return true;
        }
    }
    return false;
}

// Whether a reference of SignedInfo is as asked.
bool anyReference(const ClsXml& signature,
                  const std::function<bool(const ClsXml& reference)>& isAsked) {
    return anyChild(signature, "SignedInfo", [&](const ClsXml& signedInfo) {
        return anyChild(signedInfo, "Reference", isAsked);
    });
}

bool anyTransform(const ClsXml& reference,
                  const std::function<bool(const ClsXml& transform)>& isAsked) {
    return anyChild(reference, "Transforms", [&](const ClsXml& transforms) {
        return anyChild(transforms, "Transform", isAsked);
    });
}

// A reference to this Object with the transform that would take the Object away.
bool isSignedAsEnveloped(const ClsXml& signature, const std::string& object) {
    return anyReference(signature, [&](const ClsXml& reference) {
        return attributeOf(reference, "URI") == "#" + object &&
               anyTransform(reference, [](const ClsXml& transform) {
                   return attributeOf(transform, "Algorithm").ends_with("#enveloped-signature");
               });
    });
}

// The list of signatures of such an invoice holds one element for each of those who sign; before it
// was prescribed, the time stood in an Object of one of two Ids.
bool isVietnamInvoice(const Selection& selection) {
    const XmlDocument& document = *selection.signature->document();
    const ElementId signer = document.parent(selection.element());
    const ElementId list = signer == kNoElement ? kNoElement : document.parent(signer);
    return (list != kNoElement && isElement(document, list, {}, marker::kVietnamSignatures)) ||
           anyChild(*selection.signature, "Object", [&](const ClsXml& object) {
               const std::string id = attributeOf(object, "Id");
               return (id == marker::kVietnamTimeStamp || id == marker::kVietnamSigningTime) &&
                      isSignedAsEnveloped(*selection.signature, id);
           });
}

// The signed properties of the first version of XAdES, selected by a filter.
bool isAustriaSecurityLayer(const ClsXml& signature) {
    return anyReference(signature, [](const ClsXml& reference) {
        return attributeOf(reference, "Type") == marker::kSignedProperties111 &&
               anyTransform(reference, [](const ClsXml& transform) {
                   return anyChild(transform, "XPath", [](const ClsXml& filter) {
                       return attributeOf(filter, "Filter") == "intersect";
                   });
               });
    });
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
    const bool isAustrian = ofDocument.empty() && selection.signature != nullptr &&
                            isAustriaSecurityLayer(*selection.signature);
    return isAustrian ? "austria-security-layer" : ofDocument;
}

bool leavesOutSpace(SignatureProfile profile) noexcept {
    return profile == SignatureProfile::AirPackage || profile == SignatureProfile::NhsPrescription;
}

} // namespace vantrel::dsig
