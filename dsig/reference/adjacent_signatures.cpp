#include "dsig/reference/adjacent_signatures.h"

#include <string>

namespace vantrel::dsig {

namespace {

constexpr int kMostFollowing = 100;
constexpr std::string_view kName = "Signature";

// Where the element that begins at the '<' at `open` ends by this rule; `open` when it is no
// signature or has no end tag.
std::size_t endOfSignature(std::string_view text, std::size_t open) {
    std::size_t nameStart = open + 1;
    std::string endTag = "</";
    if (!text.substr(nameStart).starts_with(kName)) {
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
    const std::size_t last = text.rfind(endTag);
    if (last == std::string_view::npos || last < nameStart + kName.size()) {
        return open;
    }
    return last + endTag.size();
}

} // namespace

std::uint32_t lengthWithFollowingSignatures(std::string_view text, std::uint32_t start,
                                            std::uint32_t length) {
    std::size_t end = static_cast<std::size_t>(start) + length;
    for (int i = 0; i < kMostFollowing && end < text.size() && text[end] == '<'; ++i) {
        const std::size_t next = endOfSignature(text, end);
        if (next == end) {
            break;
        }
        end = next;
    }
    return static_cast<std::uint32_t>(end - start);
}

} // namespace vantrel::dsig
