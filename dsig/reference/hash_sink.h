// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_HASH_SINK_H
#define DSIG_REFERENCE_HASH_SINK_H

#include "foundation/base/byte_ring.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/byte_view.h"
#include "foundation/xml/canon/canonicalizer.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <thread>

namespace vantrel::dsig {

class DigestAhead;

// Hashes canonical octets as they come, while they are still in the processor's cache. The
// canonical form is never held as a whole, so its size does not matter to memory. Any number of
// pieces makes the same digest as one.
//
// Where there is much to come, and a second thread is allowed, that one hashes: what it gets passes
// through a ring. Hashing cannot fail, and where no thread or no memory is to be had it is done
// here, so the outcome is the same either way.
class HashSink final : public xml::CanonSink {
public:
    // `threads`: that may be at work, this one counted. `ahead`: what may have been hashed before;
    // null for nothing.
    HashSink(int hashAlg, unsigned threads, DigestAhead* ahead = nullptr) noexcept
        : m_threads(threads), m_ahead(ahead), m_hasher(hashAlg) {}
    ~HashSink() override { endThread(); }

    [[nodiscard]] bool expect(std::uint64_t octets, bool mostlyAsTheyStand) override {
        // Passing them to another thread costs more than there is to do beside the hash.
        if (m_threads > 1 && octets >= kWorthAThread && !mostlyAsTheyStand &&
            !m_thread.joinable()) {
            static_cast<void>(startThread());
        }
        return true;
    }
    [[nodiscard]] Ahead takeFormAhead(const xml::XmlDocument& document,
                                      const xml::CanonRequest& request,
                                      std::uint64_t& octets) override;
    [[nodiscard]] bool write(const char* data, std::size_t size) override {
        if (m_thread.joinable()) [[unlikely]] {
            m_ring.write(asBytes({data, size}));
        } else {
            m_hasher.update(asBytes({data, size}));
        }
        m_size += size;
        return true;
    }
    // The digest of everything written, in `room`. Nothing written has no digest: an empty
    // canonical form equals nothing. To be called once, at the end.
    [[nodiscard]] ByteView finish(std::span<std::uint8_t> room) {
        endThread();
        return m_size == 0 ? ByteView() : ByteView(m_hasher.final(room));
    }
    // Octets written so far.
    [[nodiscard]] std::uint64_t size() const noexcept { return m_size; }

    // From here on a second thread hashes what is written, up to endThread(). False where none is
    // to be had.
    bool startThread();
    void endThread();
    // Goes on where another one got to, whose thread has ended.
    void take(const HashSink& other) noexcept {
        m_hasher = other.m_hasher;
        m_size = other.m_size;
    }

private:
    static constexpr std::uint64_t kWorthAThread = std::uint64_t{4} << 20;

    const unsigned m_threads;
    DigestAhead* const m_ahead;
    crypto::Hasher m_hasher; // the thread's while there is one
    std::uint64_t m_size = 0;
    ByteRing m_ring;
    std::thread m_thread;
};

} // namespace vantrel::dsig

#endif
