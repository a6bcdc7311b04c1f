// SPDX-License-Identifier: MIT
#include "foundation/base/ClsStringBuilder.h"

#include "foundation/base/CritSecExitor.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/byte_view.h"

#include <exception>

namespace vantrel {

ClsStringBuilder* ClsStringBuilder::createNewCls() {
    try {
        return new ClsStringBuilder();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void ClsStringBuilder::_toString(XString& out) { GetAsString(out); }

void ClsStringBuilder::dotNetDispose() {
    ClsBase::dotNetDispose();
    Clear();
}

bool ClsStringBuilder::Append(const XString& text) {
    const CritSecExitor lock(m_critSec);
    return m_text.appendSbUtf8(text.getUtf8Sb());
}

bool ClsStringBuilder::AppendSb(const ClsStringBuilder& other) { return Append(other.m_text); }

bool ClsStringBuilder::AppendInt(int number) {
    const CritSecExitor lock(m_critSec);
    return m_text.getUtf8Sb_rw().append(number);
}

bool ClsStringBuilder::AppendLine(const XString& text, bool crlf) {
    const CritSecExitor lock(m_critSec);
    return Append(text) && m_text.appendUtf8(crlf ? "\r\n" : "\n");
}

bool ClsStringBuilder::AppendBytes(const void* data, std::uint32_t size, const XString& charset) {
    const CritSecExitor lock(m_critSec);
    _vlCharset source;
    return source.setByName(charset.getUtf8()) &&
           source.toUtf8({static_cast<const std::uint8_t*>(data), size}, m_text.getUtf8Sb_rw());
}

bool ClsStringBuilder::SetString(const XString& text) {
    const CritSecExitor lock(m_critSec);
    return m_text.setFromSbUtf8(text.getUtf8Sb());
}

bool ClsStringBuilder::GetAsString(XString& text) {
    const CritSecExitor lock(m_critSec);
    return text.setFromSbUtf8(m_text.getUtf8Sb());
}

void ClsStringBuilder::Clear() {
    const CritSecExitor lock(m_critSec);
    m_text.clear();
}

std::uint32_t ClsStringBuilder::get_Length() {
    const CritSecExitor lock(m_critSec);
    return m_text.getUtf8Sb().getSize();
}

bool ClsStringBuilder::Contains(const XString& text, bool caseSensitive) {
    const CritSecExitor lock(m_critSec);
    const StringBuffer& own = m_text.getUtf8Sb();
    return caseSensitive ? own.containsSubstring(text.getUtf8())
                         : own.containsSubstringNoCase(text.getUtf8());
}

int ClsStringBuilder::Replace(const XString& find, const XString& replacement) {
    const CritSecExitor lock(m_critSec);
    return static_cast<int>(
        m_text.getUtf8Sb_rw().replaceAllOccurances(find.getUtf8(), replacement.getUtf8()));
}

void ClsStringBuilder::Trim() {
    const CritSecExitor lock(m_critSec);
    m_text.getUtf8Sb_rw().trim2();
}

} // namespace vantrel
