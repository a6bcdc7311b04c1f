// SPDX-License-Identifier: MIT
#include "cli/progress.h"

#include "cli/terminal.h"

#include <cstdio>
#include <string>

// The bar overwrites itself: each drawing begins by erasing the line. No signal or terminal size is
// looked at; 30 columns and two numbers fit everywhere.
namespace vantrel::cli {

Progress::Progress(std::size_t total, bool wanted)
    : m_total(total), m_wanted(wanted && errorsAreTerminal() && total != 1),
      m_next(Clock::now() + std::chrono::milliseconds(500)) {}

// Back to the start of the line, and the line erased (ECMA-48 EL).
void Progress::hide() {
    if (m_shown) {
        std::fputs("\r\033[K", stderr);
        m_shown = false;
    }
}

void Progress::advance(bool holds) {
    ++m_done;
    m_failed += holds ? 0 : 1;
    // The clock is not even read where no bar is wanted.
    if (m_wanted && Clock::now() >= m_next) {
        draw();
        m_shown = true;
        m_next = Clock::now() + std::chrono::milliseconds(100);
    }
}

void Progress::draw() const {
    // Columns of the bar itself; with the numbers it fits a terminal of 80.
    constexpr std::size_t kWidth = 30;
    std::string bar = "\r\033[K";
    if (m_total > 0) {
        const std::size_t filled = kWidth * m_done / m_total;
        bar += "[" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "] " +
               std::to_string(m_done) + "/" + std::to_string(m_total);
    } else {
        bar += std::to_string(m_done);
    }
    bar += " files, " + std::to_string(m_failed) + " not valid";
    std::fwrite(bar.data(), 1, bar.size(), stderr);
}

} // namespace vantrel::cli
