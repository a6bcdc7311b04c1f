// SPDX-License-Identifier: MIT
#include "dsig/document/signature_structure.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace vantrel::dsig {

namespace {

// An item of a sequence in the schema: required is minOccurs 1, repeats is maxOccurs unbounded.
struct ChildRule {
    std::string_view name;
    bool required;
    bool repeats;
};

// XML Signature, sections 4.2 and 4.4.
constexpr ChildRule kSignature[] = {{"SignedInfo", true, false},
                                    {"SignatureValue", true, false},
                                    {"KeyInfo", false, false},
                                    {"Object", false, true}};
constexpr ChildRule kSignedInfo[] = {{"CanonicalizationMethod", true, false},
                                     {"SignatureMethod", true, false},
                                     {"Reference", true, true}};

// The name and the namespace of the SignedInfo, which those of the other elements are held against.
struct Model {
    std::string_view prefix; // with its colon; empty without one
    bool declares = false;   // has namespace declarations of its own
    std::string_view uri;
};

Model modelOf(const xml::XmlDocument& document, xml::ElementId signedInfo) {
    const std::string_view name = document.qualifiedName(signedInfo);
    return {name.substr(0, name.find(':') + 1), !document.namespaceDecls(signedInfo).empty(),
            document.namespaceUri(signedInfo)};
}

// Whether a sibling or child of the SignedInfo is in its namespace. With the same prefix, and no
// declaration on either, it must be; only others are looked up.
bool isInNamespace(const xml::XmlDocument& document, xml::ElementId element,
                   std::string_view prefix, const Model& model) {
    return (prefix == model.prefix && !model.declares &&
            document.namespaceDecls(element).empty()) ||
           document.namespaceUri(element) == model.uri;
}

// Matches the children against the sequence from left to right, each once. No going back is needed,
// since no name occurs twice in a sequence.
bool follows(const xml::XmlDocument& document, xml::ElementId parent, const Model& model,
             std::span<const ChildRule> rules) {
    std::size_t rule = 0;
    std::size_t count = 0; // of the rule's element
    for (xml::ElementId child = document.firstChild(parent); child != xml::kNoElement;
         child = document.nextChild(parent, child)) {
        const std::string_view qualified = document.qualifiedName(child);
        const std::size_t prefixSize = qualified.find(':') + 1;
        const std::string_view name = qualified.substr(prefixSize);
        // Passes over the items that the child is not; a required one may be passed only after it
        // occurred.
        while (rule < rules.size() &&
               (rules[rule].name != name || (count == 1 && !rules[rule].repeats))) {
            if (rules[rule].required && count == 0) {
                return false;
            }
            ++rule;
            count = 0;
        }
        // Left over, or of the right name in a foreign namespace, which other readers do not take
        // for it.
        if (rule == rules.size() ||
            !isInNamespace(document, child, qualified.substr(0, prefixSize), model)) {
            return false;
        }
        ++count;
    }
    // Nothing required may be outstanding when the children end.
    for (; rule < rules.size(); ++rule, count = 0) {
        if (rules[rule].required && count == 0) {
            return false;
        }
    }
    return true;
}

} // namespace

bool hasSchemaStructure(const xml::XmlDocument& document, xml::ElementId signature) {
    // What is not in the namespace of XML Signature (unqualified, or an EBICS AuthSignature) has
    // its children in the namespace of its SignedInfo.
    xml::ElementId signedInfo = document.firstChild(signature);
    while (signedInfo != xml::kNoElement && document.localName(signedInfo) != "SignedInfo") {
        signedInfo = document.nextChild(signature, signedInfo);
    }
    if (signedInfo == xml::kNoElement) {
        return false;
    }
    const Model model = modelOf(document, signedInfo);
    return follows(document, signature, model, kSignature) &&
           follows(document, signedInfo, model, kSignedInfo);
}

} // namespace vantrel::dsig
