// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_TCP_CONNECTION_H
#define FOUNDATION_IO_TCP_CONNECTION_H

#include "foundation/io/deadline.h"
#include "foundation/io/file_handle.h"
#include "foundation/io/host_lookup.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::io {

enum class IoVerdict { Done, TimedOut, Failed };

// One outgoing TCP connection on a non-blocking socket: no call waits longer than its deadline.
// Closed by the destructor.
class TcpConnection final {
public:
    TcpConnection() noexcept = default;
    TcpConnection(const TcpConnection&) = delete;
    TcpConnection& operator=(const TcpConnection&) = delete;

    // Connects to the first address that answers; a silent one may take up half the time that is
    // left when there are others.
    [[nodiscard]] IoVerdict connect(std::span<const SocketAddress> addresses, Deadline deadline);
    [[nodiscard]] IoVerdict writeAll(ByteView bytes, Deadline deadline);
    // Waits for some bytes; `count` 0 means that the peer has closed its side.
    [[nodiscard]] IoVerdict readSome(std::span<std::uint8_t> room, std::size_t& count,
                                     Deadline deadline);
    // The system's number of the error behind the last Failed.
    [[nodiscard]] int errorNumber() const noexcept { return m_errorNumber; }

private:
    [[nodiscard]] IoVerdict connectTo(const SocketAddress& address, Deadline deadline);
    [[nodiscard]] IoVerdict waitFor(short events, Deadline deadline);
    [[nodiscard]] IoVerdict failed(int errorNumber) noexcept;

    FileHandle m_socket;
    int m_errorNumber = 0;
};

} // namespace vantrel::io

#endif
