// SPDX-License-Identifier: MIT
#include "dsig/reference/hash_sink.h"

#include <new>
#include <system_error>

namespace vantrel::dsig {

void HashSink::startThread() {
    if (!m_ring.open()) {
        return;
    }
    try {
        m_thread = std::thread([this] {
            for (ByteView part = m_ring.read(); !part.empty(); part = m_ring.read()) {
                m_hasher.update(part);
                m_ring.release(part.size());
            }
        });
    } catch (const std::system_error&) {
        // The system has none to give.
    } catch (const std::bad_alloc&) {
        // It is done without.
    }
}

void HashSink::endThread() {
    if (m_thread.joinable()) {
        m_ring.close();
        m_thread.join();
    }
}

} // namespace vantrel::dsig
