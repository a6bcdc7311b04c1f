// SPDX-License-Identifier: MIT
#include "foundation/base/ClsBinData.h"

#include "foundation/base/CritSecExitor.h"

#include <exception>

namespace vantrel {

ClsBinData* ClsBinData::createNewCls() {
    try {
        return new ClsBinData();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void ClsBinData::dotNetDispose() {
    ClsBase::dotNetDispose();
    Clear();
}

bool ClsBinData::AppendData(const void* data, std::uint32_t size) {
    const CritSecExitor lock(m_critSec);
    return m_data.append(data, size);
}

bool ClsBinData::AppendBd(const ClsBinData& other) {
    const CritSecExitor lock(m_critSec);
    return m_data.append(other.m_data);
}

bool ClsBinData::AppendEncoded(const XString& text, const XString& encoding) {
    const CritSecExitor lock(m_critSec);
    return m_data.appendEncoded(text.getUtf8Sb().view(), encoding.getUtf8());
}

bool ClsBinData::GetEncoded(const XString& encoding, XString& text) {
    const CritSecExitor lock(m_critSec);
    text.clear();
    return m_data.encodeDB(encoding.getUtf8(), text.getUtf8Sb_rw());
}

bool ClsBinData::SetData(const ClsBinData& other) {
    const CritSecExitor lock(m_critSec);
    m_data = other.m_data;
    return true;
}

void ClsBinData::Clear() {
    const CritSecExitor lock(m_critSec);
    m_data.clear();
}

void ClsBinData::SecureClear() {
    const CritSecExitor lock(m_critSec);
    m_data.secureClear();
}

std::uint32_t ClsBinData::get_NumBytes() {
    const CritSecExitor lock(m_critSec);
    return m_data.getSize();
}

const unsigned char* ClsBinData::GetBytes() {
    const CritSecExitor lock(m_critSec);
    return m_data.isEmpty() ? nullptr : m_data.getData2();
}

} // namespace vantrel
