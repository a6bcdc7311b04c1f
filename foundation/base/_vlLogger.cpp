// SPDX-License-Identifier: MIT
#include "foundation/base/_vlLogger.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel {

namespace {

// Written where the text ends before its operation does.
constexpr std::string_view kCutLine = "The log ends here: it has reached its limit (logOctets).\n";
constexpr std::uint32_t kHighestLimit = 0x7FFFFFFF;

constexpr std::uint32_t kFirstRoom = 960; // bytes; with its header a block that malloc has at hand

constexpr std::string_view kSpaces = "                                        ";
constexpr std::string_view kMark = ": "; // between key and value; contexts have its first alone

bool isControl(char c) noexcept { return static_cast<unsigned char>(c) < 0x20 || c == '\x7F'; }

// True when one of eight bytes may be a control character. A byte above ASCII is none, but may stop
// the search as well.
bool mayHoldControl(const char* eight) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    std::uint64_t word = 0;
    std::memcpy(&word, eight, 8);
    const std::uint64_t isBelowSpace = word - kOnes * 0x20;
    const std::uint64_t isDelete = word + kOnes; // 0x7F becomes 0x80
    return ((isBelowSpace | isDelete | word) & kOnes * 0x80) != 0;
}

// Number of bytes at the front that stand as they are.
std::size_t plainPrefix(std::string_view value) noexcept {
    std::size_t at = 0;
    while (value.size() - at >= 8 && !mayHoldControl(value.data() + at)) {
        at += 8;
    }
    while (at < value.size() && !isControl(value[at])) {
        ++at;
    }
    return at;
}

// Copies a short text. The two copies of a size may overlap.
[[gnu::always_inline]] inline char* putShort(char* at, std::string_view text) noexcept {
    const std::size_t size = text.size();
    if (size - 8 <= 8) {
        std::memcpy(at, text.data(), 8);
        std::memcpy(at + size - 8, text.data() + size - 8, 8);
    } else if (size - 16 <= 16) {
        std::memcpy(at, text.data(), 16);
        std::memcpy(at + size - 16, text.data() + size - 16, 16);
    } else if (size != 0) { // a view of nothing may be null, which memcpy() does not take
        std::memcpy(at, text.data(), size);
    }
    return at + size;
}

#if defined(__SSE2__)
// As putPlain for 16 bytes and more. The last sixteen may be copied twice.
[[gnu::always_inline]] inline char* putPlainBlocks(char* at, std::string_view value) noexcept {
    const __m128i space = _mm_set1_epi8(0x20);
    const __m128i deleted = _mm_set1_epi8(0x7F);
    __m128i found = _mm_setzero_si128();
    const auto put = [&](std::size_t offset) {
        __m128i block;
        std::memcpy(&block, value.data() + offset, sizeof block);
        std::memcpy(at + offset, &block, sizeof block);
        // Bytes above ASCII are below zero.
        found = _mm_or_si128(
            found, _mm_or_si128(_mm_cmplt_epi8(block, space), _mm_cmpeq_epi8(block, deleted)));
    };
    const std::size_t last = value.size() - sizeof(__m128i);
    for (std::size_t offset = 0; offset < last; offset += sizeof(__m128i)) {
        put(offset);
    }
    put(last);
    return _mm_movemask_epi8(found) == 0 ? at + value.size() : nullptr;
}
#endif

// Copies a value that stands as it is; null, with some of it copied, where it holds a control
// character or may do so.
[[gnu::always_inline]] inline char* putPlain(char* at, std::string_view value) noexcept {
#if defined(__SSE2__)
    if (value.size() >= sizeof(__m128i)) {
        return putPlainBlocks(at, value);
    }
#endif
    const char* from = value.data();
    std::size_t left = value.size();
    for (; left >= 8; left -= 8, from += 8, at += 8) {
        if (mayHoldControl(from)) {
            return nullptr;
        }
        std::memcpy(at, from, 8);
    }
    if (value.size() >= 8) {
        // The last eight, some of them once more.
        if (mayHoldControl(from + left - 8)) {
            return nullptr;
        }
        std::memcpy(at + left - 8, from + left - 8, 8);
        return at + left;
    }
    for (; left != 0; --left) {
        if (isControl(*from)) {
            return nullptr;
        }
        *at++ = *from++;
    }
    return at;
}

