#include "foundation/log/_vlLogger.h"

#include "foundation/text/strings.h"

#include <algorithm>

namespace vantrel {

namespace {

constexpr std::string_view kSpaces = "                                        ";

bool isControl(char c) noexcept { return static_cast<unsigned char>(c) < 0x20 || c == '\x7F'; }

} // namespace

void _vlLogger::indent() { m_text.appendView(kSpaces.substr(0, std::size_t{2} * m_depth)); }

void _vlLogger::LogError(const char* text) {
    indent();
    m_text.appendView("Error: ");
    const std::uint32_t start = m_text.getSize();
    writeEscaped(text::viewOf(text));
    m_lastError = {start, m_text.getSize() - start};
    if (m_firstError.size == 0) {
        m_firstError = m_lastError;
    }
    m_text.appendChar('\n');
}

void _vlLogger::LogInfo(const char* text) {
    indent();
    writeEscaped(text::viewOf(text));
    m_text.appendChar('\n');
}

void _vlLogger::enterContext(const char* name) {
    indent();
    m_text.append2(name, ":\n");
    ++m_depth;
}

void _vlLogger::leaveContext() {
    if (m_depth > 0) {
        --m_depth;
    }
}

void _vlLogger::writeKey(const char* key) {
    indent();
    m_text.append2(key, ": ");
}

void _vlLogger::logText(const char* key, std::string_view value) {
    writeKey(key);
    writeEscaped(value);
    m_text.appendChar('\n');
}

void _vlLogger::LogBracketed(const char* key, std::string_view text) {
    writeKey(key);
    m_text.appendChar('[');
    m_text.appendView(text);
    m_text.appendView("]\n");
}

void _vlLogger::writeEscaped(std::string_view value) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    while (true) {
        const auto at = std::find_if(value.begin(), value.end(), isControl);
        const auto plain = static_cast<std::size_t>(at - value.begin());
        m_text.appendView(value.substr(0, plain));
        if (at == value.end()) {
            return;
        }
        switch (*at) {
        case '\n': m_text.appendView("\\n"); break;
        case '\r': m_text.appendView("\\r"); break;
        case '\t': m_text.appendView("\\t"); break;
        default: {
            const auto code = static_cast<unsigned char>(*at);
            const char escape[] = {'\\', 'x', kHex[code >> 4], kHex[code & 15]};
            m_text.appendView({escape, sizeof escape});
        }
        }
        value.remove_prefix(plain + 1);
    }
}

void _vlLogger::clearLog() noexcept {
    m_text.clear();
    m_firstError = {};
    m_lastError = {};
}

} // namespace vantrel
