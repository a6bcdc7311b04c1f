// SPDX-License-Identifier: MIT
// Mutations of a document that leave it well-formed, mostly: elements are doubled, moved, swapped,
// wrapped and taken out, attributes and prefixes change, and what is no content comes in between.
// A fuzzer that changes octets breaks most documents before a signature is looked at. It has a
// reader of its own, which knows tags and nothing else. Targets whose input has other fields, each
// ended by a NUL, have one field changed that is a document.

#include "fuzz/mutator.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::fuzz {

namespace {

// From the first octet of the start tag to the one behind the end tag.
struct Element {
    std::size_t start = 0;
    std::size_t content = 0;    // behind the start tag
    std::size_t contentEnd = 0; // at the end tag
    std::size_t end = 0;
    std::size_t nameEnd = 0;
};

struct Attribute {
    std::size_t start = 0; // of the name
    std::size_t nameEnd = 0;
    std::size_t value = 0;
    std::size_t valueEnd = 0;
};

struct Outline {
    std::vector<Element> elements; // in document order
    std::vector<Attribute> attributes;
    std::vector<std::size_t> texts; // offsets of characters between tags
};

constexpr std::string_view kSpace = " \t\r\n";

// Behind the markup at `at` that holds no element; `at` for tags.
std::size_t behindOther(std::string_view xml, std::size_t at) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kOthers = {
        {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<!DOCTYPE", "]>"}, {"<!", ">"}}};
    for (const auto& [begin, end] : kOthers) {
        if (xml.substr(at).starts_with(begin)) {
            const std::size_t found = xml.find(end, at + begin.size());
            if (found != std::string_view::npos) {
                return found + end.size();
            }
        }
    }
    return at;
}

// Notes the attributes of the start tag at `at`; behind its '>'.
std::size_t readTag(std::string_view xml, std::size_t at, std::vector<Attribute>& attributes) {
    at = xml.find_first_of(" \t\r\n/>", at);
    while (at < xml.size() && xml[at] != '>') {
        Attribute one;
        one.start = xml.find_first_not_of(kSpace, at);
        one.nameEnd = xml.find_first_of("=>", one.start);
        if (one.nameEnd == std::string_view::npos || xml[one.nameEnd] == '>') {
            return one.nameEnd == std::string_view::npos ? xml.size() : one.nameEnd + 1;
        }
        const std::size_t quote = xml.find_first_of("\"'", one.nameEnd);
        const std::size_t close =
            quote == std::string_view::npos ? quote : xml.find(xml[quote], quote + 1);
        if (close == std::string_view::npos) {
            return xml.size();
        }
        one.value = quote + 1;
        one.valueEnd = close;
        attributes.push_back(one);
        at = close + 1;
    }
    return at < xml.size() ? at + 1 : xml.size();
}

Outline outlineOf(std::string_view xml) {
    Outline out;
    std::vector<std::size_t> open;
    for (std::size_t at = 0; at < xml.size();) {
        if (xml[at] != '<') {
            if (!open.empty()) {
                out.texts.push_back(at);
            }
            ++at;
        } else if (const std::size_t behind = behindOther(xml, at); behind > at) {
            at = behind;
        } else if (xml.substr(at).starts_with("</")) {
            const std::size_t end = std::min(xml.find('>', at), xml.size() - 1) + 1;
            if (!open.empty()) {
                out.elements[open.back()].contentEnd = at;
                out.elements[open.back()].end = end;
                open.pop_back();
            }
            at = end;
        } else {
            Element one;
            one.start = at;
            one.nameEnd = std::min(xml.find_first_of(" \t\r\n/>", at + 1), xml.size());
            at = readTag(xml, at, out.attributes);
            one.content = one.contentEnd = one.end = at;
            if (xml[at - 1] != '>' || xml[at - 2] != '/') {
                open.push_back(out.elements.size());
            }
            out.elements.push_back(one);
        }
    }
    return out;
}

class XmlMutation {
    template <class List> const auto& pick(const List& list) {
        return list[m_random() % std::size(list)];
    }

public:
    XmlMutation(std::string& xml, Random& random)
        : m_xml(xml), m_random(random), m_outline(outlineOf(xml)) {}

