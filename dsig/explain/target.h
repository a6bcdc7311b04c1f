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
// carried out, or a SignedInfo. A value; each part can be changed by itself and tried.
struct Target {
    std::shared_ptr<const xml::XmlDocument> structure;
    xml::ElementId apex = xml::kNoElement; // kNoElement: the whole document
    std::vector<xml::TextRange> omitted;   // of its text(), ascending and disjoint, each a hole

    // As the last canonicalization of the list has them, or as implied.
    xml::CanonMethod method = xml::CanonMethod::Inclusive;
    bool withComments = false;
    std::vector<std::string> prefixes; // InclusiveNamespaces PrefixList
    bool inheritNamespaces = true;
    xml::AttributeOrder order = xml::AttributeOrder::Canonical;

    // The signature that holds the reference, in `structure`; kNoElement when it is not there.
    xml::ElementId signature = xml::kNoElement;
    bool removesSignature = false; // by a transform, or as implied

    // The extent in text(): of the element, or of all of it.
    [[nodiscard]] xml::TextRange extent() const noexcept;
    [[nodiscard]] xml::TextRange rangeOf(xml::ElementId element) const noexcept;
    // Whether an element lies in the target, taken out of it or not.
    [[nodiscard]] bool holds(xml::ElementId element) const noexcept;
    // Whether it lies in a stretch that is left out.
    [[nodiscard]] bool omits(xml::ElementId element) const noexcept;
};

// The canonical form; nothing where there is none, or where it is larger than kMostFormOctets.
[[nodiscard]] std::optional<std::string> canonicalForm(const Target& target);

// A piece of a document's text that is to be other.
struct TextEdit {
    xml::TextRange range;
    std::string replacement;
};
// The target in a document whose text is edited; the edits are ascending and disjoint. Elements are
// found again by where they begin, which must lie outside of them. Nothing where the edited text is
// not well-formed.
[[nodiscard]] std::optional<Target> edited(const Target& target, std::span<const TextEdit> edits);

// What is left to canonicalize of a reference into the document, with its other transforms carried
// out. `document` is one of the search's own, whose account it charges. Nothing where a transform
// fails or the reference is not into the document.
[[nodiscard]] std::optional<Target> targetOfReference(Document& document,
                                                      const Selection& selection,
                                                      const DSigReference& reference,
                                                      const Rules& rules);
// The SignedInfo of the signature as its CanonicalizationMethod has it.
[[nodiscard]] std::optional<Target> targetOfSignedInfo(const Document& document,
                                                       const Selection& selection,
                                                       const Rules& rules);

} // namespace vantrel::dsig::explain

#endif
