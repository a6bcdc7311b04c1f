// SPDX-License-Identifier: MIT
#ifndef BENCH_FIGURES_H
#define BENCH_FIGURES_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vantrel::bench {

// Seconds that one side's turn takes at least. The clock of the processor is coarse, and the first
// of several calls pays for memory and caches that the other side has used meanwhile.
inline constexpr double kLeastMeasured = 0.02;

// Two pieces of work that do the same; each gives the seconds that it took.
struct Contest {
    std::function<double()> ours;
    std::function<double()> peer; // empty where there is none
};

// What came out of the turns.
struct Outcome {
    double ours = 0; // seconds, the fastest turn
    double peer = 0; // 0 without a peer
    // The peer's time by ours: of the fastest turns, and the median of all turns.
    double ratio = 0;
    double medianRatio = 0;
};

// Lets both take turns for about so many seconds, three turns at least, so that both see the same
// state of the machine; a peer that takes more than a minute takes one.
[[nodiscard]] Outcome compare(const Contest& contest, double seconds);

// What one call of `work` takes, out of as many calls as make it measurable: processor time of this
// process, or by the clock, which alone tells what several threads gain.
enum class Timing { Processor, Clock };
[[nodiscard]] double timeOf(const std::function<void()>& work, Timing timing = Timing::Processor);

// The table that is printed: one line a piece of work.
class FigureTable final {
public:
    struct Row {
        std::string work;
        std::string peerName;
        Outcome outcome;
        // Of our time with the size of the work, from the row before it to this one.
        std::optional<double> growth;
        std::string memory; // peak, ours and the peer's; empty for not measured
    };

    // Printed at once as well: some rows take minutes.
    void add(Row row);
    [[nodiscard]] std::string markdown() const;

private:
    std::vector<Row> m_rows;
};

// log(after by before) by log(largerSize by size).
[[nodiscard]] double growthExponent(double before, double after, double size, double largerSize);

// Puts `table` between the two marks in the file. False when it has none.
[[nodiscard]] bool replaceTable(const std::string& file, const std::string& table);

} // namespace vantrel::bench

#endif
