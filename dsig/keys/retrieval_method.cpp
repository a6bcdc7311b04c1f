// SPDX-License-Identifier: MIT
#include "dsig/keys/retrieval_method.h"

#include "foundation/text/strings.h"
#include "foundation/x509/keys/xml_element.h"
#include "foundation/xml/canon/fragment_id.h"

#include <string>
#include <string_view>

namespace vantrel::dsig {

namespace {

using x509::XmlElement;

constexpr std::string_view kXPath = "http://www.w3.org/TR/1999/REC-xpath-19991116";
constexpr std::string_view kBase64 = "http://www.w3.org/2000/09/xmldsig#base64";
constexpr std::string_view kRawCertificate = "http://www.w3.org/2000/09/xmldsig#rawX509Certificate";

// The child element of one that has a single one; kNoElement for none or several.
xml::ElementId onlyChild(const xml::XmlDocument& document, xml::ElementId parent) {
    const xml::ElementId child = document.firstChild(parent);
    const bool only =
        child != xml::kNoElement && document.nextChild(parent, child) == xml::kNoElement;
    return only ? child : xml::kNoElement;
}

// What the transforms of a reference ask for. At most one of them is read.
struct PartChoice {
    bool known = true;
    bool base64 = false;
    std::string name; // local name of the element that an XPath selects; empty for none
    std::string id;   // and its Id
};

// ancestor-or-self::ds:X509Data[@Id="x"]: the elements of that name with what is in them.
bool readXPath(std::string_view expression, PartChoice& choice) {
    constexpr std::string_view kAxis = "ancestor-or-self::";
    constexpr std::string_view kPredicate = "[@Id=";
    expression = text::trimmed(expression);
    if (!expression.starts_with(kAxis)) {
        return false;
    }
    expression.remove_prefix(kAxis.size());
    const std::size_t end = expression.find('[');
    const std::string_view name = expression.substr(0, end);
    choice.name = name.substr(name.find(':') + 1);
    if (end != std::string_view::npos) {
        std::string_view rest = expression.substr(end);
        if (!rest.starts_with(kPredicate) || rest.size() < kPredicate.size() + 4 ||
            rest.back() != ']') {
            return false;
        }
        rest = rest.substr(kPredicate.size(), rest.size() - kPredicate.size() - 1);
        if ((rest.front() != '"' && rest.front() != '\'') || rest.back() != rest.front()) {
            return false;
        }
        choice.id = rest.substr(1, rest.size() - 2);
    }
    return !choice.name.empty() &&
           choice.name.find_first_of(" \t\r\n()/|*:@") == std::string::npos &&
           choice.id.find_first_of("\"'") == std::string::npos;
}

PartChoice readTransforms(const xml::XmlDocument& document, xml::ElementId reference) {
    PartChoice choice;
    const xml::ElementId transforms = onlyChild(document, reference);
    if (transforms == xml::kNoElement) {
        return choice;
    }
    const xml::ElementId transform = onlyChild(document, transforms);
    std::string algorithm;
    if (transform == xml::kNoElement ||
        !XmlElement(document, transform).attribute("Algorithm", algorithm)) {
        choice.known = false;
    } else if (algorithm == kBase64) {
        choice.base64 = true;
    } else {
        XmlElement xpath;
        std::string expression;
        choice.known = algorithm == kXPath &&
                       XmlElement(document, transform).child("XPath", xpath) &&
                       xpath.appendContent(expression) && readXPath(expression, choice);
    }
    return choice;
}

// The element of the choice's name in the subtree: that with its Id, by the document's index, or
// else the only one, which is looked for in small subtrees alone. Many signatures in one document
// may ask, so that none of them may cost a walk through it.
xml::ElementId selected(const xml::XmlDocument& document, xml::ElementId top,
                        const PartChoice& choice) {
    constexpr xml::ElementId kSmall = 1000;
    const xml::ElementId end = document.subtreeEnd(top);
    xml::ElementId found = xml::kNoElement;
    if (!choice.id.empty()) {
        const bool resolved =
            xml::resolveFragment(document, choice.id, found) == xml::FragmentTarget::Element;
        return resolved && found >= top && found < end && document.localName(found) == choice.name
                   ? found
                   : xml::kNoElement;
    }
    if (end - top > kSmall) {
        return xml::kNoElement;
    }
    for (xml::ElementId element = top; element < end; ++element) {
        if (document.localName(element) != choice.name) {
            continue;
        }
        if (found != xml::kNoElement) {
            return xml::kNoElement;
        }
        found = element;
    }
    return found;
}

// The element that a same-document URI points at; the whole document's is its root.
xml::ElementId targetOf(const xml::XmlDocument& document, std::string_view uri) {
    xml::ElementId element = xml::kNoElement;
    if (uri.empty()) {
        return 0;
    }
    const bool resolved =
        uri.front() == '#' &&
        xml::resolveFragment(document, uri.substr(1), element) == xml::FragmentTarget::Element;
    return resolved ? element : xml::kNoElement;
}

} // namespace

RetrievedKey retrievedKey(const xml::XmlDocument& document, xml::ElementId reference) {
    const XmlElement element(document, reference);
    std::string uri;
    std::string type;
    const PartChoice choice = readTransforms(document, reference);
    if (!element.attribute("URI", uri) || !choice.known) {
        return {};
    }
    xml::ElementId target = targetOf(document, uri);
    if (target != xml::kNoElement && !choice.name.empty()) {
        target = selected(document, target, choice);
    }
    if (target == xml::kNoElement) {
        return {};
    }
    if (element.attribute("Type", type) && type == kRawCertificate) {
        return choice.base64 ? RetrievedKey{target, true} : RetrievedKey{};
    }
    // What it is to be stands behind the sign of the type's identifier.
    const bool ofType = type.empty() || std::string_view(type).substr(type.find('#') + 1) ==
                                            document.localName(target);
    return ofType && !choice.base64 ? RetrievedKey{target, false} : RetrievedKey{};
}

} // namespace vantrel::dsig
