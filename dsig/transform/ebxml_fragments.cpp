// SPDX-License-Identifier: MIT
// ebXML messaging: header blocks addressed to the next actor are not signed.

#include "dsig/transform/ebxml_fragments.h"

#include "dsig/transform/gapped_text.h"
#include "dsig/transform/profile_markers.h"

#include <algorithm>
#include <string>
#include <vector>

namespace vantrel::dsig {

namespace {

// Blocks beyond this number stay in the text and are digested; the caller notes that as a leniency.
constexpr std::size_t kMostFragments = 13;
constexpr std::size_t kNone = std::string_view::npos;

// Finds the attribute by either of its values, the SOAP one first.
class NextActorSearch {
public:
    struct Match {
        std::size_t start;
        std::size_t length;
    };

    Match find(const GappedText& text, std::size_t from) {
        // A value that is not found from one place on is not found from a later one either. Without
        // the flag, many matches of the second value that stand in no start tag would cost the
        // square of the text.
        if (!m_soapExhausted) {
            if (const std::size_t at = text.find(m_soap, from); at != kNone) {
                return {at, m_soap.size()};
            }
            m_soapExhausted = true;
        }
        return {text.find(m_ebXml, from), m_ebXml.size()};
    }
    // The search goes on from the same place in a text with one gap more, so both values are looked
    // for again.
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
// reached the place where the search began. A gap on the way ends with the '>' of an end tag, so
// the walk never steps over one.
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
// Neither nesting nor longer names are told apart: "</a" also ends at "</ab>". An end that makes no
// run of whole elements is refused when the block is taken out.
std::size_t endOfElement(const GappedText& searched, std::size_t open) {
    const std::string_view text = searched.text();
    const std::size_t nameEnd = text.find_first_of(" \t>", open);
    if (nameEnd == kNone) {
        return kNone;
    }
    const std::string endTag = "</" + std::string(text.substr(open + 1, nameEnd - open - 1));
    const std::size_t at = searched.find(endTag, open);
    const std::size_t close = at == kNone ? kNone : text.find('>', at);
    return close == kNone ? kNone : close + 1;
}

// Adds a stretch to ascending, disjoint ones; those inside it, found before it, are part of it now.
void insertOver(xml::TextRange block, std::vector<xml::TextRange>& ranges) {
    std::erase_if(ranges, [block](xml::TextRange one) {
        return one.start >= block.start && one.end() <= block.end();
    });
    const auto place =
        std::upper_bound(ranges.begin(), ranges.end(), block.start,
                         [](std::uint32_t start, xml::TextRange one) { return start < one.start; });
    ranges.insert(place, block);
}

} // namespace

FoundChunks findEbXmlFragments(std::string_view text, std::span<const xml::TextRange> gaps) {
    NextActorSearch search;
    FoundChunks found;
    std::vector<xml::TextRange> absent(gaps.begin(), gaps.end()); // those found included
    std::size_t from = 0;
    std::size_t removed = 0;
    for (;;) {
        const GappedText rest(text, absent);
        const NextActorSearch::Match match = search.find(rest, from);
        if (match.start == kNone) {
            break;
        }
        const std::size_t open = enclosingStartTag(text, match.start, from);
        // The attribute's characters in running text, or in a value behind a '>': no block.
        if (open == kNone) {
            from = match.start + match.length;
            continue;
        }
        // A walk that came back to where the search began has found no start tag of its own, and
        // ends the search for good, as an element without an end does.
        const std::size_t end = open == from ? kNone : endOfElement(rest, open);
        if (end == kNone) {
            break;
        }
        if (removed == kMostFragments) {
            found.more = true;
            break;
        }
        ++removed;
        const xml::TextRange block = xml::rangeOf(open, end);
        // GappedText needs its gaps ascending; the blocks are not found in that order, since a
        // match lies behind the start of its block.
        insertOver(block, absent);
        insertOver(block, found.chunks);
        search.textChanged();
    }
    return found;
}

} // namespace vantrel::dsig
