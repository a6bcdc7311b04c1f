// SPDX-License-Identifier: MIT
// Another document or another part of it: signatures that were there or not when it was signed, a
// document type declaration that the signer did not read, another element. What was in the document
// when it was signed can be told apart from what is in it now only by trying: signatures are added
// one after the other, and the first signer never saw the second one.

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/processings.h"
#include "dsig/report/coverage.h"
#include "foundation/text/strings.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/tree/element_text.h"

#include <algorithm>
#include <array>

namespace vantrel::dsig::explain {

namespace {

// The form of the target in an edited document. Nothing is offered where the edited text is no
// document; the clock is looked at by the next hypothesis.
bool visitEdited(const Target& target, std::span<const TextEdit> edits, std::string_view code,
                 std::string evidence, const ChangeVisit& visit) {
    const std::optional<Target> other = edited(target, edits);
    return other && visitForm(*other, code, std::move(evidence), visit);
}

// Takes one more range out, where that can be done without a new document. Holes must be disjoint
// and lie where markup may be left out; any other range is left in, which makes the form wrong and
// nothing worse.
void omit(Target& target, xml::TextRange range) {
    const auto at = std::find_if(target.omitted.begin(), target.omitted.end(),
                                 [&](xml::TextRange each) { return each.start >= range.start; });
    const bool overlaps = (at != target.omitted.end() && at->start < range.end()) ||
                          (at != target.omitted.begin() && (at - 1)->end() > range.start);
    if (!overlaps && xml::isHole(*target.structure, range)) {
        target.omitted.insert(at, range);
    }
}

// Signatures of others, which were put in after this one.
bool laterSignatures(const Target& target, const ChangeVisit& visit) {
    std::vector<xml::ElementId> others;
    for (const xml::SignatureElement& each : target.structure->signatures()) {
        if (target.holds(each.element) && !target.omits(each.element) &&
            each.element != target.signature) {
            others.push_back(each.element);
        }
    }
    // Documents with hundreds of signatures are signed one element each, not one behind the other.
    constexpr std::size_t kMostOthers = 20;
    others.resize(std::min(others.size(), kMostOthers));
    if (others.empty()) {
        return false;
    }
    // From the last to the first: signatures are added behind one another.
    Target without = target;
    for (auto other = others.rbegin(); other != others.rend(); ++other) {
        Target one = target;
        omit(one, target.rangeOf(*other));
        omit(without, target.rangeOf(*other));
        // Those behind it as well: they came one after the other.
        for (const Target* const each : {&one, &without}) {
            if (visitForm(*each, cause::kEnvelopedNotRemoved,
                          counted(each->omitted.size() - target.omitted.size(), "other signature") +
                              " in the element was not there, or left out, when it was signed",
                          visit)) {
                return true;
            }
        }
    }
    return false;
}

// What stands between the tags; an empty range behind an empty-element tag. The end tag is the last
// "</" of the element, since no such octets may stand unescaped in a value before its '>'.
xml::TextRange contentOf(const xml::XmlDocument& document, xml::ElementId element) {
    const xml::ElementRecord& record = document.element(element);
    xml::StartTagReader tag(document.text(), record.start);
    for (xml::Attribute attribute; tag.next(attribute);) {}
    if (tag.selfClosing()) {
        return {record.end, 0};
    }
    const std::size_t endTag = document.text().rfind("</", record.end - 1);
    return xml::rangeOf(tag.end(), endTag);
}

// The template of a signature, as it stood there when the digest was computed: what is computed
// later is empty. Such signers digest the document with the signature's skeleton in it because
// their tree holds it already, and the enveloped-signature transform is one that they do not carry
// out.
bool signatureTemplates(const Target& target, const ChangeVisit& visit) {
    const xml::XmlDocument& document = *target.structure;
    // In the order in which programs come to compute them.
    constexpr std::string_view kComputed[] = {"SignatureValue", "DigestValue", "X509Certificate",
                                              "KeyInfo"};
    // The enveloped signature stays in.
    Target kept = target;
    const xml::TextRange signature = target.rangeOf(target.signature);
    std::erase_if(kept.omitted, [&](xml::TextRange gap) { return isInside(signature, gap); });
    // How many of the names are emptied; behind all of them, the KeyInfo element taken out.
    for (std::size_t count = 0; count <= std::size(kComputed) + 1; ++count) {
        std::vector<TextEdit> edits;
        // Only within the signature: other elements of those names are content.
        const xml::ElementId behind = document.subtreeEnd(target.signature);
        for (xml::ElementId id = target.signature; id < behind; ++id) {
            const std::string_view name = document.localName(id);
            // The names count in any namespace: prefixes are as different as programs.
            const auto* const at = std::find(std::begin(kComputed), std::end(kComputed), name);
            const bool takenOut = count > std::size(kComputed) && name == "KeyInfo";
            const xml::TextRange range = takenOut ? target.rangeOf(id) : contentOf(document, id);
            const bool overlaps = !edits.empty() && edits.back().range.end() > range.start;
            if (at < std::begin(kComputed) + count && !range.empty() && !overlaps) {
                edits.push_back({range, ""});
            }
        }
        if (visitEdited(kept, edits, cause::kEnvelopedNotRemoved,
                        count == 0 ? "the signature itself was digested"
                                   : "the signature was digested with the element, as a template "
                                     "whose values were empty",
                        visit)) {
            return true;
        }
    }
    // Some signers insert the element first and fill it when all is computed. The element is there,
    // without any children.
    const TextEdit emptied[] = {{contentOf(document, target.signature), ""}};
    return visitEdited(kept, emptied, cause::kEnvelopedNotRemoved,
                       "the signature was digested with the element, as an empty one", visit);
}

} // namespace

// A signature is inserted with a line end for the eye. Removing it leaves that line end behind,
// which was not there before (XML Signature 1.1, 6.6.4 removes the element alone).
bool spaceAroundSignature(const Target& target, const ChangeVisit& visit) {
    if (target.signature == xml::kNoElement || !target.holds(target.signature)) {
        return false;
    }
    const std::string_view text = target.structure->text();
    const xml::TextRange signature = target.rangeOf(target.signature);
    // The runs on both sides, in the text as it was loaded.
    std::size_t from = signature.start;
    while (from > 0 && text::isSpaceAscii(text[from - 1])) {
        --from;
    }
    std::size_t to = signature.end();
    while (to < text.size() && text::isSpaceAscii(text[to])) {
        ++to;
    }
    // The three ways in which there may have been less of it. The offsets are those of the document
    // as it stands; both edits fit into one pass.
    struct Side {
        xml::TextRange range;
        std::string_view where;
    };
    const Side sides[] = {{xml::rangeOf(from, signature.start), "ahead of"},
                          {xml::rangeOf(signature.end(), to), "behind"}};
    // Each side by itself and both together.
    for (const std::size_t which : {1U, 2U, 3U}) {
        std::vector<TextEdit> edits;
        std::string where;
        for (std::size_t i = 0; i < 2; ++i) {
            if ((which >> i & 1) != 0 && !sides[i].range.empty()) {
                edits.push_back({sides[i].range, ""});
                where += where.empty() ? "" : " and ";
                where += sides[i].where;
            }
        }
        if (!edits.empty() &&
            visitEdited(target, edits, cause::kWhitespace,
                        "white space stands " + where +
                            " the signature that was not there when it was signed",
                        visit)) {
            return true;
        }
    }
    return false;
}

namespace {

// Private-use characters around the name stand for the reference until it is written. A reference
// as such would not be well-formed without its declaration, nor would it survive canonicalization.
constexpr std::string_view kOpen = "\xEE\x80\x80";
constexpr std::string_view kClose = "\xEE\x80\x81";

// The document without its declaration, so that no reference is expanded.
struct UnexpandedTexts {
    std::string marked;  // references between kOpen and kClose
    std::string dropped; // references left out
};

// Both texts are built in one walk over the document as it was loaded.
UnexpandedTexts unexpandedTexts(const xml::XmlDocument& document) {
    const std::string_view source = document.sourceText().view();
    const xml::TextRange doctype = document.doctypeRange();
    UnexpandedTexts texts;
    texts.marked = source.substr(0, doctype.start);
    texts.dropped = texts.marked;
    for (std::size_t at = doctype.end(); at < source.size(); ++at) {
        // In a CDATA section or a comment a '&' may stand without a ';'.
        const std::size_t end = source[at] == '&' ? source.find(';', at) : std::string_view::npos;
        const std::string_view name =
            end == std::string_view::npos ? "" : source.substr(at + 1, end - at - 1);
        if (document.documentType()->findEntity(name) == nullptr || name.empty()) {
            texts.marked += source[at];
            texts.dropped += source[at];
            continue;
        }
        texts.marked.append(kOpen).append(name).append(kClose);
        at = end;
    }
    return texts;
}

// References to entities of the internal subset, by what was digested in their place. Parsers are
// told not to expand entities for good reason (entities can bring in files), and then sign what
// they see.
bool unexpandedEntities(const Target& target, const ChangeVisit& visit) {
    const std::string_view source = target.structure->sourceText().view();
    const xml::TextRange doctype = target.structure->doctypeRange();
    // Both texts begin alike, so that positions behind the declaration can be told from the source.
    if (!target.structure->isExpanded() ||
        source.substr(0, doctype.end()) != target.structure->text().substr(0, doctype.end())) {
        return false;
    }
    const UnexpandedTexts texts = unexpandedTexts(*target.structure);
    // As they stand, and left out: parsers without the declarations do the one or the other.
    for (const std::string* const text : {&texts.marked, &texts.dropped}) {
        xml::ParseFailure why;
        Target other = target;
        other.structure = xml::XmlDocument::parse(StringBuffer(*text), {}, why);
        // Entities that hold elements would give the others other numbers.
        if (other.structure == nullptr ||
            other.structure->elementCount() != target.structure->elementCount()) {
            continue;
        }
        other.omitted.clear();
        // What the target left out besides is found by its number no more; it is left in.
        if (target.omits(target.signature)) {
            omit(other, other.rangeOf(target.signature));
        }
        std::optional<std::string> form = canonicalForm(other);
        if (!form) {
            continue;
        }
        Change change{cause::kEntities,
                      text == &texts.marked ? "references to entities were digested as they stand"
                                            : "references to entities were left out of the digest",
                      {}};
        replaceAll(*form, kOpen, "&", change);
        std::string opened = std::move(change.octets);
        replaceAll(opened, kClose, ";", change);
        if (visit(change)) {
            return true;
        }
    }
    return false;
}

} // namespace

// First the nearest mistake: the transform was carried out and not written down, or written down
// and not carried out.
bool otherSignatureRemovals(const Target& target, const ChangeVisit& visit) {
    if (target.signature != xml::kNoElement && target.holds(target.signature)) {
        if (!target.omits(target.signature)) {
            Target without = target;
            omit(without, target.rangeOf(target.signature));
            if (visitForm(without, cause::kEnvelopedNotRemoved,
                          "the digest is of the element without the signature; no "
                          "enveloped-signature transform says so",
                          visit)) {
                return true;
            }
        }
        if (signatureTemplates(target, visit)) {
            return true;
        }
    }
    return laterSignatures(target, visit);
}

// Parsers that do not read the declaration know neither defaults nor types nor entities
// (XML 1.0, 5.1).
bool unreadDocumentType(const Target& target, const ChangeVisit& visit) {
    // The cost is a parse of the document, so it is asked first whether there is a declaration.
    const xml::TextRange doctype = target.structure->doctypeRange();
    if (doctype.empty()) {
        return false;
    }
    const TextEdit without[] = {{doctype, ""}};
    return visitEdited(target, without, cause::kAttributeDefaults,
                       "attribute defaults and types of the document type declaration were not "
                       "known when it was signed",
                       visit) ||
           unexpandedEntities(target, visit);
}

// In document order, since an element that comes early holds more and is more often meant.
bool otherElements(const Target& target, const ChangeVisit& visit) {
    // It happens to signers that sign the document and reference an element, or number their Ids
    // anew afterwards.
    Target other = target;
    other.apex = xml::kNoElement;
    if (target.apex != xml::kNoElement) {
        if (target.signature != xml::kNoElement && !target.omits(target.signature)) {
            if (visitForm(other, cause::kWrongElement,
                          "the whole document was digested, signature included", visit)) {
                return true;
            }
            omit(other, target.rangeOf(target.signature));
        }
        if (visitForm(other, cause::kWrongElement, "the whole document was digested", visit)) {
            return true;
        }
    }
    // Paths are for people; they are made for each element since the one that fits is not known
    // before.
    xml::ElementPaths paths(*target.structure);
    for (xml::ElementId id = 0; id < target.structure->elementCount(); ++id) {
        if (id == target.apex || target.omits(id)) {
            continue;
        }
        other = target;
        other.apex = id;
        std::string path;
        paths.append(id, path);
        if (visitForm(other, cause::kWrongElement, "the element " + path + " was digested",
                      visit)) {
            return true;
        }
    }
    return false;
}

// Where two of them give the same octets the likelier cause comes first: an element is more often
// canonicalized before it is put into its place than by another method, and by a wrong method more
// often than by none. The order matters only for the name of what is found: each of them reproduces
// the digest.
std::span<const Processing> processings() noexcept {
    static constexpr Processing kProcessings[] = {
        otherXmlAttributes,     ignoredPrefixList,      outerContexts,      otherCanonicalizations,
        otherSignatureRemovals, otherAttributeOrders,   unreadDocumentType, rawOctets,
        otherPrefixLists,       otherNamespaceContexts,
    };
    return kProcessings;
}

} // namespace vantrel::dsig::explain
