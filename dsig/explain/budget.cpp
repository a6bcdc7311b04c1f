// SPDX-License-Identifier: MIT
#include "dsig/explain/budget.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

// For an effort of 1. The octets are what two processors hash in about the time.
constexpr std::chrono::milliseconds kTime{2000};
constexpr std::uint64_t kOctets = 6ULL << 30;
constexpr std::uint64_t kKeyOperations = 4000;

} // namespace

Budget::Budget(unsigned effort) noexcept {
    // The products are far below 2^64 for every effort that the tool accepts.
    const unsigned times = std::max(1U, effort);
    m_octets = kOctets * times;
    m_keyOperations = kKeyOperations * times;
    m_timeLeft = kTime * times;
    m_shareStart = Clock::now();
    m_shareEnd = m_shareStart + m_timeLeft;
}

bool Budget::takeOctets(std::uint64_t octets) noexcept {
    if (octets > m_octets || timeIsUp()) {
        m_stopped = true;
        return false;
    }
    // Taken as a whole, before the work is done: what is refused costs nothing.
    m_octets -= octets;
    return true;
}

bool Budget::takeKeyOperation(std::uint64_t weight) noexcept {
    if (weight > m_keyOperations || timeIsUp()) {
        // An operation with a large key weighs more than one (key_account.h).
        m_stopped = true;
        return false;
    }
    m_keyOperations -= weight;
    return true;
}

// What the share before took is gone; what it left is there for the others.
void Budget::beginShare(std::size_t parts) noexcept {
    const Clock::time_point now = Clock::now();
    // No more than there was: a share may run over its end by the step that it was in.
    const Clock::duration used = std::min(now - m_shareStart, m_timeLeft);
    m_timeLeft -= used;
    m_stopped = false;
    m_shareStart = now;
    m_shareEnd = now + m_timeLeft / static_cast<Clock::rep>(std::max<std::size_t>(parts, 1));
}

} // namespace vantrel::dsig::explain
