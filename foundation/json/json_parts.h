// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_JSON_JSON_PARTS_H
#define FOUNDATION_JSON_JSON_PARTS_H

#include "foundation/json/json_tokens.h"
#include "foundation/text/StringBuffer.h"

#include <cstddef>
#include <string_view>

namespace vantrel::json {

// Goes through the members of one object, or the elements of one array, and hands each out as the
// text that it is, unread: for texts of which little is wanted, where values of all the rest would
// take many times the memory. What stands before a fault is handed out before the fault shows. The
// text must outlive it.
class JsonParts final {
public:
    // `text`: one JSON text. Anything but an object or array fails at once.
    explicit JsonParts(std::string_view text) noexcept;

    // The next part: its name, empty in an array, and its value, a view into the text without white
    // space around it. False at the end and at a fault. May throw std::bad_alloc.
    [[nodiscard]] bool next(StringBuffer& name, std::string_view& value);

    // Once next() was false: whether the whole text was JSON; else where it stops being so.
    [[nodiscard]] bool failed() const noexcept { return m_failed; }
    [[nodiscard]] std::size_t faultAt() const noexcept { return m_faultAt; }

private:
    // `valid`: how much of it is UTF-8.
    JsonParts(std::string_view text, std::size_t valid) noexcept;
    [[nodiscard]] bool readPart(StringBuffer& name, std::string_view& value);
    // Always false, for next() to return.
    bool end(bool failed) noexcept;

    JsonTokens m_tokens;
    bool m_isUtf8;       // all of the text
    char m_close = '\0'; // of the object or array; NUL before it and behind
    bool m_first = true;
    bool m_failed = false;
    std::size_t m_faultAt = 0;
};

} // namespace vantrel::json

#endif
