// SPDX-License-Identifier: MIT
// What an element inherits: namespace declarations and attributes of the prefix xml. A signer may
// have digested the element before it was put where it stands (Canonical XML 1.0, 4.7 and 2.4).
// Inclusive canonicalization puts all declarations in scope into the apex of what is digested. An
// element that is signed first and wrapped in an envelope afterwards, as SOAP gateways and archives
// do, gets more of them.

#include "dsig/explain/codes.h"
#include "dsig/explain/processings.h"
#include "dsig/report/coverage.h"
#include "foundation/xml/scan/start_tag.h"

#include <algorithm>
#include <map>

namespace vantrel::dsig::explain {

namespace {

// Attributes by their qualified names, each with its text: ` xmlns:a="urn:x"`. Ordered, so that the
// same document gives the same hypotheses in the same order every time.
using Context = std::map<std::string, std::string, std::less<>>;

// A hundred and twenty-eight forms at the most, and a parse for each of them.
constexpr std::size_t kMostCombined = 7;  // attributes whose subsets are tried
constexpr std::size_t kMostAncestors = 8; // that are looked at one by one

// Declarations, or attributes of the prefix xml, of one start tag. What the caller has already
// stays: the nearest declaration was added first.
void addFrom(const xml::XmlDocument& document, xml::ElementId element, bool declarations,
             Context& context) {
    xml::StartTagReader tag(document.text(), document.element(element).start);
    for (xml::Attribute attribute; tag.next(attribute);) {
        const bool wanted =
            declarations ? attribute.isNamespaceDecl() : attribute.prefix() == "xml";
        if (!wanted) {
            continue;
        }
        // As written, in the quotes that it does not hold. The raw value, references and all: it is
        // parsed again.
        const char quote = attribute.raw.find('"') == std::string_view::npos ? '"' : '\'';
        std::string text = " ";
        text.append(attribute.name).append("=");
        text += quote;
        text.append(attribute.raw);
        text += quote;
        context.emplace(attribute.name, std::move(text)); // the nearest one counts
    }
}

// What the target inherits from so many ancestors, its own not counted.
Context inheritedFrom(const Target& target, std::size_t ancestors, bool declarations) {
    Context context;
    // The target's ancestors, the nearest first.
    xml::ElementId at = target.structure->parent(target.apex);
    for (; at != xml::kNoElement && ancestors > 0; --ancestors) {
        addFrom(*target.structure, at, declarations, context);
        at = target.structure->parent(at);
    }
    // What the element itself declares hides what it would inherit.
    Context own;
    addFrom(*target.structure, target.apex, declarations, own);
    std::erase_if(context, [&](const auto& each) { return own.contains(each.first); });
    return context;
}

// The element by itself, with these attributes in its start tag. A document of its own, made of the
// element's text. Canonicalizing in place could leave declarations out, but not add any.
std::optional<Target> alone(const Target& target, const std::string& attributes) {
    const xml::XmlDocument& document = *target.structure;
    const xml::TextRange extent = target.extent();
    std::string text(document.text(extent));
    // From the last to the first, so that offsets stay right.
    for (auto gap = target.omitted.rbegin(); gap != target.omitted.rend(); ++gap) {
        if (isInside(*gap, extent)) {
            text.erase(gap->start - extent.start, gap->length);
        }
    }
    // Behind the name, ahead of the attributes; which comes first does not matter to a canonical
    // form.
    const std::size_t nameSize = document.qualifiedName(target.apex).size();
    text.insert(1 + nameSize, attributes);
    xml::ParseFailure why;
    Target result = target;
    // As a fragment: what declared its prefixes may have been left out.
    result.structure = xml::XmlDocument::parse(StringBuffer(text), {true}, why);
    result.apex = 0;
    result.omitted.clear();
    result.signature = xml::kNoElement;
    return result.structure != nullptr ? std::optional(std::move(result)) : std::nullopt;
}

// As text for a start tag.
std::string joined(const Context& context) {
    std::string all;
    for (const auto& [name, text] : context) {
        all += text;
    }
    return all;
}

// For people.
std::string listed(const Context& context) {
    std::string names;
    for (const auto& [name, text] : context) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return names.empty() ? "none" : names;
}

// Canonicalizes the element by itself with so much context, and offers the form.
bool visitAlone(const Target& target, const Context& namespaces, const Context& xmlAttributes,
                std::string_view code, const std::string& evidence, const ChangeVisit& visit) {
    // What cannot be parsed is offered as empty, for the clock.
    const std::optional<Target> element = alone(target, joined(namespaces) + joined(xmlAttributes));
    return element ? visitForm(*element, code, evidence, visit) : visit({code, evidence, {}});
}

// Calls visit(subset) for every subset of the context's first members. The empty subset is among
// them: nothing inherited at all.
template <class Visit> bool anySubset(const Context& context, const Visit& visit) {
    // By name, so that the same document always gives the same order.
    const std::vector<std::pair<std::string, std::string>> all(context.begin(), context.end());
    const std::size_t count = std::min(all.size(), kMostCombined);
    for (std::size_t subset = 0; subset < std::size_t{1} << count; ++subset) {
        Context chosen;
        for (std::size_t i = 0; i < count; ++i) {
            if ((subset >> i & 1) != 0) {
                chosen.insert(all[i]);
            }
        }
        if (visit(chosen)) {
            return true;
        }
    }
    return false;
}

// Declarations that stand elsewhere in the document, and those that serializers of objects put at
// every root; not those in force here. Serializers of typed objects declare xsi and xsd whether
// they are used or not.
Context otherDeclarations(const Target& target, const Context& inForce) {
    Context context{
        {"xmlns:xsi", " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""},
        {"xmlns:xsd", " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""},
        {"xmlns:ds", " xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\""},
    };
    // Pairs of these are tried, so their number counts twice.
    constexpr std::size_t kMostDeclarations = 12;
    for (const xml::NamespaceDecl& declaration : target.structure->namespaceDecls()) {
        if (context.size() < kMostDeclarations) {
            addFrom(*target.structure, declaration.element, true, context);
        }
    }
    // A default namespace would put the element into another namespace.
    std::erase_if(context, [&](const auto& each) {
        return inForce.contains(each.first) || each.first == "xmlns";
    });
    Context own;
    addFrom(*target.structure, target.apex, true, own);
    std::erase_if(context, [&](const auto& each) { return own.contains(each.first); });
    return context;
}

// More than any document has. Bounded by the document's own depth.
constexpr std::size_t kAllAncestors = ~std::size_t{0};

// Of the whole document the root, which inherits nothing, may have had other declarations.
Target atElement(const Target& target) {
    Target element = target;
    element.apex = target.apex == xml::kNoElement ? 0 : target.apex;
    return element;
}

// One more declaration, or two: serializers put both xsi and xsd. In the order in which the map has
// them; which of two goes first does not matter.
bool addedDeclarations(const Target& target, const Context& all, const Context& xmlAttributes,
                       const ChangeVisit& visit) {
    // On top of what is in force: an element that was moved kept its own.
    const Context others = otherDeclarations(target, all);
    for (auto one = others.begin(); one != others.end(); ++one) {
        // With itself it is one alone.
        for (auto other = one; other != others.end(); ++other) {
            Context more = all;
            more.insert(*one);
            more.insert(*other);
            Context added{*one};
            added.insert(*other);
            if (visitAlone(target, more, xmlAttributes, cause::kNamespaceContext,
                           "the element had these declarations in scope besides when it was "
                           "signed: " +
                               listed(added),
                           visit)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

bool outerContexts(const Target& target, const ChangeVisit& visit) {
    // The document element inherits nothing.
    if (target.apex == xml::kNoElement) {
        return false;
    }
    const Context all = inheritedFrom(target, kAllAncestors, true);
    // The exclusive method renders used prefixes only, and an element alone may still lack them.
    Target without = target;
    without.inheritNamespaces = false;
    if (std::optional<std::string> form = canonicalForm(without)) {
        if (visit({cause::kNamespaceContext,
                   "the element was canonicalized alone, without inherited namespace declarations",
                   std::move(*form)})) {
            return true;
        }
    }
    // As it was before it was put into the outer elements. One ancestor more each time, from the
    // inside: the envelope that was added last is the outermost.
    for (std::size_t ancestors = 0; ancestors < kMostAncestors; ++ancestors) {
        const Context some = inheritedFrom(target, ancestors, true);
        const std::string evidence =
            ancestors == 0
                ? "the element was canonicalized alone, by itself"
                : "the element inherited from " + counted(ancestors, "ancestor") + " only";
        if (visitAlone(target, some, inheritedFrom(target, ancestors, false),
                       cause::kNamespaceContext, evidence, visit)) {
            return true;
        }
        // Ancestors further up declare nothing new.
        if (some.size() == all.size() && ancestors > 0) {
            break;
        }
    }
    return false;
}

bool otherNamespaceContexts(const Target& given, const ChangeVisit& visit) {
    const Target target = atElement(given);
    const Context all = inheritedFrom(target, kAllAncestors, true);
    // Exclusive canonicalization does not inherit attributes of the prefix xml (Exclusive XML
    // Canonicalization 1.0, 3).
    const Context xmlAttributes = target.method == xml::CanonMethod::Inclusive
                                      ? inheritedFrom(target, kAllAncestors, false)
                                      : Context();
    if (anySubset(all, [&](const Context& chosen) {
            return visitAlone(target, chosen, xmlAttributes, cause::kNamespaceContext,
                              "of the inherited namespace declarations these were in scope when it "
                              "was signed: " +
                                  listed(chosen),
                              visit);
        })) {
        return true;
    }
    return addedDeclarations(target, all, xmlAttributes, visit);
}

// Canonical XML 1.0, 2.4 copies xml:lang, xml:space and even xml:id into the apex of a subset; many
// programs leave all or some of them out.
bool otherXmlAttributes(const Target& target, const ChangeVisit& visit) {
    if (target.apex == xml::kNoElement) {
        return false;
    }
    const Context inherited = inheritedFrom(target, kAllAncestors, false);
    if (inherited.empty()) {
        return false;
    }
    // The declarations stay as they are: each cause is tried for itself.
    const Context namespaces = inheritedFrom(target, kAllAncestors, true);
    return anySubset(inherited, [&](const Context& chosen) {
        return visitAlone(target, namespaces, chosen, cause::kXmlAttributes,
                          "of the inherited attributes of the prefix xml these were digested: " +
                              listed(chosen),
                          visit);
    });
}

} // namespace vantrel::dsig::explain
