// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_DEADLINE_H
#define FOUNDATION_IO_DEADLINE_H

#include <algorithm>
#include <chrono>

namespace vantrel::io {

// A moment by which something must have happened, on a clock that never goes back.
class Deadline final {
public:
    using Clock = std::chrono::steady_clock;

    // Milliseconds from now; below 1 counts as 1.
    explicit Deadline(int ms) noexcept
        : m_end(Clock::now() + std::chrono::milliseconds(std::max(ms, 1))) {}

    [[nodiscard]] static Deadline earlier(Deadline a, Deadline b) noexcept {
        return a.m_end < b.m_end ? a : b;
    }
    [[nodiscard]] bool passed() const noexcept { return Clock::now() >= m_end; }
    [[nodiscard]] Clock::time_point end() const noexcept { return m_end; }
    // What is left, rounded up, as poll() takes it; 0 when passed.
    [[nodiscard]] int remainingMs() const noexcept {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now()).count();
        return left <= 0 ? 0 : static_cast<int>(std::min<long long>(left, 1 << 30));
    }

private:
    Clock::time_point m_end;
};

} // namespace vantrel::io

#endif
