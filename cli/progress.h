// SPDX-License-Identifier: MIT
#ifndef CLI_PROGRESS_H
#define CLI_PROGRESS_H

#include <chrono>
#include <cstddef>

namespace vantrel::cli {

// The progress bar of a long run, on standard error where that is a terminal. It appears after the
// run has lasted half a second and is redrawn ten times a second at most, so that a short run shows
// none and drawing costs nothing to speak of. Whoever writes elsewhere hides it first. For one
// thread.
class Progress final {
public:
    // `total`: number of files; 0: unknown, then files are only counted. One file needs no bar, and
    // none is drawn unless it is wanted.
    Progress(std::size_t total, bool wanted);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { hide(); }

    // Takes the bar away, so that other output can be written. The next advance() brings it back
    // when it is due.
    void hide();
    // One more file is done; `holds`: everything asked for holds of it.
    void advance(bool holds);

private:
    using Clock = std::chrono::steady_clock;

    void draw() const;

    const std::size_t m_total;
    const bool m_wanted;
    std::size_t m_done = 0;
    std::size_t m_failed = 0;
    bool m_shown = false;
    Clock::time_point m_next;
};

} // namespace vantrel::cli

#endif