// The front of a value, of at most `most` bytes, that ends between two characters.
std::string_view shownPart(std::string_view value, std::size_t most) noexcept {
    if (value.size() <= most) {
        return value;
    }
    constexpr std::size_t kLongestCharacter = 4;
    std::size_t size = most;
    while (most - size < kLongestCharacter && (static_cast<unsigned char>(value[size]) >> 6) == 2) {
        --size;
    }
    return value.substr(0, size);
}

} // namespace

// One entry, put together on the stack so that the log's text grows once an entry.
class _vlLogger::Entry final {
public:
    explicit Entry(_vlLogger& log) noexcept : m_log(log) {
        add(kSpaces.substr(0, std::size_t{2} * log.m_depth));
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    ~Entry() {
        add("\n");
        flush();
    }

    void add(std::string_view piece) noexcept {
        if (piece.size() > m_room.size() - m_used) {
            flush();
            if (piece.size() > m_room.size()) {
                m_log.m_text.appendView(piece);
                return;
            }
        }
        std::copy(piece.begin(), piece.end(), m_room.begin() + static_cast<std::ptrdiff_t>(m_used));
        m_used += piece.size();
    }
    void addEscaped(std::string_view value) noexcept;
    void addLeftOut(std::size_t bytes) noexcept;
    // Where in the log's text the next piece will stand.
    [[nodiscard]] std::uint32_t position() const noexcept {
        return m_log.m_text.getSize() + static_cast<std::uint32_t>(m_used);
    }

private:
    void flush() noexcept {
        // An operation has some dozen entries; without room for them the text would grow many
        // times.
        if (m_log.m_text.isEmpty()) {
            static_cast<void>(m_log.m_text.reserve(kFirstRoom));
        }
        m_log.m_text.appendView({m_room.data(), m_used});
        m_used = 0;
    }

    _vlLogger& m_log;
    std::array<char, 512> m_room;
    std::size_t m_used = 0;
};

void _vlLogger::Entry::addEscaped(std::string_view value) noexcept {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    while (true) {
        const std::size_t plain = plainPrefix(value);
        add(value.substr(0, plain));
        if (plain == value.size()) {
            return;
        }
        switch (value[plain]) {
        case '\n': add("\\n"); break;
        case '\r': add("\\r"); break;
        case '\t': add("\\t"); break;
        default: {
            const auto code = static_cast<unsigned char>(value[plain]);
            const char escape[] = {'\\', 'x', kHex[code >> 4], kHex[code & 15]};
            add({escape, sizeof escape});
        }
        }
        value.remove_prefix(plain + 1);
    }
}

void _vlLogger::Entry::addLeftOut(std::size_t bytes) noexcept {
    if (bytes == 0) {
        return;
    }
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), bytes).ptr;
    add("... (");
    add({digits.data(), static_cast<std::size_t>(end - digits.data())});
    add(" more bytes)");
}

bool _vlLogger::putAtOnce(std::string_view key, std::size_t markSize,
                          std::string_view value) noexcept {
    // More than is written: the spaces and the mark are copied as a whole.
    char* at = m_text.freeRoom(kSpaces.size() + key.size() + kMark.size() + value.size() + 1);
    if (at == nullptr) {
        return false;
    }
    const char* const begin = at;
    std::memcpy(at, kSpaces.data(), kSpaces.size());
    at += std::min(std::size_t{2} * m_depth, kSpaces.size());
    at = putShort(at, key);
    std::memcpy(at, kMark.data(), kMark.size());
    at += markSize;
    at = putPlain(at, value);
    if (at == nullptr) {
        return false;
    }
    *at++ = '\n';
    m_text.takeRoom(static_cast<std::size_t>(at - begin));
    return true;
}

void _vlLogger::setLimit(std::uint64_t bytes) noexcept {
    m_limit = static_cast<std::uint32_t>(std::min<std::uint64_t>(bytes, kHighestLimit));
}

void _vlLogger::endText() noexcept {
    if (!m_cut) {
        m_cut = true;
        m_text.appendView(kCutLine);
    }
}

void _vlLogger::noteLateError(std::string_view text) noexcept {
    if (m_firstError.size == 0 && m_firstLateError.isEmpty()) {
        m_firstLateError.setView(text);
    }
    m_lastLateError.setView(text);
}

void _vlLogger::LogError(const char* text) {
    const std::string_view error = shownPart(text::viewOf(text), kMaxShownValue);
    if (!takes(error.size())) {
        noteLateError(error);
        return;
    }
    Entry entry(*this);
    entry.add("Error: ");
    const std::uint32_t start = entry.position();
    entry.addEscaped(error);
    m_lastError = {start, entry.position() - start};
    if (m_firstError.size == 0) {
        m_firstError = m_lastError;
    }
}

