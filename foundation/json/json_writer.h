// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_JSON_JSON_WRITER_H
#define FOUNDATION_JSON_JSON_WRITER_H

#include <cstdint>
#include <limits>
#include <string_view>

namespace vantrel {

class StringBuffer;

namespace json {

class JsonValue;

// Writes one JSON text (RFC 8259) piece by piece, without white space, at the end of a buffer. It
// sets the commas; that keys and values alternate and that every begin has its end is the caller's
// part. Bytes that are no UTF-8 become U+FFFD. When memory runs out the text is cut off and ok() is
// false.
class JsonWriter final {
public:
    explicit JsonWriter(StringBuffer& out) noexcept : m_out(out) {}
    // `most`: bytes that the buffer may hold; with more the text is cut off, too.
    JsonWriter(StringBuffer& out, std::uint64_t most) noexcept : m_out(out), m_most(most) {}
    JsonWriter(const JsonWriter&) = delete;
    JsonWriter& operator=(const JsonWriter&) = delete;

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(std::string_view name);

    void text(std::string_view value);
    void integer(std::int64_t value);
    void boolean(bool value);
    void null();
    // A whole value, and one whose JSON text stands ready.
    void value(const JsonValue& value);
    void raw(std::string_view json);

    // A key and its value.
    void textMember(std::string_view name, std::string_view value);
    void integerMember(std::string_view name, std::int64_t value);
    void booleanMember(std::string_view name, bool value);

    [[nodiscard]] bool ok() const noexcept { return m_ok; }
    // Whether it was the limit that cut the text off.
    [[nodiscard]] bool passedLimit() const noexcept { return m_passedLimit; }

private:
    void open(char bracket);
    void close(char bracket);
    void divide();
    void put(std::string_view piece);
    void quote(std::string_view text);
    // A string behind its comma, and `behind` behind it.
    void putQuoted(std::string_view text, std::string_view behind);
    // A name and a value, `quote` around it, where both are short and plain; false where not.
    [[nodiscard]] bool putMember(std::string_view name, std::string_view quote,
                                 std::string_view value);

    StringBuffer& m_out;
    std::uint64_t m_most = std::numeric_limits<std::uint64_t>::max();
    bool m_needsComma = false;
    bool m_ok = true;
    bool m_passedLimit = false;
};

} // namespace json
} // namespace vantrel

#endif
