#ifndef CLI_PROGRESS_H
#define CLI_PROGRESS_H

#include <chrono>
#include <cstddef>

namespace vantrel::cli {

// The progress bar of a long run, on standard error where that is a terminal. It appears after the
// run has lasted half a second and is redrawn ten times a second at most.
class Progress final {
public:
    // `total` 0: unknown, then files are only counted.
    Progress(std::size_t total, bool wanted);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { hide(); }

    // Takes the bar away, so that other output can be written.
    void hide();
    // One more file is done.
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
