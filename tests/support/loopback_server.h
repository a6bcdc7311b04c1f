// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_LOOPBACK_SERVER_H
#define TESTS_SUPPORT_LOOPBACK_SERVER_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantrel::test {

// One connection of a test server, in the hands of its handler.
class Peer final {
public:
    Peer(int socket, const std::atomic<bool>& stopping) : m_socket(socket), m_stopping(stopping) {}

    // False when the client has gone or the test is over.
    bool send(std::string_view bytes) const {
        while (!bytes.empty() && !m_stopping) {
            const ssize_t sent = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return !m_stopping;
    }
    // Waits, unless the client goes away or the test ends first.
    bool pause(int ms) const {
        pollfd waited{m_socket, POLLRDHUP, 0};
        return poll(&waited, 1, ms) == 0 && !m_stopping;
    }

private:
    int m_socket;
    const std::atomic<bool>& m_stopping;
};

// An HTTP server on the loopback interface, for clients under test: it reads one request of each
// connection and leaves the answer, good or bad, to the handler.
class LoopbackServer final {
public:
    using Handler = std::function<void(const Peer& peer, const std::string& request)>;

    explicit LoopbackServer(Handler handler, int family = AF_INET)
        : m_handler(std::move(handler)), m_family(family),
          m_listener(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_storage address{};
        socklen_t size = loopback(address);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (m_listener < 0 || bind(m_listener, generic, size) != 0 || listen(m_listener, 4) != 0 ||
            getsockname(m_listener, generic, &size) != 0) {
            if (m_listener >= 0) {
                close(m_listener);
            }
            throw std::runtime_error("no loopback socket");
        }
        m_port = ntohs(family == AF_INET ? reinterpret_cast<sockaddr_in*>(&address)->sin_port
                                         : reinterpret_cast<sockaddr_in6*>(&address)->sin6_port);
        m_thread = std::thread([this] { serve(); });
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;
    ~LoopbackServer() {
        m_stopping = true;
        m_thread.join();
        close(m_listener);
    }

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] std::string url(const std::string& path = "/") const {
        const std::string host = m_family == AF_INET ? "127.0.0.1" : "[::1]";
        return "http://" + host + ":" + std::to_string(m_port) + path;
    }

private:
    socklen_t loopback(sockaddr_storage& address) const {
        if (m_family == AF_INET) {
            auto* const four = reinterpret_cast<sockaddr_in*>(&address);
            four->sin_family = AF_INET;
            four->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            return sizeof(*four);
        }
        auto* const six = reinterpret_cast<sockaddr_in6*>(&address);
        six->sin6_family = AF_INET6;
        six->sin6_addr = in6addr_loopback;
        return sizeof(*six);
    }

    void serve() {
        while (!m_stopping) {
            pollfd waited{m_listener, POLLIN, 0};
            if (poll(&waited, 1, 10) <= 0) {
                continue;
            }
            const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0) {
                continue;
            }
            // Neither side may hang the test.
            const timeval limit{0, 200000};
            setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
            setsockopt(client, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
            m_handler(Peer(client, m_stopping), readRequest(client));
            close(client);
        }
    }

    static std::string readRequest(int client) {
        std::string request;
        std::array<char, 65536> room{};
        std::size_t wanted = std::string::npos;
        while (wanted == std::string::npos || request.size() < wanted) {
            const ssize_t count = recv(client, room.data(), room.size(), 0);
            if (count <= 0) {
                break;
            }
            request.append(room.data(), static_cast<std::size_t>(count));
            const std::size_t end = request.find("\r\n\r\n");
            const std::size_t length = request.find("Content-Length: ");
            if (wanted == std::string::npos && end != std::string::npos && length < end) {
                wanted = end + 4 + std::stoul(request.substr(length + 16));
            }
        }
        return request;
    }

    Handler m_handler;
    int m_family;
    int m_listener;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

} // namespace vantrel::test

#endif
