// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_VANTRELCRITSEC_H
#define FOUNDATION_BASE_VANTRELCRITSEC_H

#include <mutex>

namespace vantrel {

// The lock of one public object; the thread that holds it may take it again.
class VantrelCritSec final {
public:
    VantrelCritSec() = default;
    VantrelCritSec(const VantrelCritSec&) = delete;
    VantrelCritSec& operator=(const VantrelCritSec&) = delete;

    void enterCriticalSection() { m_mutex.lock(); }
    void leaveCriticalSection() noexcept { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

} // namespace vantrel

#endif
