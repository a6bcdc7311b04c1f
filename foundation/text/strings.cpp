// SPDX-License-Identifier: MIT
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

namespace {

// memmem prepares a table before it searches, which costs more than looking at a short text does.
constexpr std::size_t kShortText = 256;
// In longer ones as many places are looked at before the search is left to it: its cost is linear
// whatever they hold, and most texts that are looked for are not there, nor their first letter.
constexpr std::size_t kPlacesTried = 16;

// The first occurrence at one of the first `places` where the first letter stands. Null where that
// is the end of the text; otherwise `from` := the offset that was come to.
const char* findAtFirstLetter(std::string_view text, std::string_view needle, std::size_t places,
                              std::size_t& from) noexcept {
    const char* at = text.data();
    const char* const behindStarts = text.data() + (text.size() - needle.size()) + 1;
    from = std::string_view::npos;
    while (at != behindStarts) {
        at = static_cast<const char*>(
            std::memchr(at, needle.front(), static_cast<std::size_t>(behindStarts - at)));
        if (at == nullptr || std::memcmp(at, needle.data(), needle.size()) == 0) {
            return at;
        }
        ++at;
        if (--places == 0) {
            from = static_cast<std::size_t>(at - text.data());
            break;
        }
    }
    return nullptr;
}

// `needle` has at least two letters, and is no longer than the text.
const void* findLonger(std::string_view text, std::string_view needle) noexcept {
    std::size_t from = 0;
    const std::size_t places = text.size() <= kShortText ? text.size() : kPlacesTried;
    const char* const found = findAtFirstLetter(text, needle, places, from);
    if (found != nullptr || from == std::string_view::npos) {
        return found;
    }
    return memmem(text.data() + from, text.size() - from, needle.data(), needle.size());
}

// Where one letter occurs next, found anew only once the search has passed it.
class NextLetter {
public:
    NextLetter(std::string_view text, char letter) noexcept : m_text(text), m_letter(letter) {}

    // The first place at `from` or behind it; npos without one.
    [[nodiscard]] std::size_t at(std::size_t from) noexcept {
        if (m_isNew || m_at < from) {
            m_at = m_text.find(m_letter, from);
            m_isNew = false;
        }
        return m_at;
    }

private:
    std::string_view m_text;
    char m_letter;
    bool m_isNew = true;
    std::size_t m_at = 0;
};

} // namespace

std::size_t findText(std::string_view text, std::string_view needle, std::size_t from) noexcept {
    if (from > text.size() || needle.size() > text.size() - from) {
        return std::string_view::npos;
    }
    if (needle.empty()) {
        return from;
    }
    const std::string_view searched = text.substr(from);
    const void* const found = needle.size() == 1
                                  ? std::memchr(searched.data(), needle.front(), searched.size())
                                  : findLonger(searched, needle);
    return found == nullptr
               ? std::string_view::npos
               : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

std::size_t findTextNoCase(std::string_view text, std::string_view needle,
                           std::size_t from) noexcept {
    if (from > text.size() || needle.size() > text.size() - from) {
        return std::string_view::npos;
    }
    if (needle.empty()) {
        return from;
    }
    NextLetter lower(text, toLowerAscii(needle.front()));
    NextLetter upper(text, toUpperAscii(needle.front()));
    for (std::size_t at = from; at <= text.size() - needle.size(); ++at) {
        at = std::min(lower.at(at), upper.at(at));
        if (at > text.size() - needle.size()) {
            break;
        }
        if (equalsNoCase(text.substr(at, needle.size()), needle)) {
            return at;
        }
    }
    return std::string_view::npos;
}

bool equalsNoCase(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return toLowerAscii(a) == toLowerAscii(b); });
}

bool isBlank(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), isSpaceAscii);
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
