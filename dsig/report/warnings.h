// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_WARNINGS_H
#define DSIG_REPORT_WARNINGS_H

#include "dsig/document/document.h"
#include "dsig/report/signature_report.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"

#include <vector>

// What is to be warned of, added to a report. Each looks at one side of what was found out.
namespace vantrel::dsig {

// A hash that the algorithm's identifier names and that is weak.
// By the name of the hash in the identifier, in either case of letters, so that identifiers which
// are not known count as well.
void warnOfHash(const StringBuffer& algorithm, SignatureReport& report);
// About the key that verified, or about one that a description lists.
void warnOfKey(const KeyReport& key, SignatureReport& report);
// That the caller gave a key and the document's own verified.
void warnOfUnusedKey(SignatureReport& report);
// What each reference says of itself.
void warnOfReferences(SignatureReport& report);
// What makes readers of the document see different things, in what the digests cover.
void warnOfReading(Document& loaded, SignatureReport& report);
// What the digests leave open of the document, the signature itself apart.
// Without references there is nothing to say. Only the root element counts as the document:
// comments and processing instructions beside it hold no content that a signature is expected to
// cover.
void warnOfCoverage(const xml::XmlDocument& document, SignatureReport& report);
// What the signature holds that nobody looks into: markup that its schema does not have, manifests.
// The report must name a signature element of this document.
void warnOfStructure(Document& document, SignatureReport& report);

// Appends the stretches of the loaded text that the reference's digest vouches for.
// An element that is covered twice is appended twice; the search for gaps takes overlaps.
void appendDigested(const xml::XmlDocument& document, const ReferenceResult& reference,
                    std::vector<xml::TextRange>& digested);

} // namespace vantrel::dsig

#endif