void _vlLogger::LogInfo(const char* text) {
    const std::string_view info = shownPart(text::viewOf(text), kMaxShownValue);
    if (takes(info.size()) && !putAtOnce({}, 0, info)) {
        Entry(*this).addEscaped(info);
    }
}

void _vlLogger::enterContext(const char* name) {
    const std::string_view shown = text::viewOf(name);
    if (takes(shown.size()) && !putAtOnce(shown, 1, {})) {
        Entry entry(*this);
        entry.add(shown);
        entry.add(":");
    }
    ++m_depth;
}

void _vlLogger::leaveContext() {
    if (m_depth > 0) {
        --m_depth;
    }
}

void _vlLogger::logText(const char* key, std::string_view value) {
    const std::string_view shown = shownPart(value, kMaxShownValue);
    const std::string_view name = text::viewOf(key);
    const bool isWhole = shown.size() == value.size();
    if (!takes(shown.size()) || (isWhole && putAtOnce(name, kMark.size(), shown))) {
        return;
    }
    Entry entry(*this);
    entry.add(name);
    entry.add(kMark);
    entry.addEscaped(shown);
    entry.addLeftOut(value.size() - shown.size());
}

void _vlLogger::LogBracketed(const char* key, std::string_view text) {
    const std::string_view shown = shownPart(text, kMaxBracketedValue);
    if (!takes(shown.size())) {
        return;
    }
    Entry entry(*this);
    entry.add(text::viewOf(key));
    entry.add(": [");
    if (m_oneLineValues) {
        entry.addEscaped(shown);
    } else {
        entry.add(shown);
    }
    entry.add("]");
    entry.addLeftOut(text.size() - shown.size());
}

void _vlLogger::LogBracketedPart(const char* key, const StringBuffer& text, std::uint32_t start,
                                 std::uint32_t length) {
    const std::string_view part = text.view().substr(start, length);
    if (part.size() < kWorthSharing || part.size() > kMaxBracketedValue || m_oneLineValues ||
        m_shared.length != 0) {
        LogBracketed(key, part);
        return;
    }
    if (!takes(part.size())) {
        return;
    }
    std::uint32_t position = 0;
    {
        Entry entry(*this);
        entry.add(text::viewOf(key));
        entry.add(": [");
        position = entry.position();
        entry.add("]");
    }
    // Without memory for the entry there is no place for its value.
    if (position < m_text.getSize()) {
        m_shared = {text, start, static_cast<std::uint32_t>(part.size()), position};
    }
}

void _vlLogger::putShared() noexcept {
    if (m_shared.length == 0) {
        return;
    }
    const std::string_view text = m_text.view();
    const std::size_t position = std::min<std::size_t>(m_shared.position, text.size());
    StringBuffer whole;
    if (!whole.reserve(static_cast<std::uint32_t>(size()))) {
        return;
    }
    whole.appendView(text.substr(0, position));
    whole.appendView(m_shared.text.view().substr(m_shared.start, m_shared.length));
    whole.appendView(text.substr(position));
    for (Line* const error : {&m_firstError, &m_lastError}) {
        error->start += error->start >= position ? m_shared.length : 0;
    }
    m_text.takeSb(whole);
    m_shared = {};
}

std::string_view _vlLogger::entriesSince(Place before) const noexcept {
    const bool holdsError = m_lastError.size != 0 && m_lastError.start >= before.size;
    const bool isShared = m_shared.length != 0 && m_shared.position >= before.size;
    if (m_cut || holdsError || isShared || before.size > m_text.getSize()) {
        return {};
    }
    return m_text.view().substr(before.size);
}

void _vlLogger::putEntries(std::span<const std::string_view> pieces) {
    std::size_t size = 0;
    for (const std::string_view piece : pieces) {
        size += piece.size();
    }
    char* at = m_text.freeRoom(size);
    if (at == nullptr) {
        for (const std::string_view piece : pieces) {
            m_text.appendView(piece);
        }
        return;
    }
    for (const std::string_view piece : pieces) {
        at = std::copy(piece.begin(), piece.end(), at);
    }
    m_text.takeRoom(size);
}

void _vlLogger::clearLog() noexcept {
    m_text.clear();
    m_shared = {};
    m_firstError = {};
    m_lastError = {};
    m_firstLateError.clear();
    m_lastLateError.clear();
    m_cut = false;
}

} // namespace vantrel
