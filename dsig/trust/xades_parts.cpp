// SPDX-License-Identifier: MIT
#include "dsig/trust/xades_parts.h"

#include <span>

namespace vantrel::dsig {

namespace {

using Elements = std::vector<xml::ElementId>;

// All elements that the steps lead to, from each of `from`.
Elements below(const xml::XmlDocument& document, Elements from,
               std::span<const std::string_view> steps) {
    for (const std::string_view step : steps) {
        Elements next;
        for (const xml::ElementId parent : from) {
            const Elements found = childrenNamed(document, parent, step);
            next.insert(next.end(), found.begin(), found.end());
        }
        from = std::move(next);
    }
    return from;
}

void collect(const xml::XmlDocument& document, xml::ElementId top, Evidence& out) {
    const xml::ElementId end = document.subtreeEnd(top);
    for (xml::ElementId element = top; element < end; ++element) {
        const std::string_view name = document.localName(element);
        if (name == "X509Certificate" || name == "EncapsulatedX509Certificate") {
            out.certificates.push_back(element);
        } else if (name == "X509CRL" || name == "EncapsulatedCRLValue") {
            out.crls.push_back(element);
        } else if (name == "EncapsulatedOCSPValue" || name == "OCSPResponse") {
            out.ocspResponses.push_back(element);
        }
    }
}

} // namespace

Elements childrenNamed(const xml::XmlDocument& document, xml::ElementId parent,
                       std::string_view localName) {
    Elements found;
    for (xml::ElementId child = document.firstChild(parent); child != xml::kNoElement;
         child = document.nextChild(parent, child)) {
        if (document.localName(child) == localName) {
            found.push_back(child);
        }
    }
    return found;
}

Elements signingCertificates(const xml::XmlDocument& document, xml::ElementId signature) {
    constexpr std::string_view kSteps[] = {"Object", "QualifyingProperties", "SignedProperties",
                                           "SignedSignatureProperties"};
    Elements found;
    for (const xml::ElementId properties : below(document, {signature}, kSteps)) {
        for (const std::string_view name : {"SigningCertificate", "SigningCertificateV2"}) {
            const Elements some = childrenNamed(document, properties, name);
            found.insert(found.end(), some.begin(), some.end());
        }
    }
    return found;
}

Evidence findEvidence(const xml::XmlDocument& document, xml::ElementId signature) {
    constexpr std::string_view kUnsigned[] = {"Object", "QualifyingProperties",
                                              "UnsignedProperties"};
    constexpr std::string_view kTokens[] = {"KeyInfo", "SecurityTokenReference", "Reference"};
    Evidence found;
    for (const xml::ElementId keyInfo : childrenNamed(document, signature, "KeyInfo")) {
        collect(document, keyInfo, found);
    }
    found.tokenReferences = below(document, {signature}, kTokens);
    for (const xml::ElementId properties : below(document, {signature}, kUnsigned)) {
        collect(document, properties, found);
    }
    return found;
}

} // namespace vantrel::dsig
