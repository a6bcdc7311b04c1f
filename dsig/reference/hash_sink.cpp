// SPDX-License-Identifier: MIT
#include "dsig/reference/hash_sink.h"

#include "dsig/reference/digest_ahead.h"

#include <new>
#include <system_error>

namespace vantrel::dsig {

xml::CanonSink::Ahead HashSink::takeFormAhead(const xml::XmlDocument& document,
                                              const xml::CanonRequest& request,
                                              std::uint64_t& octets) {
    if (m_ahead == nullptr || m_size != 0 ||
        !m_ahead->give(document, request, m_hasher.id(), *this)) {
        return Ahead::No;
    }
    octets = m_size;
    return Ahead::Taken;
}

bool HashSink::startThread() {
    if (!m_ring.open()) {
        return false;
    }
    try {
        m_thread = std::thread([this] {
            for (ByteView part = m_ring.read(); !part.empty(); part = m_ring.read()) {
                m_hasher.update(part);
                m_ring.release(part.size());
            }
        });
        return true;
    } catch (const std::system_error&) {
        // The system has none to give.
    } catch (const std::bad_alloc&) {
        // It is done without.
    }
    return false;
}

void HashSink::endThread() {
    if (m_thread.joinable()) {
        m_ring.close();
        m_thread.join();
    }
}

} // namespace vantrel::dsig
