// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_PARSED_TRANSFORMS_H
#define DSIG_DOCUMENT_PARSED_TRANSFORMS_H

#include "dsig/document/canonicalization_method.h"
#include "dsig/document/child_elements.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::dsig {

// What one entry of a Transforms list asks for.
enum class TransformKind : std::uint8_t {
    XPath,
    EnvelopedSignature,
    Canonicalization,
    Base64,
    Unrecognized
};

struct ParsedTransform {
    xml::ElementId element = xml::kNoElement; // of the list's document
    StringBuffer algorithm;                   // as written; empty for none
    TransformKind kind;
    CanonicalizationChoice canonicalization; // of that kind; unset for the others
};

// A Transforms element, read for all references that have the same one.
struct ParsedTransforms {
    Ref<ClsXml> list;
    std::size_t count = 0;              // of its child elements, whatever their names
    std::vector<ParsedTransform> steps; // all of them; none where they are too many

    // The element of one of the steps.
    [[nodiscard]] Ref<ClsXml> elementOf(const ParsedTransform& step) const {
        return handleOn(*list, step.element);
    }
    [[nodiscard]] bool isRead() const noexcept { return list && steps.size() == count; }
};

// Of a Transforms element. More than `most` steps are counted and not read, for each takes far more
// room than its text.
[[nodiscard]] ParsedTransforms readTransforms(Ref<ClsXml> list, std::uint64_t most);

} // namespace vantrel::dsig

#endif
