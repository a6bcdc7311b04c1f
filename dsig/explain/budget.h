// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_BUDGET_H
#define DSIG_EXPLAIN_BUDGET_H

#include "foundation/io/deadline.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace vantrel::dsig::explain {

// What the search for causes in one document may still cost. Work is counted in octets that are
// rewritten or hashed and in key operations, so that a search ends alike everywhere; the clock
// stops it besides on a machine that is slow or busy. Once one of them is used up every search of
// the document ends. Not for use by several threads at once.
class Budget final {
public:
    // `effort` multiplies everything but memory; 0 counts as 1. One budget serves one document; an
    // effort of 2 searches twice as long.
    explicit Budget(unsigned effort) noexcept;

    // It ends by then in any case; called before the first share begins.
    void endBy(io::Deadline deadline) noexcept {
        m_timeLeft =
            std::min(m_timeLeft, std::max(deadline.end() - m_shareStart, Clock::duration{}));
        m_shareEnd = m_shareStart + m_timeLeft;
    }

    // Each takes a piece of work, or returns false: the search is over. The clock is looked at each
    // time, so that even a search of tiny steps ends in time.
    [[nodiscard]] bool takeOctets(std::uint64_t octets) noexcept;
    [[nodiscard]] bool takeKeyOperation(std::uint64_t weight) noexcept;
    // Octets that were taken in vain are given back. Only by whoever took them, and no more than
    // that.
    void giveBack(std::uint64_t octets) noexcept { m_octets += octets; }

    [[nodiscard]] std::uint64_t octetsLeft() const noexcept { return m_octets; }
    // Whether the search of this share was refused something and ended early.
    [[nodiscard]] bool stoppedEarly() const noexcept { return m_stopped; }

    // Begins the share of the search that follows: it may use one part in `parts` of the time that
    // is left. Searches that end early leave their time to the later ones.
    void beginShare(std::size_t parts) noexcept;
    // For steps that take nothing, such as forms that could not be made.
    [[nodiscard]] bool timeIsUp() const noexcept { return Clock::now() >= m_shareEnd; }

private:
    using Clock = std::chrono::steady_clock;

    // What is left of each.
    std::uint64_t m_octets;
    std::uint64_t m_keyOperations;
    Clock::duration m_timeLeft;
    Clock::time_point m_shareStart;
    Clock::time_point m_shareEnd;
    bool m_stopped = false;
};

// The largest form whose variants are made: copies of it and lists of its tags are held at a time,
// together no more than 512 MiB.
inline constexpr std::size_t kMostFormOctets = std::size_t{16} << 20;

} // namespace vantrel::dsig::explain

#endif
