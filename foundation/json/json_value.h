// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_JSON_JSON_VALUE_H
#define FOUNDATION_JSON_JSON_VALUE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::json {

// Deepest nesting of arrays and objects that is read.
inline constexpr std::size_t kMaxJsonDepth = 200;

struct JsonMember;

// One JSON value (RFC 8259) with all that is in it. Numbers keep their text, so none is rounded.
// Members of an object keep their order; of two with one name the first counts. Memory errors while
// a value grows are thrown as std::bad_alloc.
class JsonValue final {
public:
    enum class Kind : std::uint8_t { Null, False, True, Number, String, Array, Object };

    // Null, and empty of another kind.
    JsonValue() noexcept;
    explicit JsonValue(Kind kind) noexcept;
    JsonValue(const JsonValue& other);
    JsonValue(JsonValue&& other) noexcept;
    JsonValue& operator=(const JsonValue& other);
    JsonValue& operator=(JsonValue&& other) noexcept;
    ~JsonValue();
    [[nodiscard]] static JsonValue ofText(std::string text) noexcept;
    // `number` must be the text of a JSON number.
    [[nodiscard]] static JsonValue ofNumberText(std::string_view number);
    [[nodiscard]] static JsonValue ofInteger(std::int64_t number);
    [[nodiscard]] static JsonValue ofBool(bool value) noexcept;

    [[nodiscard]] Kind kind() const noexcept { return m_kind; }
    [[nodiscard]] bool isObject() const noexcept { return m_kind == Kind::Object; }
    [[nodiscard]] bool isArray() const noexcept { return m_kind == Kind::Array; }
    // Text of a string, literal of a number; empty for the others.
    [[nodiscard]] std::string_view text() const noexcept { return m_text; }
    // False when it is no number, or none that fits without rounding.
    [[nodiscard]] bool integer(std::int64_t& out) const noexcept;

    // Elements of an array; empty for the others.
    [[nodiscard]] const std::vector<JsonValue>& elements() const noexcept { return m_elements; }
    [[nodiscard]] std::vector<JsonValue>& elements() noexcept { return m_elements; }
    // Members of an object; empty for the others.
    [[nodiscard]] const std::vector<JsonMember>& members() const noexcept { return m_members; }
    [[nodiscard]] std::vector<JsonMember>& members() noexcept { return m_members; }
    // Null when absent.
    [[nodiscard]] const JsonValue* find(std::string_view name) const noexcept;
    [[nodiscard]] JsonValue* find(std::string_view name) noexcept;

private:
    Kind m_kind = Kind::Null;
    std::string m_text;
    std::vector<JsonValue> m_elements;
    std::vector<JsonMember> m_members;
};

struct JsonMember {
    std::string name;
    JsonValue value;
};

// Reads one JSON text. On failure `value` is unchanged and `faultAt` is the byte at which the text
// stops being JSON (or its length, when it ends too early or memory runs out).
[[nodiscard]] bool parseJson(std::string_view text, JsonValue& value,
                             std::size_t& faultAt) noexcept;

} // namespace vantrel::json

#endif
