// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_PARSE_FOLLOWER_H
#define FOUNDATION_XML_SCAN_PARSE_FOLLOWER_H

#include <cstdint>

namespace vantrel::xml {

class XmlDocument;

// Works on a document while it is read, in the thread that reads it. Only documents without a
// document type declaration are followed; one that turns out not to be well-formed is never given
// to anybody.
class ParseFollower {
public:
    ParseFollower() noexcept = default;
    ParseFollower(const ParseFollower&) = delete;
    ParseFollower& operator=(const ParseFollower&) = delete;
    virtual ~ParseFollower() = default;

    // All before `offset`, where a start tag begins, is known: the elements that begin there with
    // one behind them, the declarations, the places that are untidy, and whether there is a
    // carriage return. An element that has not ended yet ends at kStillOpen | its id. What the
    // document keeps in arrays may stand elsewhere at the next call; names, prefixes and values do
    // not move. May throw std::bad_alloc.
    virtual void reached(const XmlDocument& document, std::uint32_t offset) = 0;
};

// No offset of a document is as large (limits.h).
inline constexpr std::uint32_t kStillOpen = 0x80000000;

} // namespace vantrel::xml

#endif
