#include "foundation/log/_vlLogger.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vantrel {

namespace {

constexpr std::string_view kSpaces = "                                        ";

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
    // Where in the log's text the next piece will stand.
    [[nodiscard]] std::uint32_t position() const noexcept {
        return m_log.m_text.getSize() + static_cast<std::uint32_t>(m_used);
    }

private:
    void flush() noexcept {
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

void _vlLogger::LogError(const char* text) {
    Entry entry(*this);
    entry.add("Error: ");
    const std::uint32_t start = entry.position();
    entry.addEscaped(text::viewOf(text));
    m_lastError = {start, entry.position() - start};
    if (m_firstError.size == 0) {
        m_firstError = m_lastError;
    }
}

void _vlLogger::LogInfo(const char* text) { Entry(*this).addEscaped(text::viewOf(text)); }

void _vlLogger::enterContext(const char* name) {
    {
        Entry entry(*this);
        entry.add(text::viewOf(name));
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
    Entry entry(*this);
    entry.add(text::viewOf(key));
    entry.add(": ");
    entry.addEscaped(value);
}

void _vlLogger::LogBracketed(const char* key, std::string_view text) {
    Entry entry(*this);
    entry.add(text::viewOf(key));
    entry.add(": [");
    entry.add(text);
    entry.add("]");
}

void _vlLogger::clearLog() noexcept {
    m_text.clear();
    m_firstError = {};
    m_lastError = {};
}

} // namespace vantrel
