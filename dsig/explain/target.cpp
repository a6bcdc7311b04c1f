// SPDX-License-Identifier: MIT
#include "dsig/explain/target.h"

#include "dsig/document/canonicalization_method.h"
#include "dsig/document/child_elements.h"
#include "dsig/document/signed_info.h"
#include "dsig/explain/budget.h"
#include "dsig/reference/enveloped_signature.h"
#include "dsig/reference/reference_target.h"
#include "dsig/report/coverage.h"
#include "dsig/transform/profile_steps.h"
#include "dsig/transform/xpath_step.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/canon/fragment_id.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// Refuses more than may be held. An expansion bomb in a document would otherwise be written out in
// full before anybody could look at its size. The canonicalizer stops at the first write that is
// refused, so that nothing is made that nobody takes.
class StringSink final : public xml::CanonSink {
public:
    explicit StringSink(std::string& out) noexcept : m_out(out) {}
    [[nodiscard]] bool write(const char* data, std::size_t size) override {
        if (size > kMostFormOctets - m_out.size()) {
            return false;
        }
        m_out.append(data, size);
        return true;
    }

private:
    std::string& m_out;
};

// What a document may have around the elements of a form. Tags and comments outside of the apex;
// beyond that the document is so large that even one canonicalization is too many.
constexpr std::size_t kMostMarkup = std::size_t{4} << 20;

// The method that an identifier and its element ask for. By the same functions as a verification,
// so that the two cannot differ.
void setMethod(const StringBuffer& algorithm, const StringBuffer& prefixList, Target& target) {
    XmlCanon canonicalizer;
    selectTransformMethod(algorithm, canonicalizer);
    target.method = canonicalizer.m_method == kExclusive ? xml::CanonMethod::Exclusive
                                                         : xml::CanonMethod::Inclusive;
    target.withComments = canonicalizer.m_withComments;
    target.prefixes.clear();
    // Other methods have no list, whatever the element holds.
    if (target.method != xml::CanonMethod::Exclusive) {
        return;
    }
    setPrefixList(canonicalizer, prefixList);
    for (int i = 0; i < canonicalizer.m_inclusivePrefixes.getSize(); ++i) {
        target.prefixes.emplace_back(canonicalizer.m_inclusivePrefixes.sbAt(i)->view());
    }
}

// One transform of the list, canonicalizations noted and not carried out. False for a transform
// that is not known or fails: the octets are then searched as a text alone.
bool takeStep(const ClsXml& transform, const Selection& selection, const DSigReference& reference,
              const Rules& rules, WorkingText& text, Target& target) {
    // As dsig/reference/digest_input.cpp does it, whose names these are.
    LogNull log;
    CodeSet leniencies;
    StringBuffer algorithm;
    transform.getAttrValue("Algorithm", algorithm);
    if (namesInclusive(algorithm) || namesExclusive(algorithm)) {
        StringBuffer prefixList;
        transform.getChildAttrValue("*:InclusiveNamespaces", "PrefixList", prefixList);
        setMethod(algorithm, prefixList, target);
        return true;
    }
    // Carried out as the document stands; that a signer may not have done so is a hypothesis of its
    // own (otherSignatureRemovals).
    if (algorithm.containsSubstring("enveloped-signature")) {
        target.removesSignature = true;
        return removeEnvelopedSignature(selection, reference, rules, text, leniencies, log);
    }
    // Decoding takes the text that canonicalization would give; what is searched is the element.
    if (algorithm.containsSubstring("xmldsig#base64")) {
        return true;
    }
    // What is left are filters, of which the verifier knows the shapes that are in use. Any other
    // makes the reference one without a target.
    StringBuffer xPath;
    return transform.getChildContentUtf8("*:XPath", xPath, false) &&
           xPathStep(&transform, text, algorithm, xPath, leniencies, log) == RefReason::Match;
}

// All transforms of the list, in their order.
bool takeSteps(Document& document, const Selection& selection, const DSigReference& reference,
               const Rules& rules, WorkingText& text, Target& target) {
    LogNull log;
    // No transforms are no failure.
    if (reference.m_transforms.isEmpty()) {
        return true;
    }
    const ParsedTransforms* const transforms =
        document.parsedTransforms(reference.m_element, reference.m_transforms, log);
    return transforms != nullptr && transforms->isRead() &&
           std::all_of(transforms->steps.begin(), transforms->steps.end(),
                       [&](const ParsedTransform& step) {
                           return takeStep(*transforms->elementOf(step), selection, reference,
                                           rules, text, target);
                       });
}

// Offsets in a text behind some edits. Few edits, so a walk for each offset is enough.
class Shift {
public:
    explicit Shift(std::span<const TextEdit> edits) noexcept : m_edits(edits) {}

    [[nodiscard]] std::uint32_t operator()(std::uint32_t offset) const noexcept {
        std::uint64_t shifted = offset;
        for (const TextEdit& edit : m_edits) {
            if (edit.range.end() <= offset) {
                shifted += edit.replacement.size();
                shifted -= edit.range.length;
            }
        }
        return static_cast<std::uint32_t>(shifted);
    }

private:
    std::span<const TextEdit> m_edits;
};

// The element in the edited text; kNoElement when it has gone with an edit. By its start, since
// numbers change with the elements that went.
xml::ElementId found(const Target& target, const xml::XmlDocument& in, const Shift& shift,
                     xml::ElementId element) {
    return element == xml::kNoElement
               ? element
               : in.elementAt(shift(target.structure->element(element).start));
}

} // namespace

xml::TextRange Target::rangeOf(xml::ElementId element) const noexcept {
    const xml::ElementRecord& record = structure->element(element);
    return xml::rangeOf(record.start, record.end);
}

