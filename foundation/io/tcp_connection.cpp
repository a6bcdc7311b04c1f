// SPDX-License-Identifier: MIT
#include "foundation/io/tcp_connection.h"

#include <cerrno>

#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

namespace vantrel::io {

IoVerdict TcpConnection::failed(int errorNumber) noexcept {
    m_errorNumber = errorNumber;
    return IoVerdict::Failed;
}

IoVerdict TcpConnection::connect(std::span<const SocketAddress> addresses, Deadline deadline) {
    IoVerdict verdict = failed(EADDRNOTAVAIL);
    for (std::size_t i = 0; i < addresses.size() && !deadline.passed(); ++i) {
        const bool last = i + 1 == addresses.size();
        verdict = connectTo(addresses[i], last ? deadline : Deadline(deadline.remainingMs() / 2));
        if (verdict == IoVerdict::Done) {
            return verdict;
        }
    }
    m_socket.reset(-1);
    return verdict;
}

IoVerdict TcpConnection::connectTo(const SocketAddress& address, Deadline deadline) {
    m_socket.reset(
        socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (m_socket.get() < 0) {
        return failed(errno);
    }
    const auto* const generic = reinterpret_cast<const sockaddr*>(&address.storage);
    if (::connect(m_socket.get(), generic, address.size) == 0) {
        return IoVerdict::Done;
    }
    if (errno != EINPROGRESS && errno != EINTR) {
        return failed(errno);
    }
    const IoVerdict verdict = waitFor(POLLOUT, deadline);
    if (verdict != IoVerdict::Done) {
        return verdict;
    }
    int outcome = 0;
    socklen_t size = sizeof(outcome);
    if (getsockopt(m_socket.get(), SOL_SOCKET, SO_ERROR, &outcome, &size) != 0) {
        return failed(errno);
    }
    return outcome == 0 ? IoVerdict::Done : failed(outcome);
}

IoVerdict TcpConnection::waitFor(short events, Deadline deadline) {
    for (;;) {
        const int left = deadline.remainingMs();
        if (left == 0) {
            return IoVerdict::TimedOut;
        }
        pollfd waited{m_socket.get(), events, 0};
        const int ready = poll(&waited, 1, left);
        if (ready > 0) {
            return IoVerdict::Done; // an error shows in the call that follows
        }
        if (ready < 0 && errno != EINTR) {
            return failed(errno);
        }
    }
}

IoVerdict TcpConnection::writeAll(ByteView bytes, Deadline deadline) {
    while (!bytes.empty()) {
        const ssize_t sent = send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(sent));
            continue;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            const IoVerdict verdict = waitFor(POLLOUT, deadline);
            if (verdict != IoVerdict::Done) {
                return verdict;
            }
        } else if (errno != EINTR) {
            return failed(errno);
        }
    }
    return IoVerdict::Done;
}

IoVerdict TcpConnection::readSome(std::span<std::uint8_t> room, std::size_t& count,
                                  Deadline deadline) {
    for (;;) {
        // First of all, so that a peer that always has another byte ready cannot put it off.
        if (deadline.passed()) {
            return IoVerdict::TimedOut;
        }
        const ssize_t received = recv(m_socket.get(), room.data(), room.size(), 0);
        if (received >= 0) {
            count = static_cast<std::size_t>(received);
            return IoVerdict::Done;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            const IoVerdict verdict = waitFor(POLLIN, deadline);
            if (verdict != IoVerdict::Done) {
                return verdict;
            }
        } else if (errno != EINTR) {
            return failed(errno);
        }
    }
}

} // namespace vantrel::io
