// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_XPATH_SHAPES_H
#define DSIG_TRANSFORM_XPATH_SHAPES_H

#include "foundation/text/StringBuffer.h"

namespace vantrel::dsig {

// The expressions that are recognised, by what they take out of the document. What an expression
// would select for an XPath processor is not asked: XPath on a hostile document is costly, and
// those that signers use are few.
enum class XPathShape {
    BusinessSignatures,    // cac:Signature elements
    Signatures,            // all XML signatures
    EbXmlNextActor,        // header blocks for the next actor
    UblDocumentSignatures, // sig:UBLDocumentSignatures
    SubtractSignatures,    // Filter 2.0: all XML signatures
    SubtractExtensions,    // Filter 2.0: ext:UBLExtensions
    ElementWithId,         // elements of a name that hold a certain ID
    Element,               // elements of a name
    Unknown
};

struct RecognisedXPath {
    XPathShape shape;
    int option; // the number by which logs name the shape; 0: none
};

// The shape of an expression; the first that fits. `algorithm` tells XPath (XML Signature 1.1,
// 6.6.3) from XPath Filter 2.0. The result is of static storage; Unknown with option 0 when none
// fits. White space, letter case and prefixes must be as signers write them.
[[nodiscard]] const RecognisedXPath& recogniseXPath(const StringBuffer& algorithm,
                                                    const StringBuffer& xPath);

// The texts that an expression of the shape ElementWithId asks for. Parts that the expression lacks
// are empty. Name and child are expected with prefixes: without them the positions shift, and the
// texts are those of another name.
struct ElementWithIdTexts {
    StringBuffer startTag;
    StringBuffer endTag;
    StringBuffer mustContain;
};
[[nodiscard]] ElementWithIdTexts elementWithIdTexts(const StringBuffer& xPath);

} // namespace vantrel::dsig

#endif
