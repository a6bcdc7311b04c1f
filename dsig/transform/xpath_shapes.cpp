// SPDX-License-Identifier: MIT
#include "dsig/transform/xpath_shapes.h"

#include "foundation/text/arrays.h"

namespace vantrel::dsig {

namespace {

struct ShapeRule {
    RecognisedXPath recognised;
    bool filter2Only;       // XPath Filter 2.0 only
    const char* first;      // the expression contains one of these ...
    const char* second;     // ... two (null: just the first; both null: anything)
    const char* always;     // ... and this (null: nothing more)
    const char* wholeMatch; // the whole expression has this form, '*' being anything (null: any)
};

// The two ways in which signers write "nothing below such an element". The second is not what XPath
// Filtering (XML Signature 1.1, 6.6.3) asks for, but is in use with the same meaning.
constexpr const char* kNotSelf = "not(ancestor-or-self";
constexpr const char* kNotAnySelf = "not(//ancestor-or-self";

// The first rule that holds decides; the order matters. Rules 1 and 2 together are the expressions
// that mention a signature and exclude ancestors; anything else that mentions one goes on below.
constexpr ShapeRule kShapeRules[] = {
    {{XPathShape::BusinessSignatures, 1}, false, kNotSelf, kNotAnySelf, "cac:Signature", nullptr},
    {{XPathShape::Signatures, 1}, false, kNotSelf, kNotAnySelf, "Signature", nullptr},
    {{XPathShape::EbXmlNextActor, 2}, false, nullptr, nullptr, "ebxml-msg:actor:next", nullptr},
    {{XPathShape::UblDocumentSignatures, 3},
     false,
     nullptr,
     nullptr,
     "ancestor-or-self::sig:UBLDocumentSignatures",
     nullptr},
    {{XPathShape::SubtractSignatures, 4},
     true,
     "/descendant::ds:Signature",
     "/descendant::*[name()='ds:Signature']",
     nullptr,
     nullptr},
    {{XPathShape::SubtractExtensions, 5}, true, nullptr, nullptr, nullptr, nullptr},
    {{XPathShape::ElementWithId, 6},
     false,
     nullptr,
     nullptr,
     nullptr,
     "not(//ancestor-or-self::*[*ID='*'])"},
    {{XPathShape::Element, 7}, false, nullptr, nullptr, nullptr, "not(//ancestor-or-self::*)"},
};
// What a Filter 2.0 rule leaves open, namely which filter is meant and what a second child
// subtracts, is checked where the transform is carried out.
constexpr RecognisedXPath kUnknown{XPathShape::Unknown, 0};

// Null is a rule that asks for nothing, so it holds; a missing second text does not.
bool containsEither(const StringBuffer& text, const char* first, const char* second) {
    return first == nullptr || text.containsSubstring(first) ||
           (second != nullptr && text.containsSubstring(second));
}

bool holds(const ShapeRule& rule, bool filter2, const StringBuffer& xPath) {
    return (!rule.filter2Only || filter2) && containsEither(xPath, rule.first, rule.second) &&
           containsEither(xPath, rule.always, nullptr) &&
           (rule.wholeMatch == nullptr || xPath.matches(rule.wholeMatch, true));
}

// A token of the expression; empty when it has not so many.
StringBuffer token(const ExtPtrArray& tokens, int index) {
    const auto* const text = static_cast<const StringBuffer*>(tokens.elementAt(index));
    return text != nullptr ? *text : StringBuffer();
}

} // namespace

const RecognisedXPath& recogniseXPath(const StringBuffer& algorithm, const StringBuffer& xPath) {
    const bool filter2 = algorithm.containsSubstring("2002/06/xmldsig-filter2");
    for (const ShapeRule& rule : kShapeRules) {
        if (holds(rule, filter2, xPath)) {
            return rule.recognised;
        }
    }
    return kUnknown;
}

// Fixed token numbers serve because the shape is fixed by its pattern; the delimiters are tokens
// too.
ElementWithIdTexts elementWithIdTexts(const StringBuffer& xPath) {
    // not(//ancestor-or-self::cac:Name[cbc:ID='QR']): 3 cac, 5 Name, 7 cbc, 9 ID, 11 'QR'
    ExtPtrArray tokens;
    xPath.tokenize(tokens, ":[=]");
    const StringBuffer prefix = token(tokens, 3);
    const StringBuffer name = token(tokens, 5);

    ElementWithIdTexts texts;
    texts.startTag.append3("<", prefix.getString(), ":");
    texts.startTag.append2(name.getString(), ">");
    texts.endTag.append3("</", prefix.getString(), ":");
    texts.endTag.append2(name.getString(), ">");

    texts.mustContain.setString("<_cbc_:_ID_>_QR_</_cbc_:_ID_>");
    texts.mustContain.replaceAllOccurances("_cbc_", token(tokens, 7).getString());
    StringBuffer value = token(tokens, 11);
    // Replaced in this order, with the name last, as logs show the text so: a value that holds one
    // of the fields is filled in as well. The result is for the log only.
    if (!value.isEmpty()) {
        value.removeCharOccurances('\'');
        texts.mustContain.replaceAllOccurances("_QR_", value.getString());
    }
    texts.mustContain.replaceAllOccurances("_ID_", token(tokens, 9).getString());
    return texts;
}

} // namespace vantrel::dsig
