// SPDX-License-Identifier: MIT
#include "bench/figures.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>

namespace vantrel::bench {

namespace {

constexpr const char* kTableBegin = "<!-- written by bench_verify -->\n";
constexpr const char* kTableEnd = "<!-- end of what bench_verify writes -->\n";
double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// With a unit that leaves one to four digits before the point.
std::string shown(double seconds) {
    char text[32] = "";
    if (seconds <= 0) {
        return "";
    }
    if (seconds < 0.001) {
        std::snprintf(text, sizeof text, "%.1f us", seconds * 1e6);
    } else if (seconds < 1) {
        std::snprintf(text, sizeof text, "%.2f ms", seconds * 1e3);
    } else {
        std::snprintf(text, sizeof text, "%.2f s", seconds);
    }
    return text;
}

std::string number(double value) {
    char text[32] = "";
    std::snprintf(text, sizeof text, value < 100 ? "%.2f" : "%.0f", value);
    return text;
}

std::string lineOf(const FigureTable::Row& row) {
    const bool hasPeer = row.outcome.peer > 0;
    return "| " + row.work + " | " + shown(row.outcome.ours) + " | " +
           (hasPeer ? row.peerName + " " + shown(row.outcome.peer) : "") + " | " +
           (hasPeer ? number(row.outcome.ratio) + " / " + number(row.outcome.medianRatio) : "") +
           " | " + (row.growth ? number(*row.growth) : "") + " | " + row.memory + " |\n";
}

} // namespace

Outcome compare(const Contest& contest, double seconds) {
    constexpr std::size_t kFewestTurns = 3;
    std::vector<double> ours;
    std::vector<double> peers;
    std::vector<double> ratios;
    double spent = 0;
    bool isSlow = false; // a peer that takes minutes gets one turn
    while (ours.size() < kFewestTurns || spent < seconds) {
        ours.push_back(contest.ours());
        spent += std::max(ours.back(), kLeastMeasured);
        if (contest.peer && !isSlow) {
            const std::time_t begin = std::time(nullptr);
            peers.push_back(contest.peer());
            spent += std::max(peers.back(), kLeastMeasured);
            isSlow = std::time(nullptr) - begin > 60;
        }
        if (!peers.empty()) {
            ratios.push_back(peers.back() / ours.back());
        }
    }
    Outcome outcome;
    outcome.ours = *std::min_element(ours.begin(), ours.end());
    if (!peers.empty()) {
        outcome.peer = *std::min_element(peers.begin(), peers.end());
        outcome.ratio = outcome.peer / outcome.ours;
        const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
        std::nth_element(ratios.begin(), middle, ratios.end());
        outcome.medianRatio = *middle;
    }
    return outcome;
}

double timeOf(const std::function<void()>& work, Timing timing) {
    const auto now = [timing] {
        return timing == Timing::Processor
                   ? processorSeconds()
                   : std::chrono::duration<double>(
                         std::chrono::steady_clock::now().time_since_epoch())
                         .count();
    };
    const double begin = now();
    double taken = 0;
    std::size_t calls = 0;
    while (taken < kLeastMeasured) {
        work();
        ++calls;
        taken = now() - begin;
    }
    return taken / static_cast<double>(calls);
}

void FigureTable::add(Row row) {
    std::fputs(lineOf(row).c_str(), stdout);
    std::fflush(stdout);
    m_rows.push_back(std::move(row));
}

std::string FigureTable::markdown() const {
    std::string text = "| work | ours | beside | ratio of minima / median | growth | peak memory "
                       "|\n|---|---|---|---|---|---|\n";
    for (const Row& row : m_rows) {
        text += lineOf(row);
    }
    return text;
}

double growthExponent(double before, double after, double size, double largerSize) {
    return std::log(after / before) / std::log(largerSize / size);
}

bool replaceTable(const std::string& file, const std::string& table) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream whole;
    whole << in.rdbuf();
    std::string text = whole.str();
    const std::size_t begin = text.find(kTableBegin);
    const std::size_t end = text.find(kTableEnd);
    if (begin == std::string::npos || end == std::string::npos || end < begin) {
        return false;
    }
    const std::size_t from = begin + std::string(kTableBegin).size();
    text.replace(from, end - from, table);
    std::ofstream out(file, std::ios::binary);
    out << text;
    return out.good();
}

} // namespace vantrel::bench
