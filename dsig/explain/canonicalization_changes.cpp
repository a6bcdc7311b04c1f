// SPDX-License-Identifier: MIT
// Another canonicalization of the same elements, another order of attributes, or none at all. In
// the wild the canonicalization that a signature names and the one that its signer ran differ more
// often than anything else here: toolkits have defaults, and whoever writes the identifier by hand
// copies it from a sample.

#include "dsig/explain/codes.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/processings.h"
#include "dsig/report/coverage.h"
#include "foundation/text/strings.h"
#include "foundation/xml/scan/start_tag.h"

#include <algorithm>
#include <set>

namespace vantrel::dsig::explain {

bool visitForm(const Target& target, std::string_view code, std::string evidence,
               const ChangeVisit& visit) {
    std::optional<std::string> form = canonicalForm(target);
    return visit({code, std::move(evidence), form ? std::move(*form) : std::string()});
}

namespace {

// As reports and people name it.
std::string methodName(const Target& target) {
    std::string name = target.method == xml::CanonMethod::Exclusive
                           ? "Exclusive XML Canonicalization 1.0"
                           : "Canonical XML 1.0";
    return name + (target.withComments ? " with comments" : "");
}

// The prefixes in scope at the target, "#default" among them; few enough to try their subsets.
// Prefixes that are declared and not used count too: a list may name them.
std::vector<std::string> prefixesInScope(const Target& target) {
    const xml::XmlDocument& document = *target.structure;
    std::set<std::string> prefixes(target.prefixes.begin(), target.prefixes.end());
    const xml::ElementId element = target.apex == xml::kNoElement ? 0 : target.apex;
    // The bound keeps the look-ups few in a document that declares thousands.
    for (std::uint32_t id = 0; id < std::min(document.prefixCount(), 64U); ++id) {
        const std::string_view prefix = document.prefixText(id);
        std::string_view name;
        if (prefix != "xml" && document.lookUpNamespace(element, prefix, name) && !name.empty()) {
            prefixes.emplace(prefix.empty() ? "#default" : prefix);
        }
    }
    return {prefixes.begin(), prefixes.end()};
}

// Of more prefixes the subsets are too many; then single ones of the first and all of them are
// tried. Lists in use name two or three prefixes: those that stand in values (Exclusive XML
// Canonicalization 1.0, 1.3).
constexpr std::size_t kMostPrefixes = 7;

// An attribute of a canonical start tag, a declaration among them: ` name="value"`. In a canonical
// form one blank and double quotes are certain, so no scanner is needed; a form that is none ends
// the list early.
std::vector<std::string_view> attributesOf(std::string_view tag) {
    std::vector<std::string_view> attributes;
    std::size_t at = tagName(tag).size() + 1;
    while (at < tag.size() && tag[at] == ' ') {
        const std::size_t quote = tag.find('"', at);
        const std::size_t end = quote == std::string_view::npos ? quote : tag.find('"', quote + 1);
        if (end == std::string_view::npos) {
            break;
        }
        attributes.push_back(tag.substr(at, end + 1 - at));
        at = end + 1;
    }
    return attributes;
}

// The attribute begins with its blank.
std::string_view nameOf(std::string_view attribute) {
    return attribute.substr(1, attribute.find('=') - 1);
}
bool isDeclaration(std::string_view attribute) {
    const std::string_view name = nameOf(attribute);
    return name == "xmlns" || name.starts_with("xmlns:");
}

// Views into the form. They keep to the tag that they were taken from.
using Attributes = std::vector<std::string_view>;
// Rewrites every start tag of a form with its attributes in another order.
template <class Sort>
Change reordered(const std::vector<Token>& tokens, std::string_view evidence, const Sort& sort) {
    Change change{cause::kAttributeOrder, std::string(evidence), {}};
    std::size_t at = 0;
    for (const Token& token : tokens) {
        // Places are counted behind the tag: its line is what is shown.
        at += token.text.size();
        const Attributes before =
            token.kind == TokenKind::StartTag ? attributesOf(token.text) : Attributes();
        Attributes after = before;
        if (!before.empty()) {
            sort(after);
        }
        // A tag whose order is the same in both is no place of a change.
        if (after == before) {
            change.octets += token.text;
            continue;
        }
        notePlace(at, change);
        change.octets += "<";
        change.octets += tagName(token.text);
        for (const std::string_view attribute : after) {
            change.octets += attribute;
        }
        change.octets += ">";
    }
    return change;
}

// Orders that programs are known to use in place of that of Canonical XML 1.0, 2.2. Sorting is
// stable: what a rule does not tell apart stays in canonical order.
struct OrderRule {
    std::string_view evidence;
    bool (*before)(std::string_view one, std::string_view other);
};

// They come from trees that keep declarations and attributes in one list, from sorting by what is
// written in place of what it stands for, and from dictionaries in place of lists.
constexpr OrderRule kOrders[] = {
    {"attributes were written ahead of the namespace declarations",
     [](std::string_view a, std::string_view b) { return !isDeclaration(a) && isDeclaration(b); }},
    {"attributes and declarations were sorted together by their names",
     [](std::string_view a, std::string_view b) { return nameOf(a) < nameOf(b); }},
    {"attributes were sorted by their qualified names",
     [](std::string_view a, std::string_view b) {
         const bool first = isDeclaration(a);
         return first != isDeclaration(b) ? first : !first && nameOf(a) < nameOf(b);
     }},
    {"namespace declarations were sorted by their namespace names",
     [](std::string_view a, std::string_view b) {
         const bool first = isDeclaration(a);
         return first != isDeclaration(b) ? first
                                          : first && a.substr(a.find('=')) < b.substr(b.find('='));
     }},
};

// The start tags of the target's elements, in document order, as the document has them.
std::vector<xml::ElementId> writtenElements(const Target& target) {
    std::vector<xml::ElementId> elements;
    const xml::ElementId first = target.apex == xml::kNoElement ? 0 : target.apex;
    // Elements are numbered in document order, a subtree without gaps.
    const xml::ElementId behind = target.structure->subtreeEnd(first);
    for (xml::ElementId id = first; id < behind; ++id) {
        if (!target.omits(id)) {
            elements.push_back(id);
        }
    }
    return elements;
}

// The names in the start tags of these elements, in the order in which they are written there.
std::vector<Attributes> writtenNames(const Target& target,
                                     const std::vector<xml::ElementId>& elements) {
    std::vector<Attributes> names;
    for (const xml::ElementId element : elements) {
        Attributes ofTag;
        xml::StartTagReader tag(target.structure->text(), target.structure->element(element).start);
        for (xml::Attribute attribute; tag.next(attribute);) {
            ofTag.push_back(attribute.name);
        }
        names.push_back(std::move(ofTag));
    }
    return names;
}

// Of the start tags of a form, counted from 0, those that have attributes there. A tag of the
// document may have lost all of its own to canonicalization, or inherited its first.
std::vector<std::size_t> tagsWithAttributes(const std::vector<Token>& tokens) {
    std::vector<std::size_t> indexes;
    std::size_t index = 0;
    for (const Token& token : tokens) {
        if (token.kind != TokenKind::StartTag) {
            continue;
        }
        if (!attributesOf(token.text).empty()) {
            indexes.push_back(index);
        }
        ++index;
    }
    return indexes;
}

// As they stand in the document; `declarationsFirst`: namespace declarations ahead of the others.
bool documentOrder(const Target& target, const std::vector<Token>& tokens, bool declarationsFirst,
                   const ChangeVisit& visit) {
    const std::vector<xml::ElementId> elements = writtenElements(target);
    // A tag of the form and an element of the document are matched by their number alone.
    const auto tags = std::count_if(tokens.begin(), tokens.end(), [](const Token& token) {
        return token.kind == TokenKind::StartTag;
    });
    // Tags that a transform took out otherwise would be taken for others.
    if (elements.size() != static_cast<std::size_t>(tags)) {
        return false;
    }
    const std::vector<Attributes> names = writtenNames(target, elements);
    // reordered() asks for the tags that have attributes only, so the elements are looked up by a
    // walk beside it.
    const std::vector<std::size_t> indexOfTagged = tagsWithAttributes(tokens);
    std::size_t asked = 0;
    const Change change = reordered(
        tokens,
        declarationsFirst ? "attributes were left in the order of the document"
                          : "attributes and declarations were left in the order of the document",
        [&](Attributes& attributes) {
            const Attributes& ofTag = names[indexOfTagged[asked++]];
            const auto place = [&](std::string_view attribute) {
                if (declarationsFirst && isDeclaration(attribute)) {
                    return std::ptrdiff_t{-1};
                }
                const auto at = std::find(ofTag.begin(), ofTag.end(), nameOf(attribute));
                // What is inherited stands first.
                return at == ofTag.end() ? std::ptrdiff_t{-1} : at - ofTag.begin();
            };
            std::stable_sort(
                attributes.begin(), attributes.end(),
                [&](std::string_view a, std::string_view b) { return place(a) < place(b); });
        });
    return change.places > 0 && visit(change);
}

} // namespace

bool otherCanonicalizations(const Target& target, const ChangeVisit& visit) {
    // Everything but what is tried stays as the signature has it. A copy of the target is cheap:
    // the structure is shared.
    Target other = target;
    // The same method with or without comments first: that is the smaller step.
    other.withComments = !target.withComments;
    if (visitForm(other, cause::kComments,
                  target.withComments ? "comments were left out when it was signed"
                                      : "comments were digested when it was signed",
                  visit)) {
        return true;
    }
    // No list goes with another method: it belongs to the exclusive one (Exclusive XML
    // Canonicalization 1.0, 3).
    other.method = target.method == xml::CanonMethod::Exclusive ? xml::CanonMethod::Inclusive
                                                                : xml::CanonMethod::Exclusive;
    other.prefixes.clear();
    for (const bool withComments : {target.withComments, !target.withComments}) {
        other.withComments = withComments;
        if (visitForm(other, cause::kOtherCanonicalization,
                      "it was canonicalized by " + methodName(other) + ", not by " +
                          methodName(target),
                      visit)) {
            return true;
        }
    }
    return false;
}

// The commonest mistake with prefix lists, and hence tried by itself before other methods are.
// Toolkits take the list as an argument of the transform and of CanonicalizationMethod apart, and
// one of the two is easily forgotten.
bool ignoredPrefixList(const Target& target, const ChangeVisit& visit) {
    Target other = target;
    other.prefixes.clear();
    return !target.prefixes.empty() &&
           visitForm(other, cause::kPrefixList,
                     "it was canonicalized without the InclusiveNamespaces prefix list", visit);
}

bool otherPrefixLists(const Target& target, const ChangeVisit& visit) {
    // Only this method has a list at all.
    if (target.method != xml::CanonMethod::Exclusive) {
        return false;
    }
    const std::vector<std::string> scope = prefixesInScope(target);
    const std::size_t count = std::min(scope.size(), kMostPrefixes);
    // Subset 0 is the empty list, which ignoredPrefixList tries.
    for (std::size_t subset = 1; subset <= std::size_t{1} << count; ++subset) {
        Target other = target;
        other.prefixes.clear();
        // The last of all is every prefix, where there are more than are combined.
        const bool all = subset == std::size_t{1} << count;
        std::string list;
        for (std::size_t i = 0; i < scope.size(); ++i) {
            if (all || (i < count && (subset >> i & 1) != 0)) {
                other.prefixes.push_back(scope[i]);
                list += (list.empty() ? "" : " ") + scope[i];
            }
        }
        // What the signature names was digested by the verification.
        if (other.prefixes != target.prefixes &&
            visitForm(other, cause::kPrefixList,
                      "it was canonicalized with the InclusiveNamespaces prefix list " +
                          quoted(list),
                      visit)) {
            return true;
        }
    }
    return false;
}

// First the orders that the canonicalizer knows, which sort by what a prefix stands for; the others
// are made by rewriting the tags of the form.
bool otherAttributeOrders(const Target& target, const ChangeVisit& visit) {
    Target other = target;
    // Both sort by other keys than the namespace name, as trees do that know none.
    for (const auto& [order, evidence] :
         {std::pair(xml::AttributeOrder::PrefixThenLocal, "attributes were sorted by prefix"),
          std::pair(xml::AttributeOrder::LocalName, "attributes were sorted by local name")}) {
        other.order = order;
        if (visitForm(other, cause::kAttributeOrder, evidence, visit)) {
            return true;
        }
    }
    const std::optional<std::string> form = canonicalForm(target);
    if (!form) {
        return false;
    }
    // The rest works on the form: attribute by attribute, as they are written there.
    const std::vector<Token> tokens = formTokens(*form);
    for (const OrderRule& rule : kOrders) {
        const Change change = reordered(tokens, rule.evidence, [&](Attributes& attributes) {
            std::stable_sort(attributes.begin(), attributes.end(), rule.before);
        });
        if (change.places > 0 && visit(change)) {
            return true;
        }
    }
    // Some trees hand their attributes out from the last to the first.
    const Change reversed = reordered(
        tokens, "attributes were written in the reverse order",
        [](Attributes& attributes) { std::reverse(attributes.begin(), attributes.end()); });
    return (reversed.places > 0 && visit(reversed)) || documentOrder(target, tokens, true, visit) ||
           documentOrder(target, tokens, false, visit);
}

// Signers that take the text between two offsets and digest it. It is right only where the text is
// canonical already, as machine-made documents often are until somebody stores them.
bool rawOctets(const Target& target, const ChangeVisit& visit) {
    const std::string_view text = target.structure->text();
    const xml::TextRange extent = target.extent();
    std::string cut;
    std::size_t copied = extent.start;
    // Ranges ascend and do not overlap, so one pass is enough.
    for (const xml::TextRange gap : target.omitted) {
        if (isInside(gap, extent)) {
            cut.append(text, copied, gap.start - copied);
            copied = gap.end();
        }
    }
    cut.append(text, copied, extent.end() - copied);
    // Something was taken out, in most cases the signature.
    const bool isCut = copied != extent.start;
    if (visit({cause::kRawOctets,
               isCut ? "the text was digested as it stands, without the signature and not "
                       "canonicalized"
                     : "the text was digested as it stands, not canonicalized",
               cut})) {
        return true;
    }
    if (isCut && visit({cause::kRawOctets, "the text was digested as it stands, signature included",
                        std::string(target.structure->text(extent))})) {
        return true;
    }
    // Without what stands around the root. A declaration ahead of it, a line end behind it.
    const xml::TextRange root = target.rangeOf(0);
    const std::string_view inRoot =
        std::string_view(cut).substr(std::min<std::size_t>(root.start, cut.size()));
    return target.apex == xml::kNoElement &&
           visit({cause::kRawOctets,
                  "the root element's text was digested as it stands, not canonicalized",
                  std::string(text::trimmed(inRoot))});
}

} // namespace vantrel::dsig::explain
