// SPDX-License-Identifier: MIT
#include "foundation/text/XString.h"

namespace vantrel {

XString::~XString() { clear(); }

bool XString::setFromUtf8(const char* text) {
    StringBuffer fresh; // the argument may be a part of this text
    if (!fresh.append(text)) {
        return false;
    }
    clear();
    m_text.takeSb(fresh);
    return true;
}

bool XString::setFromSbUtf8(const StringBuffer& text) {
    if (&text != &m_text) {
        clear();
        m_text.setString(text);
    }
    return true;
}

bool XString::appendUtf8(const char* text) {
    if (!m_secure) {
        return m_text.append(text);
    }
    StringBuffer piece; // the argument may be a part of this text
    const bool ok = piece.append(text) && appendSbUtf8(piece);
    piece.secureClear();
    return ok;
}

bool XString::appendSbUtf8(const StringBuffer& text) {
    return &text == &m_text ? appendUtf8(StringBuffer(text).getString())
                            : makeRoomFor(text.getSize()) && m_text.append(text);
}

// A secure text that outgrows its storage wipes it; any other grows by itself.
bool XString::makeRoomFor(std::size_t count) {
    if (!m_secure) {
        return true;
    }
    if (count > kMaxTextSize - m_text.getSize()) {
        return false;
    }
    StringBuffer larger;
    if (!larger.reserve(static_cast<std::uint32_t>(m_text.getSize() + count)) ||
        !larger.appendView(m_text.view())) {
        return false;
    }
    m_text.secureClear();
    m_text.takeSb(larger);
    return true;
}

XString& XString::operator=(const XString& other) noexcept {
    copyFromX(other);
    return *this;
}

void XString::copyFromX(const XString& other) noexcept {
    if (this != &other) {
        clear();
        m_text = other.m_text;
        m_secure = m_secure || other.m_secure;
    }
}

void XString::clear() noexcept {
    if (m_secure) {
        m_text.secureClear();
    } else {
        m_text.clear();
    }
}

} // namespace vantrel
