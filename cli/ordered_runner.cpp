// SPDX-License-Identifier: MIT
#include "cli/ordered_runner.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

// With Delivery::Collected the thread that emits looks for results by itself after a while, and is
// woken where others wait for it only.
//
// Two locks, always taken in this order: m_nameMutex, by the one thread that reads names; then
// m_mutex, shortly, for the counters and the results that wait. Names are numbered as they are
// read, and result n is emitted when all before it have been, or at once where that is wanted. One
// condition serves all three reasons to wait (room in the window, the next result, the end), as
// there are few threads to wake.
namespace vantrel::cli {

namespace {

// Against a slip of the keyboard: each thread holds a document in memory.
constexpr int kMostJobs = 1024;

// Results are collected for so long, and of each thread about as many at most: several times what
// it makes of small files in that time, so that nobody waits for the thread that hands them on.
constexpr std::chrono::milliseconds kCollected{2};
constexpr std::size_t kMostCollected = 512;
constexpr std::size_t kMostCollectedOctets = std::size_t{1} << 20;

std::size_t octetsOf(const FileResult& result) {
    return result.heading.size() + result.report.size() + result.errors.size();
}

} // namespace

bool jobsFor(const Arguments& arguments, std::size_t& jobs, std::string& complaint) {
    std::optional<int> asked;
    if (!arguments.number("--jobs", 1, kMostJobs, asked, complaint)) {
        return false;
    }
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    jobs = asked ? static_cast<std::size_t>(*asked) : processors;
    return true;
}

void OrderedRunner::run(std::size_t jobs) {
    // Enough for the others to go on while one works on a large file, little enough for memory.
    m_window = 4 * jobs;
    m_mostTaken = (m_delivery == Delivery::AtOnce ? 4 : kMostCollected) * jobs;
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
        m_emit(m_work(name), false);
    }
}

void OrderedRunner::workUntilEnd() {
    std::size_t index = 0;
    std::string name;
    while (takeName(index, name)) {
        FileResult result = m_work(name);
        if (keep(index, std::move(result))) {
            m_changed.notify_all();
        }
    }
}

bool OrderedRunner::keep(std::size_t index, FileResult&& result) {
    const std::lock_guard lock(m_mutex);
    m_waitingOctets += octetsOf(result);
    m_waiting.emplace(index, std::move(result));
    // Where the thread that emits does not wait, it looks by itself before it does.
    const bool isDue = m_order == ResultOrder::AsDone || index == m_emitted;
    return (m_delivery == Delivery::AtOnce && isDue) || m_ended;
}

// More than a few a thread only as long as they are small.
bool OrderedRunner::hasRoom() const noexcept {
    const std::size_t open = m_taken - m_emitted;
    return open < m_window || (open < m_mostTaken && m_waitingOctets < kMostCollectedOctets);
}

bool OrderedRunner::takeName(std::size_t& index, std::string& name) {
    // Held while waiting for room, too: then nobody else could take a name either. The other lock
    // is given up before a name is read, since that may block for as long as the list's writer
    // likes.
    const std::lock_guard oneReader(m_nameMutex);
    {
        std::unique_lock lock(m_mutex);
        const auto goesOn = [this] { return m_ended || hasRoom(); };
        if (!goesOn()) {
            m_changed.notify_all();
            m_changed.wait(lock, goesOn);
        }
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

std::map<std::size_t, FileResult>::iterator OrderedRunner::dueResult(std::size_t emitted) {
    return m_order == ResultOrder::AsDone ? m_waiting.begin() : m_waiting.find(emitted);
}

std::vector<FileResult> OrderedRunner::takeDue() {
    std::vector<FileResult> due;
    for (auto next = dueResult(m_emitted); next != m_waiting.end();
         next = dueResult(m_emitted + due.size())) {
        due.push_back(std::move(next->second));
        m_waiting.erase(next);
    }
    return due;
}

void OrderedRunner::waitForResults(std::unique_lock<std::mutex>& lock) {
    const auto isDue = [this] {
        return dueResult(m_emitted) != m_waiting.end() || (m_ended && m_emitted == m_taken);
    };
    if (m_delivery == Delivery::AtOnce) {
        m_changed.wait(lock, isDue);
        return;
    }
    // Woken by the end, and by whoever has no room; else it is time to look.
    if (!m_ended) {
        m_changed.wait_for(lock, kCollected);
    }
    while (!isDue()) {
        m_changed.wait_for(lock, kCollected);
    }
}

void OrderedRunner::emitAll() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        waitForResults(lock);
        const std::vector<FileResult> due = takeDue();
        if (due.empty()) {
            return;
        }
        // Printing may block on a full pipe; the workers go on meanwhile, as far as the window lets
        // them.
        lock.unlock();
        std::size_t octets = 0;
        for (const FileResult& result : due) {
            octets += octetsOf(result);
            m_emit(result, &result != &due.back());
        }
        lock.lock();
        m_waitingOctets -= octets;
        m_emitted += due.size();
        m_changed.notify_all();
    }
}

} // namespace vantrel::cli
