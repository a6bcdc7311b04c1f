// SPDX-License-Identifier: MIT
#ifndef BENCH_PROCESS_RUNNER_H
#define BENCH_PROCESS_RUNNER_H

#include <string>
#include <vector>

#include <sys/types.h>

namespace vantrel::bench {

// What one process took.
struct ProcessFigures {
    int code = -1;            // of its exit; -1: it could not be started or was ended
    double processor = 0;     // seconds, user and system
    double wall = 0;          // seconds from start to end
    double peakMegabytes = 0; // of memory in use
};

// Starts processes and measures them. The system counts a child's peak memory from that of the
// process that starts it, so a small process, forked before this one has grown, does the starting:
// make the runner first of all.
class ProcessRunner final {
public:
    ProcessRunner();
    ProcessRunner(const ProcessRunner&) = delete;
    ProcessRunner& operator=(const ProcessRunner&) = delete;
    ~ProcessRunner();

    // Runs a command, found by PATH, with its output thrown away.
    [[nodiscard]] ProcessFigures run(const std::vector<std::string>& command);

private:
    int m_requests = -1;
    int m_answers = -1;
    pid_t m_starter = -1;
};

} // namespace vantrel::bench

#endif
