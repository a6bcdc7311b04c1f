#include "foundation/text/strings.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vantrel {

std::uint32_t vlStrLen(const char* text) noexcept {
    return text == nullptr ? 0 : static_cast<std::uint32_t>(std::strlen(text));
}

const char* vlStrChr(const char* text, char c) noexcept {
    return text == nullptr ? nullptr : std::strchr(text, c);
}

const char* vlStrStr(const char* text, const char* needle) noexcept {
    return text == nullptr || needle == nullptr ? nullptr : std::strstr(text, needle);
}

int vlStrNCmp(const char* left, const char* right, std::size_t count) noexcept {
    if (left == nullptr || right == nullptr) {
        return left == nullptr ? -1 : 1;
    }
    return std::strncmp(left, right, count);
}

namespace text {

std::size_t findText(std::string_view text, std::string_view needle, std::size_t from) noexcept {
    if (from > text.size() || needle.size() > text.size() - from) {
        return std::string_view::npos;
    }
    if (needle.empty()) {
        return from;
    }
    const char* const start = text.data() + from;
    const std::size_t length = text.size() - from;
    const void* const found = needle.size() == 1
                                  ? std::memchr(start, needle.front(), length)
                                  : memmem(start, length, needle.data(), needle.size());
    return found == nullptr
               ? std::string_view::npos
               : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

std::size_t findTextNoCase(std::string_view text, std::string_view needle,
                           std::size_t from) noexcept {
    if (from > text.size()) {
        return std::string_view::npos;
    }
    const auto at = std::search(
        text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), needle.begin(), needle.end(),
        [](char left, char right) { return toLowerAscii(left) == toLowerAscii(right); });
    return at == text.end() && !needle.empty() ? std::string_view::npos
                                               : static_cast<std::size_t>(at - text.begin());
}

bool equalsNoCase(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return toLowerAscii(a) == toLowerAscii(b); });
}

std::string_view trimmed(std::string_view text) noexcept {
    while (!text.empty() && isSpaceAscii(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpaceAscii(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace text
} // namespace vantrel
