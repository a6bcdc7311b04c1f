// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_HOST_LOOKUP_H
#define FOUNDATION_IO_HOST_LOOKUP_H

#include "foundation/io/deadline.h"

#include <cstdint>
#include <string>
#include <vector>

#include <sys/socket.h>

namespace vantrel::io {

struct SocketAddress {
    sockaddr_storage storage;
    socklen_t size;
};

enum class LookupVerdict { Found, NotFound, TimedOut };

// The addresses of a host, IPv4 and IPv6, in the order of preference of the system. `host` is a
// name or an address without brackets. A numeric address needs no look-up. The system's resolver
// cannot be interrupted, so it is asked on a thread of its own, which is left behind, holding
// nothing of ours, when the deadline passes first. May throw std::bad_alloc.
[[nodiscard]] LookupVerdict lookUpHost(const std::string& host, std::uint16_t port,
                                       Deadline deadline, std::vector<SocketAddress>& out);

} // namespace vantrel::io

#endif
