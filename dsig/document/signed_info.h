// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_SIGNED_INFO_H
#define DSIG_DOCUMENT_SIGNED_INFO_H

#include "dsig/document/document.h"
#include "dsig/document/selection.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

// Read access to a signature's SignedInfo, SignatureValue and references, on the tree. What is not
// there is an error line unless said otherwise, and no result.
namespace vantrel::dsig {

// The Reference element at a zero-based index; kNoElement, or null, when there is none. `document`
// may be null where no signature is selected.
// The handle is the caller's. With a selected signature `document` is that signature's own.
[[nodiscard]] xml::ElementId referenceId(Document* document, const Selection& selection, int index,
                                         LogBase& log);
[[nodiscard]] Ref<ClsXml> referenceElement(Document* document, const Selection& selection,
                                           int index, LogBase& log);
// Number of references; 0 without a word where there is no SignedInfo.
[[nodiscard]] int numReferences(const ClsXml& signature);

// An attribute of a child of SignedInfo, or (attrName null) the child's content. An attribute that
// is missing is an empty text.
[[nodiscard]] bool signedInfoField(const ClsXml* signature, const char* childName,
                                   const char* attrName, StringBuffer& out, LogBase& log);
// Algorithm and InclusiveNamespaces prefix list; either may be empty.
[[nodiscard]] bool canonicalizationMethod(const ClsXml* signature, StringBuffer& algorithm,
                                          StringBuffer& prefixList, LogBase& log);
// The base64 text of SignatureValue.
// XML Signature, 4.3. False without a line when the element is there and empty, or no signature is
// selected.
[[nodiscard]] bool signatureValue(const ClsXml* signature, StringBuffer& base64, LogBase& log);

} // namespace vantrel::dsig

#endif
