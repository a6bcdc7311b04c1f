// ebXML messaging: header blocks addressed to the next actor are not signed.

#include "dsig/transform/ebxml_fragments.h"

#include "dsig/transform/profile_markers.h"
#include "foundation/text/strings.h"

#include <string>

namespace vantrel::dsig {

namespace {

constexpr int kMostFragments = 13;
constexpr std::size_t kNone = std::string_view::npos;

// Finds the attribute by either of its values, the SOAP one first.
class NextActorSearch {
public:
    struct Match {
        std::size_t start;
        std::size_t length;
    };

    Match find(std::string_view text, std::size_t from) {
        // A value that is not found from one place on is not found from a later one either.
        if (!m_soapExhausted) {
            if (const std::size_t at = text::findText(text, m_soap, from); at != kNone) {
                return {at, m_soap.size()};
            }
            m_soapExhausted = true;
        }
        return {text::findText(text, m_ebXml, from), m_ebXml.size()};
    }
    void textChanged() noexcept { m_soapExhausted = false; }

private:
    static std::string attribute(std::string_view value) {
        return "actor=\"" + std::string(value) + '"';
    }

    const std::string m_soap = attribute(marker::kSoapNextActor);
    const std::string m_ebXml = attribute(marker::kEbXmlNextActor);
    bool m_soapExhausted = false;
};

// Walks back from `match` to the start tag it stands in. kNone: it stands in none; `from`: the walk
// reached the place where the search began.
std::size_t enclosingStartTag(std::string_view text, std::size_t match, std::size_t from) {
    for (std::size_t at = match; at > from; --at) {
        if (text[at] == '<') {
            return at;
        }
        if (text[at] == '>') {
            return kNone;
        }
    }
    return from;
}

// The end of the element that begins at `open`: behind the first end tag that begins with its name.
std::size_t endOfElement(std::string_view text, std::size_t open) {
    const std::size_t nameEnd = text.find_first_of(" \t>", open);
    if (nameEnd == kNone) {
        return kNone;
    }
    const std::string endTag = "</" + std::string(text.substr(open + 1, nameEnd - open - 1));
    const std::size_t at = text::findText(text, endTag, open);
    const std::size_t close = at == kNone ? kNone : text.find('>', at);
    return close == kNone ? kNone : close + 1;
}

} // namespace

void removeEbXmlFragments(StringBuffer& xml) {
    NextActorSearch search;
    std::size_t from = 0;
    for (int removed = 0; removed < kMostFragments;) {
        const NextActorSearch::Match match = search.find(xml.view(), from);
        if (match.start == kNone) {
            return;
        }
        const std::size_t open = enclosingStartTag(xml.view(), match.start, from);
        if (open == kNone) {
            from = match.start + match.length;
            continue;
        }
        const std::size_t end = open == from ? kNone : endOfElement(xml.view(), open);
        if (end == kNone) {
            return;
        }
        xml.removeChunk(static_cast<std::uint32_t>(open), static_cast<std::uint32_t>(end - open));
        search.textChanged();
        ++removed;
    }
}

} // namespace vantrel::dsig
