// SPDX-License-Identifier: MIT
#include "foundation/text/StringBuffer.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace vantrel {

using text::findText;
using text::kNotFound;
using text::viewOf;

const char* StringBuffer::pCharAt(std::uint32_t index) const noexcept {
    return index < getSize() ? getString() + index : nullptr;
}

bool StringBuffer::append(const char* text) { return appendView(viewOf(text)); }

bool StringBuffer::append(const StringBuffer& text) {
    if (isEmpty() && !text.isEmpty() && m_bytes.capacity() < text.getSize()) {
        m_bytes = text.m_bytes; // shared until one of the two changes
        return true;
    }
    return appendView(text.view());
}

bool StringBuffer::append(int number) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return appendView({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

bool StringBuffer::append2(const char* first, const char* second) {
    return append3(first, second, nullptr);
}

bool StringBuffer::append3(const char* first, const char* second, const char* third) {
    const std::string_view pieces[] = {viewOf(first), viewOf(second), viewOf(third)};
    if (m_bytes.holds(first) || m_bytes.holds(second) || m_bytes.holds(third)) {
        StringBuffer joined; // the first append could move the pieces that follow it
        return joined.append3(first, second, third) && appendView(joined.view());
    }
    const std::uint32_t size = getSize();
    for (const std::string_view piece : pieces) {
        if (!appendView(piece)) {
            m_bytes.truncate(size);
            return false;
        }
    }
    return true;
}

bool StringBuffer::appendN(const char* text, std::uint32_t count) {
    return text == nullptr ? count == 0 : appendView({text, count});
}

bool StringBuffer::appendChar(char c) { return m_bytes.append(&c, 1); }

bool StringBuffer::appendView(std::string_view text) {
    return m_bytes.append(text.data(), text.size());
}

bool StringBuffer::prepend(const char* text) {
    StringBuffer copy; // the argument may be a part of this text
    return copy.append(text) && insertAt(copy, 0);
}

bool StringBuffer::insertAt(const StringBuffer& text, std::uint32_t position) {
    if (position > getSize()) {
        return false;
    }
    const SharedBytes source = text.m_bytes; // keeps the bytes apart when a text goes into itself
    return m_bytes.splice(position, 0, source.text());
}

bool StringBuffer::setString(const char* text) { return setView(viewOf(text)); }

bool StringBuffer::setString(const StringBuffer& text) {
    m_bytes = text.m_bytes;
    return true;
}

bool StringBuffer::setView(std::string_view text) {
    if (m_bytes.capacity() >= text.size() && !m_bytes.holds(text.data())) {
        m_bytes.truncate(0);
        return appendView(text);
    }
    SharedBytes fresh;
    if (!fresh.append(text.data(), text.size())) {
        return false;
    }
    m_bytes.swap(fresh);
    return true;
}

bool StringBuffer::reserve(std::uint32_t capacity) { return m_bytes.reserve(capacity); }

void StringBuffer::clear() noexcept { m_bytes.clear(); }

void StringBuffer::secureClear() noexcept { m_bytes.secureClear(); }

void StringBuffer::takeSb(StringBuffer& other) noexcept {
    if (this != &other) {
        m_bytes = std::move(other.m_bytes);
    }
}

void StringBuffer::takeFromDb(DataBuffer& data) noexcept {
    m_bytes = data.storage();
    data.clear();
}

bool StringBuffer::equals(const char* text) const noexcept { return view() == viewOf(text); }

bool StringBuffer::equals(const StringBuffer& text) const noexcept {
    return sharesStorageWith(text) || view() == text.view();
}

bool StringBuffer::beginsWith(const char* prefix) const noexcept {
    return view().starts_with(viewOf(prefix));
}

bool StringBuffer::endsWith(const char* suffix) const noexcept {
    return view().ends_with(viewOf(suffix));
}

bool StringBuffer::containsSubstring(const char* text) const noexcept {
    return findText(view(), viewOf(text)) != kNotFound;
}

bool StringBuffer::containsSubstringNoCase(const char* text) const noexcept {
    return text::findTextNoCase(view(), viewOf(text)) != kNotFound;
}

const char* StringBuffer::findSubstr(const char* text) const noexcept {
    const std::size_t at = findText(view(), viewOf(text));
    return at == kNotFound ? nullptr : getString() + at;
}

std::int32_t StringBuffer::indexOf(const char* text) const noexcept {
    const std::size_t at = findText(view(), viewOf(text));
    // An index that the result type cannot express counts as absent.
    return at > 0x7FFFFFFFU ? -1 : static_cast<std::int32_t>(at);
}

bool StringBuffer::matches(const char* pattern, bool caseSensitive) const noexcept {
    const auto find = caseSensitive ? &text::findText : &text::findTextNoCase;
    const std::string_view whole = view();
    std::string_view rest = viewOf(pattern);
    std::size_t at = 0;
    for (bool first = true;; first = false) {
        const std::size_t star = rest.find('*');
        const std::string_view piece = rest.substr(0, star);
        if (star == kNotFound) { // the last piece ends the text; the only piece is all of it
            const bool fits =
                first ? whole.size() == piece.size() : whole.size() - at >= piece.size();
            return fits && find(whole, piece, whole.size() - piece.size()) != kNotFound;
        }
        const std::size_t found = find(first ? whole.substr(0, piece.size()) : whole, piece, at);
        if (found == kNotFound) {
            return false;
        }
        at = found + piece.size();
        rest.remove_prefix(star + 1);
    }
}

bool StringBuffer::isHexidecimal() const noexcept {
    const std::string_view text = view();
    return !text.empty() && std::all_of(text.begin(), text.end(),
                                        [](char c) { return text::hexDigitValue(c) >= 0; });
}

} // namespace vantrel
