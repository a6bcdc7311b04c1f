// SPDX-License-Identifier: MIT
#include "foundation/text/DataBuffer.h"

#include "foundation/text/StringBuffer.h"

#include <algorithm>
#include <utility>

namespace vantrel {

DataBuffer& DataBuffer::operator=(const DataBuffer& other) noexcept {
    if (this != &other) {
        clear();
        m_bytes = other.m_bytes;
        m_secure = m_secure || other.m_secure;
    }
    return *this;
}

DataBuffer& DataBuffer::operator=(DataBuffer&& other) noexcept {
    if (this != &other) {
        clear();
        m_bytes = std::move(other.m_bytes);
        m_secure = m_secure || other.m_secure;
    }
    return *this;
}

DataBuffer::~DataBuffer() { clear(); }

bool DataBuffer::equals(const DataBuffer& other) const noexcept {
    return m_bytes.sharesWith(other.m_bytes) || m_bytes.text() == other.m_bytes.text();
}

bool DataBuffer::append(const StringBuffer& text) {
    if (isEmpty() && !m_secure && !text.isEmpty() && m_bytes.capacity() < text.getSize()) {
        m_bytes = text.storage(); // shared until one of the two changes
        return true;
    }
    return append(asBytes(text.view()));
}

bool DataBuffer::append(const DataBuffer& data) {
    if (isEmpty() && !m_secure && !data.isEmpty() && m_bytes.capacity() < data.getSize()) {
        m_bytes = data.m_bytes;
        return true;
    }
    return append(data.view());
}

bool DataBuffer::append(ByteView bytes) {
    if (m_secure) {
        if (bytes.size() > kMaxTextSize - getSize()) {
            return false;
        }
        const bool inside = m_bytes.holds(bytes.data());
        const std::ptrdiff_t offset = inside ? bytes.data() - getData2() : 0;
        if (!growSecurely(getSize() + bytes.size())) {
            return false;
        }
        return m_bytes.append(inside ? getData2() + offset : bytes.data(), bytes.size());
    }
    return m_bytes.append(bytes.data(), bytes.size());
}

bool DataBuffer::append(const void* data, std::uint32_t count) {
    return data == nullptr ? count == 0
                           : append(ByteView{static_cast<const std::uint8_t*>(data), count});
}

bool DataBuffer::appendChar(std::uint8_t byte) { return append(ByteView{&byte, 1}); }

bool DataBuffer::reserve(std::uint32_t capacity) {
    return m_secure ? growSecurely(capacity) : m_bytes.reserve(capacity);
}

std::uint8_t* DataBuffer::resize(std::uint32_t size) {
    if ((m_secure && !growSecurely(size)) || !m_bytes.resize(size)) {
        return nullptr;
    }
    return reinterpret_cast<std::uint8_t*>(m_bytes.mutableData());
}

bool DataBuffer::growSecurely(std::size_t capacity) {
    if (m_bytes.capacity() >= capacity) {
        return true;
    }
    SharedBytes larger;
    if (!larger.reserve(std::max<std::size_t>(capacity, std::size_t{2} * getSize())) ||
        !larger.append(m_bytes.cString(), getSize())) {
        return false;
    }
    m_bytes.swap(larger);
    larger.secureClear();
    return true;
}

void DataBuffer::clear() noexcept {
    if (m_secure) {
        m_bytes.secureClear();
    } else {
        m_bytes.clear();
    }
}

void DataBuffer::secureClear() noexcept { m_bytes.secureClear(); }

} // namespace vantrel
