// SPDX-License-Identifier: MIT
#ifndef CLI_ORDERED_RUNNER_H
#define CLI_ORDERED_RUNNER_H

#include "cli/options.h"
#include "cli/verify_file.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vantrel::cli {

// In which order results are handed on: that of the names, or each as it is done.
enum class ResultOrder { OfNames, AsDone };

// When results are handed on: each at once, since somebody may wait for it before giving the next
// name; or those of some milliseconds together, since waking the thread that hands them on costs
// more than a small file.
enum class Delivery { AtOnce, Collected };

// Works on files in parallel and hands the results on in the order that is asked for. No more
// results than a few a thread wait for their turn, or a megabyte of small ones, so memory stays
// bounded however long the list is, and where the order is that of the names a slow file holds
// those behind it back instead of letting them pile up. The threads share nothing but the names and
// the results. A name is whatever the work understands: a file's name, a request.
class OrderedRunner final {
public:
    // The next name; false at the end. Called by one thread at a time, not always the same; it may
    // block.
    using Next = std::function<bool(std::string& name)>;
    // Makes the result of one file; called by several threads at once. It must not throw: nobody on
    // its thread could catch that.
    using Work = std::function<FileResult(const std::string& name)>;
    // Takes the results, one after the other. `more`: another one follows at once.
    using Emit = std::function<void(const FileResult& result, bool more)>;

    OrderedRunner(Next next, Work work, Emit emit, ResultOrder order, Delivery delivery)
        : m_next(std::move(next)), m_work(std::move(work)), m_emit(std::move(emit)), m_order(order),
          m_delivery(delivery) {}

    // `work` runs on `jobs` threads, `emit` on the calling one. Where no thread can be started the
    // caller does the work itself. Returns when every name has been worked on and emitted; called
    // once. `jobs` is at least 1.
    void run(std::size_t jobs);

private:
    void runAlone();
    // What each thread does.
    void workUntilEnd();
    // Puts a result where it waits for its turn; true when others are to be woken for it.
    [[nodiscard]] bool keep(std::size_t index, FileResult&& result);
    // The next name with its place in the order, once there is room for its result; false at the
    // end.
    [[nodiscard]] bool takeName(std::size_t& index, std::string& name);
    void emitAll();
    // Whether one more name may be taken. With m_mutex held, as are the next ones.
    [[nodiscard]] bool hasRoom() const noexcept;
    // Waits for a result that is due, or the end of all.
    void waitForResults(std::unique_lock<std::mutex>& lock);
    // The result that is due behind `emitted` others; the end where it is not there.
    [[nodiscard]] std::map<std::size_t, FileResult>::iterator dueResult(std::size_t emitted);
    // All that are due now, in the order in which they are emitted.
    [[nodiscard]] std::vector<FileResult> takeDue();

    const Next m_next;
    const Work m_work;
    const Emit m_emit;
    const ResultOrder m_order;
    const Delivery m_delivery;

    std::mutex m_nameMutex; // one thread at a time reads names, which may block
    std::mutex m_mutex;     // the fields below
    std::condition_variable m_changed;
    std::map<std::size_t, FileResult> m_waiting; // done, by place, not yet emitted
    std::size_t m_waitingOctets = 0;             // of these, and of those being emitted
    std::size_t m_window = 1;    // names taken and not yet emitted, whatever their results
    std::size_t m_mostTaken = 1; // the same, where their results are small
    std::size_t m_taken = 0;
    std::size_t m_emitted = 0; // how many; in the order of names everything below this place
    bool m_ended = false;      // no more names
};

// The number of threads: that of --jobs, else one a processor. False, with `complaint`, for a
// --jobs that is no such number.
[[nodiscard]] bool jobsFor(const Arguments& arguments, std::size_t& jobs, std::string& complaint);

} // namespace vantrel::cli

#endif
