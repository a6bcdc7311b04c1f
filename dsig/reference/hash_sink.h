// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_HASH_SINK_H
#define DSIG_REFERENCE_HASH_SINK_H

#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/byte_view.h"
#include "foundation/xml/canon/canonicalizer.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::dsig {

// Hashes canonical octets as they come, while they are still in the processor's cache. The
// canonical form is never held as a whole, so its size does not matter to memory. Any number of
// pieces makes the same digest as one.
class HashSink final : public xml::CanonSink {
public:
    explicit HashSink(int hashAlg) noexcept : m_hasher(hashAlg) {}

    [[nodiscard]] bool write(const char* data, std::size_t size) override {
        m_hasher.update(asBytes({data, size}));
        m_size += size;
        return true;
    }
    // The digest of everything written, in `room`. Nothing written has no digest: an empty
    // canonical form equals nothing. To be called once, at the end.
    [[nodiscard]] ByteView finish(std::span<std::uint8_t> room) {
        return m_size == 0 ? ByteView() : ByteView(m_hasher.final(room));
    }
    // Octets written so far.
    [[nodiscard]] std::uint64_t size() const noexcept { return m_size; }

private:
    crypto::Hasher m_hasher;
    std::uint64_t m_size = 0;
};

} // namespace vantrel::dsig

#endif
