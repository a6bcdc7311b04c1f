// SPDX-License-Identifier: MIT
#include "cli/summary.h"

#include <numeric>

// The words are those of the text reports, so that a line of counts can be searched for in them.
namespace vantrel::cli {

namespace {

// The status of a report and what people call it, best first; the last one takes whatever is none
// of them.
struct Outcome {
    std::string_view status;
    std::string_view text;
};
constexpr std::array<Outcome, 4> kOutcomes = {{
    {"valid", "valid"},
    {"invalid", "invalid"},
    {"no-signature", "without a signature"},
    {"error", "could not be judged"},
}};

} // namespace

void Summary::add(std::string_view status, bool refused) noexcept {
    m_refused += refused ? 1 : 0;
    // The search ends at the last outcome, which needs no comparison.
    std::size_t i = 0;
    while (i + 1 < kOutcomes.size() && kOutcomes[i].status != status) {
        ++i;
    }
    ++m_counts[i];
}

std::size_t Summary::files() const noexcept {
    return std::accumulate(m_counts.begin(), m_counts.end(), std::size_t{0});
}

// Outcomes that did not occur are left out: "0 invalid" is read as "invalid" all too easily.
std::string Summary::line() const {
    std::string out = std::to_string(files()) + (files() == 1 ? " file" : " files");
    std::string_view between = ": ";
    for (std::size_t i = 0; i < kOutcomes.size(); ++i) {
        if (m_counts[i] > 0) {
            out += std::string(between) + std::to_string(m_counts[i]) + " " +
                   std::string(kOutcomes[i].text);
            between = ", ";
        }
    }
    // A file of them is valid or not as well, so this count is no part of the sum.
    if (m_refused > 0) {
        out += std::string(between) + std::to_string(m_refused) + " not accepted";
    }
    return out + "\n";
}

} // namespace vantrel::cli
