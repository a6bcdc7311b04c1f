// SPDX-License-Identifier: MIT
#include "foundation/json/json_parts.h"

#include "foundation/text/utf8.h"

namespace vantrel::json {

// Cut off where it is no UTF-8, so that the tokens meet valid text only; the rest is a fault.
JsonParts::JsonParts(std::string_view text) noexcept
    : JsonParts(text, text::validUtf8Prefix(text)) {}

JsonParts::JsonParts(std::string_view text, std::size_t valid) noexcept
    : m_tokens(text.substr(0, valid)), m_isUtf8(valid == text.size()) {}

bool JsonParts::end(bool failed) noexcept {
    m_failed = failed;
    m_faultAt = m_tokens.position();
    m_close = '\0';
    m_first = false;
    return false;
}

bool JsonParts::next(StringBuffer& name, std::string_view& value) {
    if (m_first) {
        m_tokens.skipSpace();
        const char open = m_tokens.peek();
        m_close = open == '{' ? '}' : open == '[' ? ']' : '\0';
        if (m_close == '\0' || !m_tokens.take(open)) {
            return end(true);
        }
    } else if (m_close == '\0') {
        return false;
    }
    m_tokens.skipSpace();
    if (m_tokens.take(m_close)) {
        m_tokens.skipSpace();
        return end(!m_tokens.atEnd() || !m_isUtf8);
    }
    if (!m_first && !m_tokens.take(',')) {
        return end(true);
    }
    m_first = false;
    return readPart(name, value) || end(true);
}

// In an object: string ws ":" ws value.
bool JsonParts::readPart(StringBuffer& name, std::string_view& value) {
    name.clear();
    m_tokens.skipSpace();
    if (m_close == '}') {
        if (!m_tokens.readString(&name)) {
            return false;
        }
        m_tokens.skipSpace();
        if (!m_tokens.take(':')) {
            return false;
        }
    }
    m_tokens.skipSpace();
    const std::size_t start = m_tokens.position();
    if (!m_tokens.passValue()) {
        return false;
    }
    value = m_tokens.since(start);
    return true;
}

} // namespace vantrel::json
