// SPDX-License-Identifier: MIT
#include "foundation/json/json_value.h"

#include <array>
#include <charconv>
#include <utility>

namespace vantrel::json {

// Here, where the type of its members is complete.
JsonValue::JsonValue() noexcept = default;
JsonValue::JsonValue(Kind kind) noexcept : m_kind(kind) {}
JsonValue::JsonValue(const JsonValue& other) = default;
JsonValue::JsonValue(JsonValue&& other) noexcept = default;
JsonValue& JsonValue::operator=(const JsonValue& other) = default;
JsonValue& JsonValue::operator=(JsonValue&& other) noexcept = default;
JsonValue::~JsonValue() = default;

JsonValue JsonValue::ofText(std::string text) noexcept {
    JsonValue value(Kind::String);
    value.m_text = std::move(text);
    return value;
}

JsonValue JsonValue::ofNumberText(std::string_view number) {
    JsonValue value = ofText(std::string(number));
    value.m_kind = Kind::Number;
    return value;
}

JsonValue JsonValue::ofInteger(std::int64_t number) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return ofNumberText({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

JsonValue JsonValue::ofBool(bool value) noexcept {
    return JsonValue(value ? Kind::True : Kind::False);
}

bool JsonValue::integer(std::int64_t& out) const noexcept {
    const std::string_view digits = text();
    const char* const end = digits.data() + digits.size();
    std::int64_t number = 0;
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (m_kind != Kind::Number || error != std::errc() || stop != end) {
        return false;
    }
    out = number;
    return true;
}

const JsonValue* JsonValue::find(std::string_view name) const noexcept {
    for (const JsonMember& member : m_members) {
        if (member.name == name) {
            return &member.value;
        }
    }
    return nullptr;
}

JsonValue* JsonValue::find(std::string_view name) noexcept {
    return const_cast<JsonValue*>(static_cast<const JsonValue*>(this)->find(name));
}

} // namespace vantrel::json
