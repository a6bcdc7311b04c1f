// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_XADES_PARTS_H
#define DSIG_TRUST_XADES_PARTS_H

#include "foundation/xml/scan/xml_document.h"

#include <string_view>
#include <vector>

// Where XAdES (ETSI TS 101 903, EN 319 132) keeps its properties: in fixed places below an Object
// of the signature. Elements count by local name in any namespace. What stands elsewhere is content
// like any other.
namespace vantrel::dsig {

[[nodiscard]] std::vector<xml::ElementId> childrenNamed(const xml::XmlDocument& document,
                                                        xml::ElementId parent,
                                                        std::string_view localName);

// The SigningCertificate and SigningCertificateV2 elements of a signature.
[[nodiscard]] std::vector<xml::ElementId> signingCertificates(const xml::XmlDocument& document,
                                                              xml::ElementId signature);

// What a signature carries for those who judge certificates: the elements that hold certificates,
// revocation lists and answers of responders, in KeyInfo and in the unsigned properties, and the
// references of KeyInfo to security tokens (WS-Security). Nobody vouches for any of it.
struct Evidence {
    std::vector<xml::ElementId> certificates;
    std::vector<xml::ElementId> crls;
    std::vector<xml::ElementId> ocspResponses;
    std::vector<xml::ElementId> tokenReferences;
};
[[nodiscard]] Evidence findEvidence(const xml::XmlDocument& document, xml::ElementId signature);

} // namespace vantrel::dsig

#endif
