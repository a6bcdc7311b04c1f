// SPDX-License-Identifier: MIT
#include "foundation/base/byte_ring.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace vantrel {

bool ByteRing::open() {
    m_octets.reset(new (std::nothrow) std::uint8_t[kSize]);
    return m_octets != nullptr;
}

void ByteRing::write(ByteView data) {
    std::unique_lock lock(m_mutex);
    while (!data.empty()) {
        if (m_used == kSize) {
            m_writerWaits = true;
            m_changed.wait(lock, [this] { return m_used <= kSize - kPart; });
            m_writerWaits = false;
        }
        const std::size_t at = (m_begin + m_used) % kSize;
        const std::size_t size = std::min({data.size(), kSize - m_used, kSize - at});
        lock.unlock();
        std::memcpy(m_octets.get() + at, data.data(), size);
        data = data.subspan(size);
        lock.lock();
        m_used += size;
        if (m_readerWaits && m_used >= kPart) {
            m_changed.notify_all();
        }
    }
}

void ByteRing::close() {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    m_changed.notify_all();
}

ByteView ByteRing::read() {
    std::unique_lock lock(m_mutex);
    if (m_used == 0 && !m_closed) {
        m_readerWaits = true;
        m_changed.wait(lock, [this] { return m_used >= kPart || m_closed; });
        m_readerWaits = false;
    }
    return {m_octets.get() + m_begin, std::min(m_used, kSize - m_begin)};
}

void ByteRing::release(std::size_t size) {
    const std::lock_guard lock(m_mutex);
    m_begin = (m_begin + size) % kSize;
    m_used -= size;
    if (m_writerWaits && m_used <= kSize - kPart) {
        m_changed.notify_all();
    }
}

} // namespace vantrel