    // False where there is nothing to change in this way.
    bool apply() {
        using Step = bool (XmlMutation::*)();
        static constexpr Step kSteps[] = {
            &XmlMutation::copyElement,     &XmlMutation::moveElement,
            &XmlMutation::removeElement,   &XmlMutation::wrapElement,
            &XmlMutation::unwrapElement,   &XmlMutation::renameElement,
            &XmlMutation::swapElements,    &XmlMutation::setValue,
            &XmlMutation::copyValue,       &XmlMutation::copyAttribute,
            &XmlMutation::addAttribute,    &XmlMutation::insertOther,
            &XmlMutation::referByNumber,   &XmlMutation::insideCData,
            &XmlMutation::addDocumentType, &XmlMutation::pointReference,
            &XmlMutation::addTransform,    &XmlMutation::changeSpace,
            &XmlMutation::copyElement,     &XmlMutation::moveElement,
            &XmlMutation::setValue,
        };
        return !m_outline.elements.empty() && (this->*pick(kSteps))();
    }

private:
    [[nodiscard]] std::string textOf(const Element& element) const {
        return m_xml.substr(element.start, element.end - element.start);
    }

    // A place where an element may stand: before, behind or within another.
    std::size_t place() {
        const Element& element = pick(m_outline.elements);
        const std::size_t places[] = {element.start, element.end, element.content,
                                      element.contentEnd};
        return pick(places);
    }

    bool copyElement() {
        const std::string copy = textOf(pick(m_outline.elements));
        m_xml.insert(place(), copy);
        return true;
    }

    bool moveElement() {
        const Element element = pick(m_outline.elements);
        const std::size_t to = place();
        if (to > element.start && to < element.end) {
            return false;
        }
        const std::string text = textOf(element);
        m_xml.insert(to, text);
        m_xml.erase(element.start + (to <= element.start ? text.size() : 0), text.size());
        return true;
    }

    bool removeElement() {
        const Element element = pick(m_outline.elements);
        m_xml.erase(element.start, element.end - element.start);
        return true;
    }

    bool wrapElement() {
        static constexpr std::pair<std::string_view, std::string_view> kWraps[] = {
            {"<a>", "</a>"},
            {"<p:w xmlns:p=\"urn:w\" Id=\"a\">", "</p:w>"},
            {"<d:Object xmlns:d=\"http://www.w3.org/2000/09/xmldsig#\" Id=\"o\">", "</d:Object>"},
            {"<w xmlns=\"\" xml:lang=\"de\" xml:space=\"preserve\">", "</w>"},
        };
        const Element element = pick(m_outline.elements);
        const auto& [start, end] = pick(kWraps);
        m_xml.insert(element.end, end);
        m_xml.insert(element.start, start);
        return true;
    }

    bool unwrapElement() {
        const Element element = pick(m_outline.elements);
        m_xml.erase(element.contentEnd, element.end - element.contentEnd);
        m_xml.erase(element.start, element.content - element.start);
        return true;
    }

    // As another one is named, so that prefixes and the names of signatures come together anew.
    bool renameElement() {
        const Element element = pick(m_outline.elements);
        const Element other = pick(m_outline.elements);
        const std::string name = m_xml.substr(other.start + 1, other.nameEnd - other.start - 1);
        if (element.contentEnd > element.content || element.end > element.content) {
            m_xml.replace(element.contentEnd + 2, element.end - element.contentEnd - 3, name);
        }
        m_xml.replace(element.start + 1, element.nameEnd - element.start - 1, name);
        return true;
    }

    bool swapElements() {
        Element first = pick(m_outline.elements);
        Element second = pick(m_outline.elements);
        if (first.start > second.start) {
            std::swap(first, second);
        }
        if (second.start < first.end) {
            return false;
        }
        const std::string text = textOf(first);
        const std::string other = textOf(second);
        m_xml.replace(second.start, other.size(), text);
        m_xml.replace(first.start, text.size(), other);
        return true;
    }

