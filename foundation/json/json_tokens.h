// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_JSON_JSON_TOKENS_H
#define FOUNDATION_JSON_JSON_TOKENS_H

#include "foundation/json/json_value.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace vantrel {
class StringBuffer;
}

namespace vantrel::json {

// A forward cursor over the tokens of a JSON text (RFC 8259), which whoever makes something of one
// reads through. The text must outlive it, and be valid UTF-8. Functions that return false leave
// the cursor where the text stops being JSON. Those that fill a StringBuffer may throw
// std::bad_alloc.
class JsonTokens final {
public:
    explicit JsonTokens(std::string_view text) noexcept : m_text(text) {}

    [[nodiscard]] bool atEnd() const noexcept { return m_at == m_text.size(); }
    [[nodiscard]] std::size_t position() const noexcept { return m_at; }
    // What was read since `start`, an earlier position.
    [[nodiscard]] std::string_view since(std::size_t start) const noexcept {
        return m_text.substr(start, m_at - start);
    }

    // The next character, NUL at the end.
    [[nodiscard]] char peek() const noexcept { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    [[nodiscard]] bool take(char c) noexcept;
    [[nodiscard]] bool takeWord(std::string_view word) noexcept;
    void skipSpace() noexcept;

    // A string without an escape, as it stands there; the cursor does not move for any other.
    [[nodiscard]] bool readPlainString(std::string_view& text) noexcept;
    // Any string; what it stands for is appended to `out`, where that is not null.
    [[nodiscard]] bool readString(StringBuffer* out);
    // A number, as it is written.
    [[nodiscard]] bool readNumber(std::string_view& number) noexcept;
    // Any value with all that is in it, checked and passed over. Needs no memory, and no stack for
    // the depth, which ends at kMaxJsonDepth.
    [[nodiscard]] bool passValue();

private:
    // Where what stands for itself within a string ends.
    [[nodiscard]] std::size_t endOfRun() const noexcept;
    [[nodiscard]] bool readEscape(StringBuffer* out);
    [[nodiscard]] bool readUnicodeEscape(StringBuffer* out);
    [[nodiscard]] bool readHex4(char32_t& unit) noexcept;
    [[nodiscard]] bool takeDigits() noexcept;
    [[nodiscard]] bool passScalar();
    [[nodiscard]] bool passName();
    [[nodiscard]] bool passEnds(const std::array<char, kMaxJsonDepth>& open, std::size_t& depth);

    std::string_view m_text;
    std::size_t m_at = 0;
};

} // namespace vantrel::json

#endif
