// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_ONCE_H
#define FOUNDATION_TEXT_ONCE_H

#include <atomic>
#include <mutex>

namespace vantrel {

// Makes something once, by the thread that asks for it first; the others wait until it is there.
// What std::call_once does, but for the system call that glibc makes with each of them.
class Once final {
public:
    // What `make` throws reaches its caller, and the next who asks tries again.
    template <class Make> void run(const Make& make) {
        if (m_made.load(std::memory_order_acquire)) {
            return;
        }
        const std::lock_guard lock(m_mutex);
        if (!m_made.load(std::memory_order_relaxed)) {
            make();
            m_made.store(true, std::memory_order_release);
        }
    }

private:
    std::atomic<bool> m_made = false;
    std::mutex m_mutex;
};

} // namespace vantrel

#endif
