// SPDX-License-Identifier: MIT
#include "foundation/io/host_lookup.h"

#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include <netdb.h>

namespace vantrel::io {

namespace {

struct AddressListDeleter {
    void operator()(addrinfo* list) const noexcept { freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, AddressListDeleter>;

AddressList ask(const std::string& host, std::uint16_t port, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo* list = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list) != 0) {
        list = nullptr;
    }
    return AddressList(list);
}

std::vector<SocketAddress> copied(const addrinfo* list) {
    std::vector<SocketAddress> addresses;
    for (; list != nullptr; list = list->ai_next) {
        SocketAddress address{};
        if (list->ai_addrlen > sizeof(address.storage)) {
            continue;
        }
        std::memcpy(&address.storage, list->ai_addr, list->ai_addrlen);
        address.size = list->ai_addrlen;
        addresses.push_back(address);
    }
    return addresses;
}

// What the thread that asks and the thread that waits share.
struct Question {
    std::string host;
    std::uint16_t port = 0;
    std::mutex mutex;
    std::condition_variable answered;
    bool done = false;
    std::vector<SocketAddress> addresses;
};

void answer(const std::shared_ptr<Question>& question) noexcept {
    std::vector<SocketAddress> addresses;
    try {
        addresses = copied(ask(question->host, question->port, 0).get());
    } catch (const std::bad_alloc&) {
        addresses.clear(); // counts as not found
    }
    const std::lock_guard<std::mutex> lock(question->mutex);
    question->addresses.swap(addresses);
    question->done = true;
    question->answered.notify_one();
}

} // namespace

LookupVerdict lookUpHost(const std::string& host, std::uint16_t port, Deadline deadline,
                         std::vector<SocketAddress>& out) {
    out = copied(ask(host, port, AI_NUMERICHOST).get());
    if (!out.empty()) {
        return LookupVerdict::Found;
    }
    const auto question = std::make_shared<Question>();
    question->host = host;
    question->port = port;
    try {
        std::thread(answer, question).detach();
    } catch (const std::system_error&) {
        answer(question); // no thread to be had: better late than never
    }
    std::unique_lock<std::mutex> lock(question->mutex);
    if (!question->answered.wait_until(lock, deadline.end(), [&] { return question->done; })) {
        return LookupVerdict::TimedOut;
    }
    out = question->addresses;
    return out.empty() ? LookupVerdict::NotFound : LookupVerdict::Found;
}

} // namespace vantrel::io