    bool setValue() {
        static constexpr std::string_view kValues[] = {
            "",
            "a",
            "#a",
            "0",
            "-1",
            "4294967296",
            "#xpointer(/)",
            "#xpointer(id('a'))",
            "urn:w",
            "http://www.w3.org/2000/09/xmldsig#",
            "http://www.w3.org/2000/09/xmldsig#base64",
            "http://www.w3.org/2000/09/xmldsig#enveloped-signature",
            "http://www.w3.org/2000/09/xmldsig#Object",
            "http://www.w3.org/2000/09/xmldsig#Manifest",
            "http://www.w3.org/2001/10/xml-exc-c14n#",
            "http://www.w3.org/2001/10/xml-exc-c14n#WithComments",
            "http://www.w3.org/TR/2001/REC-xml-c14n-20010315",
            "http://www.w3.org/2006/12/xml-c14n11",
            "http://www.w3.org/2002/06/xmldsig-filter2",
            "http://www.w3.org/TR/1999/REC-xpath-19991116",
            "&#xD;&#x9;x",
            "  x  y ",
        };
        if (m_outline.attributes.empty()) {
            return false;
        }
        const Attribute& one = pick(m_outline.attributes);
        m_xml.replace(one.value, one.valueEnd - one.value, pick(kValues));
        return true;
    }

    bool copyValue() {
        if (m_outline.attributes.empty()) {
            return false;
        }
        const Attribute& from = pick(m_outline.attributes);
        const Attribute& to = pick(m_outline.attributes);
        const std::string value = m_xml.substr(from.value, from.valueEnd - from.value);
        m_xml.replace(to.value, to.valueEnd - to.value, value);
        return true;
    }

    // A second element with an Id, a prefix that means something else further in.
    bool copyAttribute() {
        if (m_outline.attributes.empty()) {
            return false;
        }
        const Attribute& from = pick(m_outline.attributes);
        const std::string text = " " + m_xml.substr(from.start, from.valueEnd + 1 - from.start);
        m_xml.insert(pick(m_outline.elements).nameEnd, text);
        return true;
    }

    bool addAttribute() {
        static constexpr std::string_view kAttributes[] = {
            " Id=\"a\"",
            " ID=\"a\"",
            " xml:id='a'",
            " xmlns=\"urn:w\"",
            " xmlns=\"\"",
            " xmlns:p=\"urn:p\"",
            " xml:lang=\"de\"",
            " xml:base=\"x/../y\"",
            " z=\"&lt;&#10;&gt;\"",
            " xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"",
            " Type=\"http://www.w3.org/2000/09/xmldsig#Manifest\"",
        };
        m_xml.insert(pick(m_outline.elements).nameEnd, pick(kAttributes));
        return true;
    }

    bool insertOther() {
        static constexpr std::string_view kOthers[] = {
            "<!-- -->",     "<!--<Signature Id=\"a\">-->",
            "<?p i?>",      "<![CDATA[<a>&]]>",
            "<![CDATA[]]>", "&amp;",
            "&#13;",        "&e;",
            "\r\n",         "\xC3\xA9",
        };
        const bool inText = !m_outline.texts.empty() && m_random() % 2 == 0;
        m_xml.insert(inText ? pick(m_outline.texts) : place(), pick(kOthers));
        return true;
    }

    bool referByNumber() {
        if (m_outline.texts.empty()) {
            return false;
        }
        const std::size_t at = pick(m_outline.texts);
        const unsigned octet = static_cast<unsigned char>(m_xml[at]);
        if (octet >= 0x80 || octet == '&') {
            return false;
        }
        m_xml.replace(at, 1, "&#" + std::to_string(octet) + ";");
        return true;
    }

    bool insideCData() {
        if (m_outline.texts.empty()) {
            return false;
        }
        const std::size_t at = pick(m_outline.texts);
        const std::size_t end = std::min(m_xml.find_first_of("<&", at), m_xml.size());
        m_xml.insert(end, "]]>");
        m_xml.insert(at, "<![CDATA[");
        return true;
    }

    bool addDocumentType() {
        static constexpr std::string_view kTypes[] = {
            "<!DOCTYPE a [<!ENTITY e \"<b>x</b>\">]>",
            "<!DOCTYPE a [<!ENTITY e \"&#38;#60;y/>\"><!ATTLIST a z CDATA \"d\" i ID #IMPLIED>]>",
            "<!DOCTYPE a [<!ATTLIST Signature z NMTOKENS \" d  e \">]>",
            "<!DOCTYPE a SYSTEM \"x\">",
        };
        if (m_xml.find("<!DOCTYPE") != std::string::npos) {
            return false;
        }
        m_xml.insert(m_outline.elements.front().start, pick(kTypes));
        return true;
    }

