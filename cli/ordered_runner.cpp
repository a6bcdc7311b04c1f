#include "cli/ordered_runner.h"

#include <system_error>
#include <thread>
#include <vector>

namespace vantrel::cli {

void OrderedRunner::run(std::size_t jobs) {
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
    emitInOrder();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void OrderedRunner::runAlone() {
    std::string name;
    while (m_names.next(name)) {
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
    const std::lock_guard oneReader(m_nameMutex);
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ended || m_taken < m_emitted + m_window; });
        if (m_ended) {
            return false;
        }
    }
    const bool found = m_names.next(name);
    const std::lock_guard lock(m_mutex);
    if (found) {
        index = m_taken++;
    } else {
        m_ended = true;
        m_changed.notify_all();
    }
    return found;
}

void OrderedRunner::emitInOrder() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] {
            return m_waiting.contains(m_emitted) || (m_ended && m_emitted == m_taken);
        });
        const auto next = m_waiting.find(m_emitted);
        if (next == m_waiting.end()) {
            return;
        }
        const FileResult result = std::move(next->second);
        m_waiting.erase(next);
        lock.unlock();
        m_emit(result);
        lock.lock();
        ++m_emitted;
        m_changed.notify_all();
    }
}

} // namespace vantrel::cli
