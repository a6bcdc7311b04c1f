// SPDX-License-Identifier: MIT
#include "foundation/base/ClsStringArray.h"

#include "foundation/base/CritSecExitor.h"
#include "foundation/text/strings.h"

#include <exception>

namespace vantrel {

ClsStringArray* ClsStringArray::createNewCls() {
    try {
        return new ClsStringArray();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void ClsStringArray::dotNetDispose() {
    ClsBase::dotNetDispose();
    Clear();
}

bool ClsStringArray::Append(const XString& text) { return appendView(text.getUtf8Sb().view()); }

bool ClsStringArray::GetString(int index, XString& text) {
    const CritSecExitor lock(m_critSec);
    const StringBuffer* const element = m_strings.sbAt(index);
    return element != nullptr && text.setFromSbUtf8(*element);
}

int ClsStringArray::get_Count() {
    const CritSecExitor lock(m_critSec);
    return m_strings.getSize();
}

void ClsStringArray::Clear() {
    const CritSecExitor lock(m_critSec);
    m_strings.removeAllObjects();
}

bool ClsStringArray::appendUtf8(const char* text) { return appendView(text::viewOf(text)); }

bool ClsStringArray::appendView(std::string_view text) {
    const CritSecExitor lock(m_critSec);
    return m_strings.appendView(text);
}

const char* ClsStringArray::getStringUtf8(int index) {
    const CritSecExitor lock(m_critSec);
    return m_strings.strAt(index);
}

} // namespace vantrel
