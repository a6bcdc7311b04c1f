// SPDX-License-Identifier: MIT
#include "tests/dsig/truth/places.h"

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/element_text.h"
#include "tests/support/report_values.h"

#include <algorithm>
#include <cctype>

namespace vantrel::test {

namespace {

// Past the markup that begins at `at` and holds no content; `at` for other markup and for text.
std::size_t passSilent(std::string_view xml, std::size_t at) {
    const auto past = [&](std::string_view end) {
        const std::size_t found = xml.find(end, at + 2);
        return found == std::string_view::npos ? xml.size() : found + end.size();
    };
    const std::string_view rest = xml.substr(at);
    if (rest.starts_with("<!--")) {
        return past("-->");
    }
    if (rest.starts_with("<?")) {
        return past("?>");
    }
    if (rest.starts_with("<!DOCTYPE")) {
        const std::size_t subset = rest.find_first_of("[>");
        return subset != std::string_view::npos && rest[subset] == '[' ? past("]>") : past(">");
    }
    return at;
}

// Appends the characters of [start, end); what is no last octet of one is passed over.
void appendPlaces(std::string_view xml, std::size_t start, std::size_t end,
                  std::vector<std::size_t>& places) {
    for (std::size_t at = start; at < end; ++at) {
        const bool isLast = at + 1 == end || (xml[at + 1] & 0xC0) != 0x80;
        if (isLast && xml[at] != '&' && xml[at] != ';' && xml[at] != '#') {
            places.push_back(at);
        }
    }
}

// The attribute values of one start tag; returns the offset past its end.
std::size_t passTag(std::string_view xml, std::size_t at, std::vector<std::size_t>& places) {
    std::size_t nameStart = at + 1;
    for (++at; at < xml.size() && xml[at] != '>'; ++at) {
        if (std::isspace(static_cast<unsigned char>(xml[at])) != 0) {
            nameStart = at + 1;
        } else if (xml[at] == '"' || xml[at] == '\'') {
            const std::size_t end = std::min(xml.find(xml[at], at + 1), xml.size());
            if (!xml.substr(nameStart).starts_with("xmlns")) {
                appendPlaces(xml, at + 1, end, places);
            }
            at = end;
        }
    }
    return at + 1;
}

// Inside "&...;": a letter in another case would mean the same there.
bool isInCharacterReference(std::string_view xml, std::size_t place) {
    const std::size_t opening = xml.find_last_of("&;<>\"' \n", place);
    return opening != std::string_view::npos && xml[opening] == '&';
}

} // namespace

std::vector<std::size_t> contentPlaces(std::string_view xml) {
    constexpr std::string_view kCData = "<![CDATA[";
    std::vector<std::size_t> places;
    std::size_t depth = 0;
    for (std::size_t at = 0; at < xml.size();) {
        const std::size_t silent = passSilent(xml, at);
        if (silent > at) {
            at = silent;
        } else if (xml.substr(at).starts_with(kCData)) {
            const std::size_t end = std::min(xml.find("]]>", at), xml.size());
            appendPlaces(xml, at + kCData.size(), end, places);
            at = end + 3;
        } else if (xml[at] == '<') {
            const bool isEnd = xml.substr(at).starts_with("</");
            at = passTag(xml, at, places);
            depth += isEnd ? -1 : xml[at - 2] == '/' ? 0 : 1;
        } else {
            const std::size_t end = std::min(xml.find('<', at), xml.size());
            if (depth > 0) {
                appendPlaces(xml, at, end, places);
            }
            at = end;
        }
    }
    return places;
}

void changeContent(std::string& xml, std::size_t place) {
    const char old = xml[place];
    const auto octet = static_cast<unsigned char>(old);
    if (octet >= 0x80) {
        xml[place] = static_cast<char>(octet ^ 1U);
    } else if (std::isdigit(octet) != 0) {
        xml[place] = static_cast<char>('0' + (old - '0' + 5) % 10);
    } else if (std::isalpha(octet) == 0) {
        xml[place] = 'x';
    } else if (isInCharacterReference(xml, place)) {
        xml[place] = old == 'f' || old == 'F' ? 'e' : static_cast<char>(old + 1);
    } else {
        // The other case: in base64 the two differ in the bits that no padding hides.
        xml[place] = static_cast<char>(octet ^ 0x20U);
    }
}

ClaimedCoverage::ClaimedCoverage(std::string_view text, const json::JsonValue& report)
    : m_text(text), m_covered(text.size(), false) {
    xml::ParseFailure why;
    m_document = xml::XmlDocument::parse(StringBuffer(std::string(text)), {}, why);
    if (m_document == nullptr) {
        m_fault = why.message;
        return;
    }
    xml::ElementPaths paths(*m_document);
    m_paths.resize(m_document->elementCount());
    for (xml::ElementId element = 0; element < m_paths.size(); ++element) {
        paths.append(element, m_paths[element]);
    }
    for (const json::JsonValue& reference : report.find("references")->elements()) {
        const json::JsonValue* const isSigned = reference.find("signed");
        if (textOf(reference, "status") == "match" &&
            isSigned->kind() == json::JsonValue::Kind::True &&
            !hasAccommodation(reference, "digest.tolerated")) {
            claim(reference);
        }
    }
    claimSignature(report);
}

void ClaimedCoverage::claim(const json::JsonValue& reference) {
    std::vector<bool> octets(m_covered.size(), false);
    const std::string covers = textOf(reference, "covers");
    if (covers == "document") {
        octets.assign(octets.size(), true);
    } else if (covers == "element") {
        claimElement(textOf(reference, "path"), octets);
    } else if (covers == "elements") {
        for (const json::JsonValue& path : reference.find("paths")->elements()) {
            claimElement(path.text(), octets);
        }
    } else {
        check(covers == "external" || covers.empty(), "covers " + covers);
    }
    for (const json::JsonValue& one : reference.find("excluded")->elements()) {
        const auto start = static_cast<std::size_t>(integerOf(one, "start"));
        const auto length = static_cast<std::size_t>(integerOf(one, "length"));
        if (!check(start <= octets.size() && length <= octets.size() - start, "excluded beyond")) {
            return;
        }
        for (std::size_t at = start; at < start + length; ++at) {
            octets[at] = false;
        }
    }
    for (std::size_t at = 0; at < octets.size(); ++at) {
        m_covered[at] = m_covered[at] || octets[at];
    }
}

bool ClaimedCoverage::check(bool holds, const std::string& fault) {
    if (!holds) {
        m_fault = fault;
    }
    return holds;
}

void ClaimedCoverage::claimElement(std::string_view path, std::vector<bool>& octets) {
    const xml::ElementId element = find(path);
    xml::TextRange range;
    // An element that came out of an entity has no place in the text.
    if (check(element != xml::kNoElement, "no element " + std::string(path)) &&
        m_document->sourceRange(element, range)) {
        std::fill_n(octets.begin() + range.start, range.length, true);
    }
}

// The value vouches for SignedInfo; by the rules of ZATCA for the first digest in it only.
void ClaimedCoverage::claimSignature(const json::JsonValue& report) {
    const xml::ElementId signature = find(textOf(report, "path"));
    if (!check(signature != xml::kNoElement, "no signature " + textOf(report, "path"))) {
        return;
    }
    bool isClaimed = false;
    const xml::ElementId behind = m_document->subtreeEnd(signature);
    for (xml::ElementId element = signature; element < behind; ++element) {
        const std::string_view name = m_document->localName(element);
        const bool isChild = m_document->parent(element) == signature;
        if (isChild && name == "SignatureValue") {
            // The first counts; another makes the structure an odd one, which is warned of.
            if (element == m_document->firstChildNamed(signature, name)) {
                claimText(element);
            }
        } else if (!hasAccommodation(report, "zatca.rules")) {
            if (isChild && name == "SignedInfo") {
                claimElement(m_paths[element], m_covered);
            }
        } else if (name == "DigestValue" && !isClaimed) {
            claimText(element);
            isClaimed = true;
        }
    }
}

// The base64 text of an element, not its attributes; padding and the space around it say nothing.
void ClaimedCoverage::claimText(xml::ElementId element) {
    xml::TextRange range;
    if (!m_document->sourceRange(element, range)) {
        return;
    }
    const std::size_t end = m_text.find("</", range.start);
    for (std::size_t at = m_text.find('>', range.start); at < end; ++at) {
        if (std::isalnum(static_cast<unsigned char>(m_text[at])) != 0) {
            m_covered[at] = true;
        }
    }
}

xml::ElementId ClaimedCoverage::find(std::string_view path) const {
    const auto found = std::find(m_paths.begin(), m_paths.end(), path);
    return found == m_paths.end() ? xml::kNoElement
                                  : static_cast<xml::ElementId>(found - m_paths.begin());
}

} // namespace vantrel::test
