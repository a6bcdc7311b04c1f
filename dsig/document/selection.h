#ifndef DSIG_DOCUMENT_SELECTION_H
#define DSIG_DOCUMENT_SELECTION_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

// The signature that an operation is about.
struct Selection {
    int index = 0;
    const ClsXml* signature = nullptr; // borrowed; null when there is none
    StringBuffer id;                   // its Id attribute; empty without one

    [[nodiscard]] xml::ElementId element() const noexcept {
        return signature != nullptr ? signature->elementId() : xml::kNoElement;
    }
};

} // namespace vantrel::dsig

#endif