xml::TextRange Target::extent() const noexcept {
    return apex == xml::kNoElement ? xml::rangeOf(0, structure->text().size()) : rangeOf(apex);
}

bool Target::holds(xml::ElementId element) const noexcept {
    return element != xml::kNoElement && isInside(rangeOf(element), extent());
}

// Wholly: an element that only holds an omitted one is still there.
bool Target::omits(xml::ElementId element) const noexcept {
    return element != xml::kNoElement &&
           std::any_of(omitted.begin(), omitted.end(),
                       [&](xml::TextRange range) { return isInside(rangeOf(element), range); });
}

std::optional<std::string> canonicalForm(const Target& target) {
    xml::CanonRequest request;
    request.method = target.method;
    request.withComments = target.withComments;
    const std::vector<std::string_view> prefixes(target.prefixes.begin(), target.prefixes.end());
    request.prefixes = prefixes;
    request.apex = target.apex;
    request.inheritNamespaces = target.inheritNamespaces;
    request.order = target.order;
    // A view: the target outlives the request.
    request.omitted = target.omitted;
    std::string form;
    StringSink sink(form);
    // Not begun where it cannot end well: nobody would notice how long it took. The text that is
    // walked may be larger than the form: what is omitted is walked too.
    if (target.extent().length > kMostFormOctets + kMostMarkup) {
        return std::nullopt;
    }
    if (!xml::canonicalize(*target.structure, request, sink) || form.empty()) {
        return std::nullopt;
    }
    return form;
}

std::optional<Target> edited(const Target& target, std::span<const TextEdit> edits) {
    // Ranges are those of the text with its entities expanded.
    const std::string_view text = target.structure->text();
    std::string changed;
    std::size_t copied = 0;
    for (const TextEdit& edit : edits) {
        changed.append(text, copied, edit.range.start - copied);
        changed += edit.replacement;
        copied = edit.range.end();
    }
    changed.append(text, copied);
    xml::ParseFailure why;
    Target result = target;
    result.structure =
        xml::XmlDocument::parse(StringBuffer(changed), {target.structure->isFragment()}, why);
    if (result.structure == nullptr) {
        return std::nullopt;
    }
    // A range that was edited away has become empty.
    const Shift shift(edits);
    result.apex = found(target, *result.structure, shift, target.apex);
    result.signature = found(target, *result.structure, shift, target.signature);
    if (target.apex != xml::kNoElement && result.apex == xml::kNoElement) {
        return std::nullopt;
    }
    // What was left out stays left out, where it is still there.
    result.omitted.clear();
    for (const xml::TextRange range : target.omitted) {
        const xml::TextRange moved = xml::rangeOf(shift(range.start), shift(range.end()));
        if (!moved.empty() && moved.end() <= result.structure->text().size() &&
            xml::isHole(*result.structure, moved)) {
            result.omitted.push_back(moved);
        }
    }
    return result;
}

std::optional<Target> targetOfReference(Document& document, const Selection& selection,
                                        const DSigReference& reference, const Rules& rules) {
    // The steps of a verification, the canonicalization left out: it is what is varied. A failure
    // in between is no failure of the search: there is less to vary.
    const ReferenceTarget uri = targetOf(reference.m_uri);
    if (uri.kind == ReferenceTarget::Kind::External) {
        return std::nullopt;
    }
    LogNull log;
    CodeSet leniencies;
    Rules inForce = rules;
    WorkingText text(document.structure, document.account);
    Target target;
    if (!preprocess(uri.text, text, inForce, leniencies, log) ||
        !takeSteps(document, selection, reference, inForce, text, target)) {
        return std::nullopt;
    }
    // As implied: the whole document would cover its own digest.
    if (!target.removesSignature && uri.text.isEmpty()) {
        target.removesSignature = true;
        if (!removeEnvelopedSignature(selection, reference, inForce, text, leniencies, log)) {
            return std::nullopt;
        }
    }
    // The same resolution of Ids as in a verification.
    xml::ElementId element = xml::kNoElement;
    const xml::FragmentTarget kind =
        xml::resolveFragment(*document.structure, uri.text.view(), element);
    const bool isElement = kind == xml::FragmentTarget::Element;
    target.structure = text.structure(log);
    target.apex = isElement ? text.elementOf(element) : xml::kNoElement;
    if (target.structure == nullptr || (!isElement && kind != xml::FragmentTarget::Document) ||
        (isElement && target.apex == xml::kNoElement)) {
        return std::nullopt;
    }
    target.omitted.assign(text.gaps().begin(), text.gaps().end());
    // What a verification would write, faulty orders included.
    target.order = inForce.attributeOrder();
    // What has been taken out is in the structure still, unless the text was cut since.
    target.signature = target.structure == document.structure ? selection.element()
                                                              : text.elementOf(selection.element());
    return target;
}

std::optional<Target> targetOfSignedInfo(const Document& document, const Selection& selection,
                                         const Rules& rules) {
    LogNull log;
    StringBuffer algorithm;
    StringBuffer prefixList;
    const Ref<ClsXml> signedInfo = Ref<ClsXml>::adopt(
        selection.signature != nullptr ? selection.signature->getChildWithTagUtf8("*:SignedInfo")
                                       : nullptr);
    // A signature without one of the two has failed before there was a value to explain.
    if (!signedInfo || !canonicalizationMethod(selection.signature, algorithm, prefixList, log)) {
        return std::nullopt;
    }
    Target target;
    target.structure = document.structure;
    target.apex = signedInfo->elementId();
    setMethod(algorithm, prefixList, target);
    // Signers of one profile canonicalize SignedInfo as if nothing stood around it.
    target.inheritNamespaces = !rules.skXmlSignedDoc;
    target.order = rules.attributeOrder();
    target.signature = selection.element();
    return target;
}

} // namespace vantrel::dsig::explain
