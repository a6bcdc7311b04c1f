// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_TARGET_H
#define DSIG_EXPLAIN_TARGET_H

#include "dsig/document/document.h"
#include "dsig/document/rules.h"
#include "dsig/document/selection.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig::explain {

// What is canonicalized, and how: a reference's target with everything but the canonicalization
// carried out, or a SignedInfo. A value; each part can be changed by itself and tried. Transforms
// before the canonicalization have been carried out on it: what is taken out is omitted.
struct Target {
    std::shared_ptr<const xml::XmlDocument> structure;
    xml::ElementId apex = xml::kNoElement; // kNoElement: the whole document
    std::vector<xml::TextRange> omitted;   // of its text(), ascending and disjoint, each a hole

    // As the last canonicalization of the list has them, or as implied. Only the last one makes
    // octets; those before it are undone by parsing again.
    xml::CanonMethod method = xml::CanonMethod::Inclusive;
    bool withComments = false;
    std::vector<std::string> prefixes; // InclusiveNamespaces PrefixList
    bool inheritNamespaces = true;
    xml::AttributeOrder order = xml::AttributeOrder::Canonical;

    // The signature that holds the reference, in `structure`; kNoElement when it is not there.
    xml::ElementId signature = xml::kNoElement;
    bool removesSignature = false; // by a transform, or as implied

    // The extent in text(): of the element, or of all of it. In octets of text(), which has
    // entities expanded and is not the loaded file.
    [[nodiscard]] xml::TextRange extent() const noexcept;
    [[nodiscard]] xml::TextRange rangeOf(xml::ElementId element) const noexcept;
    // Whether an element lies in the target, taken out of it or not.
    [[nodiscard]] bool holds(xml::ElementId element) const noexcept;
    // Whether it lies in a stretch that is left out.
    [[nodiscard]] bool omits(xml::ElementId element) const noexcept;
};

// The canonical form; nothing where there is none, or where it is larger than kMostFormOctets. A
// form that is too large is refused while it is written, so that it is never held.
[[nodiscard]] std::optional<std::string> canonicalForm(const Target& target);

// A piece of a document's text that is to be other.
struct TextEdit {
    xml::TextRange range;
    std::string replacement;
};
// The target in a document whose text is edited; the edits are ascending and disjoint. Elements are
// found again by where they begin, which must lie outside of them. Nothing where the edited text is
// not well-formed. The cost is a parse of the whole document. An apex that is gone makes nothing; a
// signature that is gone is noted as missing.
[[nodiscard]] std::optional<Target> edited(const Target& target, std::span<const TextEdit> edits);

// What is left to canonicalize of a reference into the document, with its other transforms carried
// out. `document` is one of the search's own, whose account it charges. Nothing where a transform
// fails or the reference is not into the document. The state of the verification is not touched.
[[nodiscard]] std::optional<Target> targetOfReference(Document& document,
                                                      const Selection& selection,
                                                      const DSigReference& reference,
                                                      const Rules& rules);
// The SignedInfo of the signature as its CanonicalizationMethod has it. Its octets are those that
// the value is over, unless a profile has it otherwise.
[[nodiscard]] std::optional<Target> targetOfSignedInfo(const Document& document,
                                                       const Selection& selection,
                                                       const Rules& rules);

} // namespace vantrel::dsig::explain

#endif
