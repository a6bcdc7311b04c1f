// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_BYTE_RING_H
#define FOUNDATION_BASE_BYTE_RING_H

#include "foundation/text/byte_view.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

namespace vantrel {

// Octets on their way from one thread that writes them to one that reads them, in order and through
// memory of a fixed size, so that the one that is ahead waits. Waking a thread costs as much as
// some kilobytes of work: who has waited goes on when there is a good part of the ring to do.
class ByteRing final {
public:
    static constexpr std::size_t kSize = std::size_t{512} << 10;

    // False when there is no memory for it; nothing else may then be called.
    [[nodiscard]] bool open();

    // The writer's. Copies all of `data`, which may be more than fits.
    void write(ByteView data);
    // Nothing more will come.
    void close();

    // The reader's: the next octets, in the ring itself; empty when all were read and the writer
    // has closed. They stay until release() gives their room back.
    [[nodiscard]] ByteView read();
    void release(std::size_t size);

private:
    static constexpr std::size_t kPart = kSize / 4;

    std::unique_ptr<std::uint8_t[]> m_octets;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by the mutex. The octets that are in use themselves are the one thread's or the
    // other's.
    std::size_t m_begin = 0;
    std::size_t m_used = 0;
    bool m_closed = false;
    bool m_writerWaits = false;
    bool m_readerWaits = false;
};

} // namespace vantrel

#endif
