// SPDX-License-Identifier: MIT
#include "dsig/reference/adjacent_signatures.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <string>

namespace vantrel::dsig {

namespace {

// Each further element may cost a search through the rest of the text, so their number bounds the
// work.
constexpr int kMostFollowing = 100;
constexpr std::string_view kName = "Signature";

// One search for the row. The rest of a text is searched once for every signature that begins a
// row, so that a document with thousands of them pays by the octet.
struct Search {
    std::string_view text;
    WorkAccount* account; // null where nobody counts
    LogBase& log;
    bool refused = false;

    // Behind the last `endTag` at or after `from`; npos when there is none, or the account refuses.
    // Rows mostly stand near the end, so growing pieces are searched from there.
    std::size_t behindLast(std::string_view endTag, std::size_t from);
};

std::size_t Search::behindLast(std::string_view endTag, std::size_t from) {
    constexpr std::size_t kFirstPiece = 4096;
    std::size_t stop = text.size(); // what begins behind it has been searched
    for (std::size_t piece = kFirstPiece; stop > from; piece *= 2) {
        const std::size_t start = stop - from > piece ? stop - piece : from;
        if (account != nullptr && !account->takeOctets(stop - start, log)) {
            refused = true;
            return std::string_view::npos;
        }
        // An end tag may lie across the border of two pieces.
        const std::string_view part = text.substr(0, std::min(stop + endTag.size(), text.size()));
        std::size_t end = std::string_view::npos;
        for (std::size_t at = text::findText(part, endTag, start); at != std::string_view::npos;
             at = text::findText(part, endTag, end)) {
            end = at + endTag.size();
        }
        if (end != std::string_view::npos) {
            return end;
        }
        stop = start;
    }
    return std::string_view::npos;
}

// Where the element that begins at the '<' at `open` ends by this rule; `open` when it is no
// signature or has no end tag.
std::size_t endOfSignature(Search& search, std::size_t open) {
    const std::string_view text = search.text;
    std::size_t nameStart = open + 1;
    std::string endTag = "</";
    if (!text.substr(nameStart).starts_with(kName)) {
        // The prefix ends at the first colon, unless the tag ends before it. A colon in an
        // attribute of an unprefixed element makes a "prefix" with a blank in it, which no end tag
        // has.
        const std::size_t stop = text.find_first_of(":>/", nameStart);
        if (stop == std::string_view::npos || text[stop] != ':') {
            return open;
        }
        endTag.append(text, nameStart, stop + 1 - nameStart);
        nameStart = stop + 1;
        if (!text.substr(nameStart).starts_with(kName)) {
            return open;
        }
    }
    endTag.append(kName).append(">");
    const std::size_t end = search.behindLast(endTag, nameStart + kName.size());
    return end == std::string_view::npos ? open : end;
}

} // namespace

std::optional<SignatureRow> signatureRow(std::string_view text, std::uint32_t start,
                                         std::uint32_t length, WorkAccount* account, LogBase& log) {
    Search search{text, account, log};
    SignatureRow row;
    std::size_t end = static_cast<std::size_t>(start) + length;
    // A single white space character between two signatures ends the row.
    for (int i = 0; end < text.size() && text[end] == '<'; ++i) {
        const std::size_t next = endOfSignature(search, end);
        if (search.refused) {
            return std::nullopt;
        }
        if (next == end) {
            break;
        }
        if (i == kMostFollowing) {
            row.more = true;
            break;
        }
        end = next;
    }
    row.length = static_cast<std::uint32_t>(end - start);
    return row;
}

} // namespace vantrel::dsig
