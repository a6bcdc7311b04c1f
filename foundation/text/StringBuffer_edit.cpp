// SPDX-License-Identifier: MIT
// The operations of StringBuffer that cut, replace and divide. Each leaves the storage shared when
// there is nothing to change.
#include "foundation/text/StringBuffer.h"
#include "foundation/text/arrays.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

namespace vantrel {

using text::findText;
using text::kNotFound;
using text::viewOf;

namespace {

// A stretch of text between two markers.
struct Delimited {
    std::size_t start = kNotFound; // of the start marker
    std::size_t inner = 0;         // after it
    std::size_t innerEnd = 0;      // of the end marker
    std::size_t end = 0;           // after it
};

bool findDelimited(std::string_view text, std::string_view startMarker, std::string_view endMarker,
                   std::size_t from, Delimited& out) noexcept {
    if (startMarker.empty() || endMarker.empty()) {
        return false;
    }
    out.start = findText(text, startMarker, from);
    if (out.start == kNotFound) {
        return false;
    }
    out.inner = out.start + startMarker.size();
    out.innerEnd = findText(text, endMarker, out.inner);
    if (out.innerEnd == kNotFound) {
        return false;
    }
    out.end = out.innerEnd + endMarker.size();
    return true;
}

// Membership of bytes in a small set.
class ByteSet final {
public:
    explicit ByteSet(std::string_view members) noexcept {
        for (const char c : members) {
            m_member[static_cast<unsigned char>(c)] = true;
        }
    }
    [[nodiscard]] bool has(char c) const noexcept {
        return m_member[static_cast<unsigned char>(c)];
    }

private:
    std::array<bool, 256> m_member{};
};

// Deletes what `drop(previous kept byte, byte)` says, in place.
template <class Drop>
void removeWhere(SharedBytes& bytes, std::size_t firstDropped, Drop drop) noexcept {
    const std::uint32_t size = bytes.size();
    char* const data = bytes.mutableData();
    if (data == nullptr) {
        return;
    }
    std::size_t out = firstDropped;
    for (std::size_t in = firstDropped; in < size; ++in) {
        const char c = data[in];
        data[out] = c;
        out += drop(c, in + 1 < size ? data[in + 1] : '\0') ? 0 : 1;
    }
    bytes.truncate(static_cast<std::uint32_t>(out));
}

} // namespace

bool StringBuffer::getDelimited(const char* start, const char* end, bool withMarkers,
                                StringBuffer& out) const {
    Delimited found;
    if (!findDelimited(view(), viewOf(start), viewOf(end), 0, found)) {
        return false;
    }
    return withMarkers ? out.setView(view().substr(found.start, found.end - found.start))
                       : out.setView(view().substr(found.inner, found.innerEnd - found.inner));
}

bool StringBuffer::removeDelimited(const char* start, const char* end, bool withStart,
                                   bool withEnd) {
    return removeDelimitedIfContains(start, end, "", withStart, withEnd);
}

bool StringBuffer::removeDelimitedIfContains(const char* start, const char* end,
                                             const char* required, bool withStart, bool withEnd) {
    Delimited found;
    std::size_t from = 0;
    while (findDelimited(view(), viewOf(start), viewOf(end), from, found)) {
        const std::string_view inner = view().substr(found.inner, found.innerEnd - found.inner);
        if (findText(inner, viewOf(required)) != kNotFound) {
            const std::size_t first = withStart ? found.start : found.inner;
            const std::size_t last = withEnd ? found.end : found.innerEnd;
            return m_bytes.splice(first, last - first, {});
        }
        from = found.end;
    }
    return false;
}

bool StringBuffer::removeBefore(const char* marker, bool removeMarkerToo) {
    const std::string_view text = viewOf(marker);
    const std::size_t at = findText(view(), text);
    return at != kNotFound && m_bytes.splice(0, removeMarkerToo ? at + text.size() : at, {});
}

bool StringBuffer::chopAtSubstr(const char* marker, bool keepMarker) {
    const std::string_view text = viewOf(marker);
    const std::size_t at = findText(view(), text);
    if (at == kNotFound || text.empty()) {
        return false;
    }
    m_bytes.truncate(static_cast<std::uint32_t>(keepMarker ? at + text.size() : at));
    return true;
}

void StringBuffer::removeChunk(std::uint32_t start, std::uint32_t count) {
    if (start < getSize() && count != 0) {
        static_cast<void>(m_bytes.splice(start, count, {}));
    }
}

void StringBuffer::shorten(std::uint32_t count) {
    m_bytes.truncate(count >= getSize() ? 0 : getSize() - count);
}

bool StringBuffer::replaceFirstOccurance(const char* find, const char* replacement,
                                         bool ignoreCase) {
    const std::string_view wanted = viewOf(find);
    if (wanted.empty()) {
        return false;
    }
    const std::size_t at =
        ignoreCase ? text::findTextNoCase(view(), wanted) : findText(view(), wanted);
    StringBuffer copy; // the replacement may be a part of this text
    return at != kNotFound && copy.append(replacement) &&
           m_bytes.splice(at, wanted.size(), copy.view());
}

std::uint32_t StringBuffer::replaceAllOccurances(const char* find, const char* replacement) {
    const std::string_view wanted = viewOf(find);
    const std::string_view put = viewOf(replacement);
    std::size_t at = wanted.empty() ? kNotFound : findText(view(), wanted);
    if (at == kNotFound) {
        return 0;
    }
    const std::string_view text = view();
    SharedBytes result;
    std::uint32_t count = 0;
    std::size_t copied = 0;
    bool ok = result.reserve(put.size() <= wanted.size() ? text.size() : at);
    while (ok && at != kNotFound) {
        ok = result.append(text.data() + copied, at - copied) &&
             result.append(put.data(), put.size());
        ++count;
        copied = at + wanted.size();
        at = findText(text, wanted, copied);
    }
    if (!ok || !result.append(text.data() + copied, text.size() - copied)) {
        return 0;
    }
    m_bytes.swap(result);
    return count;
}

void StringBuffer::replaceCharUtf8(char find, char replacement) {
    const char set[] = {find, '\0'};
    const std::size_t first = view().find(find);
    if (find == '\0' || first == kNotFound) {
        return;
    }
    replaceChar5(set, replacement);
}

void StringBuffer::replaceChar5(const char* set, char replacement) {
    const ByteSet members(viewOf(set));
    const std::string_view text = view();
    const auto first =
        std::find_if(text.begin(), text.end(), [&](char c) { return members.has(c); });
    if (first == text.end()) {
        return;
    }
    const std::ptrdiff_t at = first - text.begin();
    const std::uint32_t size = getSize();
    if (char* const data = m_bytes.mutableData(); data != nullptr) {
        std::replace_if(
            data + at, data + size, [&](char c) { return members.has(c); }, replacement);
    }
}

void StringBuffer::removeCharOccurances(char c) { removeCharsOf({&c, 1}); }

void StringBuffer::removeCharsOf(std::string_view set) {
    const ByteSet members(set);
    const std::string_view text = view();
    const auto first =
        std::find_if(text.begin(), text.end(), [&](char c) { return members.has(c); });
    if (first != text.end()) {
        removeWhere(m_bytes, static_cast<std::size_t>(first - text.begin()),
                    [&](char c, char /*next*/) { return members.has(c); });
    }
}

void StringBuffer::trim2() {
    const std::string_view rest = text::trimmed(view());
    if (rest.size() != getSize()) {
        static_cast<void>(setView(rest));
    }
}

void StringBuffer::trimInsideSpaces() {
    const std::size_t first = findText(view(), "  ");
    if (first != kNotFound) {
        removeWhere(m_bytes, first, [](char c, char next) { return c == ' ' && next == ' '; });
    }
}

void StringBuffer::toLowerCase() {
    const std::string_view text = view();
    const auto first =
        std::find_if(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    if (first == text.end()) {
        return;
    }
    const std::ptrdiff_t at = first - text.begin();
    const std::uint32_t size = getSize();
    if (char* const data = m_bytes.mutableData(); data != nullptr) {
        std::transform(data + at, data + size, data + at, text::toLowerAscii);
    }
}

void StringBuffer::toLF() {
    const std::size_t first = view().find('\r');
    if (first == kNotFound) {
        return;
    }
    removeWhere(m_bytes, first, [](char c, char next) { return c == '\r' && next == '\n'; });
    replaceCharUtf8('\r', '\n');
}

void StringBuffer::toCRLF() {
    const std::string_view text = view();
    SharedBytes result;
    bool ok = true;
    std::size_t copied = 0;
    std::size_t at = text.find_first_of("\r\n");
    if (at == kNotFound) {
        return;
    }
    while (ok && at != kNotFound) {
        ok = result.append(text.data() + copied, at - copied) && result.append("\r\n", 2);
        copied = at + (text.substr(at, 2) == "\r\n" ? 2 : 1);
        at = text.find_first_of("\r\n", copied);
    }
    if (ok && result.append(text.data() + copied, text.size() - copied)) {
        m_bytes.swap(result);
    }
}

bool StringBuffer::split(ExtPtrArraySb& out, char delimiter, bool trimPieces,
                         bool dropEmpty) const {
    const std::string_view text = view();
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(delimiter, start), text.size());
        std::string_view piece = text.substr(start, end - start);
        if (trimPieces) {
            piece = text::trimmed(piece);
        }
        if (!(dropEmpty && piece.empty()) && !out.appendView(piece)) {
            return false;
        }
        start = end + 1;
    }
    return true;
}

bool StringBuffer::tokenize(ExtPtrArray& out, const char* delimiters) const {
    const std::string_view text = view();
    const ByteSet stops(viewOf(delimiters));
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = start + 1;
        if (!stops.has(text[start])) {
            while (end < text.size() && !stops.has(text[end])) {
                ++end;
            }
        }
        auto token = std::unique_ptr<StringBuffer>(new (std::nothrow) StringBuffer);
        if (!token || !token->appendView(text.substr(start, end - start)) ||
            !out.appendObject(token.release())) {
            return false;
        }
        start = end;
    }
    return true;
}

} // namespace vantrel
