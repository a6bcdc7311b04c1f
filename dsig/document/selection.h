// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_SELECTION_H
#define DSIG_DOCUMENT_SELECTION_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

// The signature that an operation is about.
// Made for one call: the element belongs to the verifier, which lets go of it at the next load.
struct Selection {
    // Zero-based, in document order; 0 as well when the document has no signatures.
    int index = 0;
    const ClsXml* signature = nullptr; // borrowed; null when there is none
    StringBuffer id;                   // its Id attribute; empty without one

    [[nodiscard]] xml::ElementId element() const noexcept {
        return signature != nullptr ? signature->elementId() : xml::kNoElement;
    }
};

} // namespace vantrel::dsig

#endif
