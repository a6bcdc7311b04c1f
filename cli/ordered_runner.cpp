// SPDX-License-Identifier: MIT
#include "cli/ordered_runner.h"

#include <algorithm>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

// Two locks, always taken in this order: m_nameMutex, by the one thread that reads names; then
// m_mutex, shortly, for the counters and the results that wait. Names are numbered as they are
// read, and result n is emitted when all before it have been, or at once where that is wanted. One
// condition serves all three reasons to wait (room in the window, the next result, the end), as
// there are few threads to wake.
namespace vantrel::cli {

namespace {

// Against a slip of the keyboard: each thread holds a document in memory.
constexpr int kMostJobs = 1024;

} // namespace

bool jobsFor(const Arguments& arguments, std::size_t names, std::size_t& jobs,
             std::string& complaint) {
    std::optional<int> asked;
    if (!arguments.number("--jobs", 1, kMostJobs, asked, complaint)) {
        return false;
    }
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    jobs = asked ? static_cast<std::size_t>(*asked) : processors;
    jobs = names > 0 ? std::min(jobs, names) : jobs;
    return true;
}

void OrderedRunner::run(std::size_t jobs) {
    // Enough for the others to go on while one works on a large file, little enough for memory.
    m_window = 4 * jobs;
    std::vector<std::thread> threads;
    try {
        while (jobs > 1 && threads.size() < jobs) {
            threads.emplace_back([this] { workUntilEnd(); });
        }
    } catch (const std::system_error&) {
        // Fewer threads do it as well.
    }
    if (threads.empty()) {
        runAlone();
        return;
    }
    // Where fewer threads than wanted could be started, those there are do all the work.
    emitAll();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void OrderedRunner::runAlone() {
    std::string name;
    while (m_next(name)) {
        m_emit(m_work(name));
    }
}

void OrderedRunner::workUntilEnd() {
    std::size_t index = 0;
    std::string name;
    while (takeName(index, name)) {
        FileResult result = m_work(name);
        const std::lock_guard lock(m_mutex);
        m_waiting.emplace(index, std::move(result));
        m_changed.notify_all();
    }
}

bool OrderedRunner::takeName(std::size_t& index, std::string& name) {
    // Held while waiting for room, too: then nobody else could take a name either. The other lock
    // is given up before a name is read, since that may block for as long as the list's writer
    // likes.
    const std::lock_guard oneReader(m_nameMutex);
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ended || m_taken < m_emitted + m_window; });
        if (m_ended) {
            return false;
        }
    }
    // `m_taken` may be raised after reading: only the holder of `m_nameMutex` changes it.
    const bool found = m_next(name);
    const std::lock_guard lock(m_mutex);
    if (found) {
        index = m_taken++;
    } else {
        m_ended = true;
        m_changed.notify_all();
    }
    return found;
}

std::map<std::size_t, FileResult>::iterator OrderedRunner::dueResult() {
    return m_order == ResultOrder::AsDone ? m_waiting.begin() : m_waiting.find(m_emitted);
}

void OrderedRunner::emitAll() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] {
            return dueResult() != m_waiting.end() || (m_ended && m_emitted == m_taken);
        });
        const auto next = dueResult();
        if (next == m_waiting.end()) {
            return;
        }
        const FileResult result = std::move(next->second);
        m_waiting.erase(next);
        // Printing may block on a full pipe; the workers go on meanwhile, as far as the window lets
        // them.
        lock.unlock();
        m_emit(result);
        lock.lock();
        ++m_emitted;
        m_changed.notify_all();
    }
}

} // namespace vantrel::cli
