// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_RETRIEVAL_METHOD_H
#define DSIG_KEYS_RETRIEVAL_METHOD_H

#include "foundation/xml/scan/xml_document.h"

namespace vantrel::dsig {

// Where a RetrievalMethod (XML Signature 4.5.3) or KeyInfoReference (1.1, 4.5.10) leads within its
// document.
struct RetrievedKey {
    xml::ElementId element = xml::kNoElement;
    bool isRawCertificate = false; // its content is the base64 of a certificate
};

// kNoElement where it leads out of the document, to nothing, to several elements, to an element of
// another type than it says, or through a transform other than these: base64 for a raw certificate,
// and an XPath of the form ancestor-or-self::name with [@Id='...'], or without that where there are
// few elements to look at.
[[nodiscard]] RetrievedKey retrievedKey(const xml::XmlDocument& document, xml::ElementId reference);

} // namespace vantrel::dsig

#endif
