// SPDX-License-Identifier: MIT
#ifndef CLI_ORDERED_RUNNER_H
#define CLI_ORDERED_RUNNER_H

#include "cli/options.h"
#include "cli/verify_file.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vantrel::cli {

// In which order results are handed on: that of the names, or each as it is done.
enum class ResultOrder { OfNames, AsDone };

// When results are handed on: each at once, since somebody may wait for it before giving the next
// name; or those of a millisecond together, since taking names and handing results on one by one
// costs more than a small file where threads do it side by side. A large file that comes in such a
// millisecond holds back the few results before it.
enum class Delivery { AtOnce, Collected };

// Works on files in parallel and hands the results on in the order that is asked for. No more
// results than a few a thread wait for their turn, or a megabyte of small ones, so memory stays
// bounded however long the list is, and where the order is that of the names a slow file holds
// those behind it back instead of letting them pile up. The threads share nothing but the names and
// the results. A name is whatever the work understands: a file's name, a request.
class OrderedRunner final {
public:
    // The next name; false at the end, and where it is not at hand and `mayWait` is false. Called
    // by one thread at a time, not always the same.
    using Next = std::function<bool(std::string& name, bool mayWait)>;
    // Makes the result of one file; called by several threads at once.
    using Work = std::function<FileResult(const std::string& name)>;
    // Takes the results, one after the other, of one thread at a time, not always the same. `more`:
    // another one follows at once.
    using Emit = std::function<void(const FileResult& result, bool more)>;

    OrderedRunner(Next next, Work work, Emit emit, ResultOrder order, Delivery delivery)
        : m_next(std::move(next)), m_work(std::move(work)), m_emit(std::move(emit)), m_order(order),
          m_delivery(delivery) {}

    // Works on `jobs` threads, of which the calling one is one; where no other can be started it
    // does the work alone. Returns when every name has been worked on and emitted; called once.
    // `jobs` is at least 1. What one of the functions throws ends the run and is thrown to the
    // caller.
    void run(std::size_t jobs);

private:
    // The names that a thread took together. Others take from them what it has not begun when there
    // is nothing else left.
    struct Batch {
        std::vector<std::string> names;
        std::size_t first = 0;          // the place of the first name
        std::atomic<std::size_t> begun; // how many, and more where somebody looked in vain
        std::size_t most = 1;           // names to be taken together the next time
    };

    struct Done {
        std::size_t place;
        FileResult result;
    };

    void runAlone();
    // What each of several threads does.
    void workUntilEnd(Batch& own);
    // Works on one after the other of the names, and hands on what is due in between.
    void workOn(Batch& own);
    // The next names, once there is room for their results; false at the end.
    [[nodiscard]] bool takeNames(Batch& own);
    // A name that another thread took and has not begun, at the end of all.
    [[nodiscard]] bool takeFromOthers(Batch& own);
    // Puts results where they wait for their turn, and emits all that are due unless another thread
    // is about it, which then emits these, too.
    void handOn(std::vector<Done>& results);
    // Whether one more name may be taken. With m_mutex held, as are the next ones.
    [[nodiscard]] bool hasRoom() const noexcept;
    // All that are due now, in the order in which they are emitted.
    [[nodiscard]] std::vector<FileResult> takeDue();
    void emitDue(std::unique_lock<std::mutex>& lock);
    // Ends the run for what was thrown.
    void fail();

    const Next m_next;
    const Work m_work;
    const Emit m_emit;
    const ResultOrder m_order;
    const Delivery m_delivery;

    std::mutex m_nameMutex; // one thread at a time reads names, which may block
    std::mutex m_mutex;     // the fields below, and the names of batches but for their owners' use
    std::condition_variable m_hasRoom;
    std::deque<Batch> m_batches;                 // one a thread
    std::map<std::size_t, FileResult> m_waiting; // done, by place, not yet emitted
    std::size_t m_waitingOctets = 0;             // of these, and of those being emitted
    std::size_t m_window = 1;    // names taken and not yet emitted, whatever their results
    std::size_t m_mostTaken = 1; // the same, where their results are small
    std::size_t m_taken = 0;
    std::size_t m_emitted = 0; // how many; in the order of names everything below this place
    bool m_isEmitting = false; // a thread is about it
    bool m_ended = false;      // no more names
    std::exception_ptr m_fault;
};

// The number of threads: that of --jobs, else one a processor. False, with `complaint`, for a
// --jobs that is no such number.
[[nodiscard]] bool jobsFor(const Arguments& arguments, std::size_t& jobs, std::string& complaint);

} // namespace vantrel::cli

#endif