    // At an element that is there, whatever it is, by an Id that it gets.
    bool pointReference() {
        const std::size_t uri = m_xml.find(" URI=\"", m_random() % m_xml.size());
        if (uri == std::string::npos) {
            return false;
        }
        const std::string name = "n" + std::to_string(m_random() % 4);
        const std::size_t end = m_xml.find('"', uri + 6);
        const std::size_t element = pick(m_outline.elements).nameEnd;
        if (end == std::string::npos || (element > uri && element <= end)) {
            return false;
        }
        const bool isBefore = element <= uri;
        const std::string attribute = " Id=\"" + name + "\"";
        if (!isBefore) {
            m_xml.insert(element, attribute);
        }
        m_xml.replace(uri + 6, end - uri - 6, "#" + name);
        if (isBefore) {
            m_xml.insert(element, attribute);
        }
        return true;
    }

    bool addTransform() {
        static constexpr std::string_view kTransforms[] = {
            "<Transform Algorithm=\"http://www.w3.org/2000/09/xmldsig#enveloped-signature\"/>",
            "<Transform Algorithm=\"http://www.w3.org/2001/10/xml-exc-c14n#\"/>",
            "<Transform Algorithm=\"http://www.w3.org/2000/09/xmldsig#base64\"/>",
            "<Transform Algorithm=\"http://www.w3.org/TR/2001/REC-xml-c14n-20010315#WithComments\"/>",
            "<Transform Algorithm=\"http://www.w3.org/TR/1999/REC-xpath-19991116\">"
            "<XPath>not(ancestor-or-self::a)</XPath></Transform>",
            "<Transform Algorithm=\"http://www.w3.org/TR/1999/REC-xpath-19991116\">"
            "<XPath>self::text() or self::node()[@Id]</XPath></Transform>",
            "<Transform Algorithm=\"http://www.w3.org/2002/06/xmldsig-filter2\"><XPath "
            "xmlns=\"http://www.w3.org/2002/06/xmldsig-filter2\" Filter=\"subtract\">//a</XPath>"
            "</Transform>",
            "<Transform Algorithm=\"http://www.w3.org/2002/06/xmldsig-filter2\"><XPath "
            "xmlns=\"http://www.w3.org/2002/06/xmldsig-filter2\" Filter=\"intersect\">//*[@Id]"
            "</XPath></Transform>",
        };
        const std::size_t list = m_xml.find("Transforms>", m_random() % m_xml.size());
        if (list == std::string::npos) {
            return false;
        }
        std::string transform(pick(kTransforms));
        transform.insert(transform.find(' '), " xmlns=\"http://www.w3.org/2000/09/xmldsig#\"");
        const std::size_t tag = m_xml.rfind('<', list);
        const bool isEnd = tag != std::string::npos && m_xml[tag + 1] == '/';
        m_xml.insert(isEnd ? tag : list + 11, transform);
        return true;
    }

    bool changeSpace() {
        static constexpr std::string_view kSpaces[] = {"\n", "\r\n", "  ", "\t", "\r", "\xC2\xA0"};
        m_xml.insert(m_random() % 2 == 0 ? pick(m_outline.elements).nameEnd : place(),
                     pick(kSpaces));
        return true;
    }

    std::string& m_xml;
    Random& m_random;
    Outline m_outline;
};

} // namespace

std::string mutateStructure(std::string_view input, Random& random) {
    // The fields that are documents.
    std::vector<std::pair<std::size_t, std::size_t>> fields;
    for (std::size_t start = 0; start < input.size();) {
        const std::size_t end = std::min(input.find('\0', start), input.size());
        const std::size_t first = input.find_first_not_of(kSpace, start);
        if (first < end && input.substr(first, end - first).find('<') < 4) {
            fields.emplace_back(start, end);
        }
        start = end + 1;
    }
    if (fields.empty()) {
        return {};
    }
    const auto [start, end] = fields[random() % fields.size()];
    std::string xml(input.substr(start, end - start));
    bool isChanged = false;
    for (std::uint64_t steps = 1 + random() % 4; steps > 0; --steps) {
        isChanged = XmlMutation(xml, random).apply() || isChanged;
    }
    return isChanged ? std::string(input.substr(0, start)) + xml + std::string(input.substr(end))
                     : std::string();
}

} // namespace vantrel::fuzz
