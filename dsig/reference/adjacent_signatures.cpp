#include "dsig/reference/adjacent_signatures.h"

#include "foundation/text/strings.h"

#include <string>

namespace vantrel::dsig {

namespace {

// Each further element costs a search through the rest of the text, so their number bounds the
// work.
constexpr int kMostFollowing = 100;
constexpr std::string_view kName = "Signature";

// Behind the last `endTag` at or after `from`; npos when there is none. Searching forward is the
// faster way: whatever is found lies behind all that the next element can be.
std::size_t behindLast(std::string_view text, std::string_view endTag, std::size_t from) {
    std::size_t end = std::string_view::npos;
    for (std::size_t at = text::findText(text, endTag, from); at != std::string_view::npos;
         at = text::findText(text, endTag, end)) {
        end = at + endTag.size();
    }
    return end;
}

// Where the element that begins at the '<' at `open` ends by this rule; `open` when it is no
// signature or has no end tag.
std::size_t endOfSignature(std::string_view text, std::size_t open) {
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
    const std::size_t end = behindLast(text, endTag, nameStart + kName.size());
    return end == std::string_view::npos ? open : end;
}

} // namespace

std::uint32_t lengthWithFollowingSignatures(std::string_view text, std::uint32_t start,
                                            std::uint32_t length, bool& more) {
    std::size_t end = static_cast<std::size_t>(start) + length;
    more = false;
    // A single white space character between two signatures ends the row.
    for (int i = 0; end < text.size() && text[end] == '<'; ++i) {
        const std::size_t next = endOfSignature(text, end);
        if (next == end) {
            break;
        }
        if (i == kMostFollowing) {
            more = true;
            break;
        }
        end = next;
    }
    return static_cast<std::uint32_t>(end - start);
}

} // namespace vantrel::dsig
