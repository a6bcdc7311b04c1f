// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_SIGNATURE_STRUCTURE_H
#define DSIG_DOCUMENT_SIGNATURE_STRUCTURE_H

#include "foundation/xml/scan/xml_document.h"

namespace vantrel::dsig {

// The children of the Signature and of its SignedInfo are those of the schema of XML Signature, in
// its order. Others verify as well, but a reader of the document may take them for something.
// `signature` is an element of `document`. False as well without a SignedInfo. Attributes, and what
// stands deeper (in KeyInfo, Object or a Reference), are not looked at: Object may hold anything.
[[nodiscard]] bool hasSchemaStructure(const xml::XmlDocument& document, xml::ElementId signature);

} // namespace vantrel::dsig

#endif
