// SPDX-License-Identifier: MIT
#include "cli/ordered_runner.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#if defined(__linux__)
#include <sched.h>
#endif

// Two locks, always taken in this order: m_nameMutex, by the one thread that reads names; then
// m_mutex, shortly, for the counters and the results that wait. Names are numbered as they are
// read, and result n is emitted when all before it have been, or at once where that is wanted, by
// the thread that made it or the one that is emitting already. So nobody is woken for a result, but
// for room only.
namespace vantrel::cli {

namespace {

// Against a slip of the keyboard: each thread holds a document in memory.
constexpr int kMostJobs = 1024;

// Names are taken together that are worked on in about so long; of each thread as many results at
// most wait as it makes of small files in several times that, so that nobody waits for room.
constexpr std::chrono::microseconds kCollected{1000};
constexpr std::size_t kMostTogether = 32;
constexpr std::size_t kMostCollected = 512;
constexpr std::size_t kMostCollectedOctets = std::size_t{1} << 20;

std::size_t octetsOf(const FileResult& result) {
    return result.heading.size() + result.report.size() + result.errors.size();
}

// That this process may run on. The C++ library counts those of the machine, and reads a file for
// it.
std::size_t numProcessors() {
#if defined(__linux__)
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        return static_cast<std::size_t>(std::max(1, CPU_COUNT(&set)));
    }
#endif
    return std::max(1U, std::thread::hardware_concurrency());
}

} // namespace

bool jobsFor(const Arguments& arguments, std::size_t& jobs, std::string& complaint) {
    std::optional<int> asked;
    if (!arguments.number("--jobs", 1, kMostJobs, asked, complaint)) {
        return false;
    }
    jobs = asked ? static_cast<std::size_t>(*asked) : numProcessors();
    return true;
}

void OrderedRunner::run(std::size_t jobs) {
    // Enough for the others to go on while one works on a large file, little enough for memory.
    m_window = 4 * jobs;
    m_mostTaken = (m_delivery == Delivery::AtOnce ? 4 : kMostCollected) * jobs;
    if (jobs == 1) {
        runAlone();
        return;
    }
    for (std::size_t i = 0; i < jobs; ++i) {
        m_batches.emplace_back();
    }
    std::vector<std::thread> threads;
    try {
        while (threads.size() + 1 < jobs) {
            Batch& own = m_batches[threads.size() + 1];
            threads.emplace_back([this, &own] { workUntilEnd(own); });
        }
    } catch (const std::system_error&) {
        // Fewer threads do it as well.
    }
    workUntilEnd(m_batches.front());
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (m_fault != nullptr) {
        std::rethrow_exception(m_fault);
    }
}

void OrderedRunner::runAlone() {
    std::string name;
    while (m_next(name, true)) {
        m_emit(m_work(name), false);
    }
}

void OrderedRunner::workUntilEnd(Batch& own) {
    try {
        while (takeNames(own) || takeFromOthers(own)) {
            workOn(own);
        }
    } catch (...) {
        fail();
    }
}

void OrderedRunner::fail() {
    const std::lock_guard lock(m_mutex);
    if (m_fault == nullptr) {
        m_fault = std::current_exception();
    }
    m_ended = true;
    m_hasRoom.notify_all();
}

void OrderedRunner::workOn(Batch& own) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    Clock::time_point handedOn = start;
    const std::size_t count = own.names.size();
    std::vector<Done> results;
    results.reserve(count);
    for (std::size_t i = own.begun++; i < count; i = own.begun++) {
        results.push_back({own.first + i, m_work(own.names[i])});
        const Clock::time_point now = Clock::now();
        // Where there is much to do nothing waits for the rest of the batch.
        if (now - handedOn >= kCollected) {
            handOn(results);
            handedOn = now;
        }
    }
    handOn(results);
    if (m_delivery == Delivery::Collected) {
        const bool isQuick = Clock::now() - start < kCollected / 2;
        own.most = isQuick ? std::min(2 * own.most, kMostTogether) : (own.most + 1) / 2;
    }
}

// More than a few a thread only as long as they are small.
bool OrderedRunner::hasRoom() const noexcept {
    const std::size_t open = m_taken - m_emitted;
    return open < m_window || (open < m_mostTaken && m_waitingOctets < kMostCollectedOctets);
}

bool OrderedRunner::takeNames(Batch& own) {
    // Held while waiting for room, too: then nobody else could take a name either. The other lock
    // is given up before names are read, since that may block for as long as the list's writer
    // likes.
    const std::lock_guard oneReader(m_nameMutex);
    {
        std::unique_lock lock(m_mutex);
        m_hasRoom.wait(lock, [this] { return m_ended || hasRoom(); });
        if (m_ended) {
            return false;
        }
    }
    std::vector<std::string> names;
    std::string name;
    bool found = m_next(name, true);
    while (found) {
        names.push_back(std::move(name));
        found = names.size() < own.most && m_next(name, false);
    }
    const std::lock_guard lock(m_mutex);
    // `m_taken` may be raised after reading: only the holder of `m_nameMutex` changes it.
    own.first = m_taken;
    m_taken += names.size();
    own.names = std::move(names);
    own.begun = 0;
    m_ended = m_ended || own.names.empty();
    return !own.names.empty();
}

bool OrderedRunner::takeFromOthers(Batch& own) {
    const std::lock_guard lock(m_mutex);
    for (Batch& other : m_batches) {
        const std::size_t i = m_fault == nullptr ? other.begun++ : other.names.size();
        if (i < other.names.size()) {
            const std::size_t place = other.first + i;
            own.names.assign(1, std::move(other.names[i]));
            own.first = place;
            own.begun = 0;
            return true;
        }
    }
    return false;
}

std::vector<FileResult> OrderedRunner::takeDue() {
    std::vector<FileResult> due;
    while (!m_waiting.empty() &&
           (m_order == ResultOrder::AsDone || m_waiting.begin()->first == m_emitted + due.size())) {
        due.push_back(std::move(m_waiting.begin()->second));
        m_waiting.erase(m_waiting.begin());
    }
    return due;
}

void OrderedRunner::handOn(std::vector<Done>& results) {
    std::unique_lock lock(m_mutex);
    for (Done& done : results) {
        m_waitingOctets += octetsOf(done.result);
        m_waiting.emplace_hint(m_waiting.end(), done.place, std::move(done.result));
    }
    results.clear();
    if (!m_isEmitting) {
        m_isEmitting = true;
        emitDue(lock);
        m_isEmitting = false;
    }
}

void OrderedRunner::emitDue(std::unique_lock<std::mutex>& lock) {
    for (std::vector<FileResult> due = takeDue(); !due.empty(); due = takeDue()) {
        // Printing may block on a full pipe; the others go on meanwhile, as far as the window lets
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
        m_hasRoom.notify_one();
    }
}

} // namespace vantrel::cli
