// SPDX-License-Identifier: MIT
#include "dsig/reference/first_reference.h"

#include "dsig/document/signed_info.h"

namespace vantrel::dsig {

bool parseFirstReference(Document* document, const Selection& selection, DSigReference& first,
                         LogBase& log) {
    // The digest is read here only to find the signature again in a text; it is not checked.
    const xml::ElementId reference = referenceId(document, selection, 0, log);
    if (reference == xml::kNoElement) {
        log.LogError("No Reference at index 0");
        return false;
    }
    first.parseReference(*document->structure, reference, document->lastReference, log);
    return true;
}

} // namespace vantrel::dsig
