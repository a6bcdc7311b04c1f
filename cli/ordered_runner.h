#ifndef CLI_ORDERED_RUNNER_H
#define CLI_ORDERED_RUNNER_H

#include "cli/input.h"
#include "cli/verify_file.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace vantrel::cli {

// Works on files in parallel and hands the results on in the order of the names. No more results
// than a few a thread wait for their turn, so memory stays bounded however long the list is, and a
// slow first file holds the others back instead of letting them pile up. The threads share nothing
// but the names and the results; `names` must outlive the run.
class OrderedRunner final {
public:
    // Makes the result of one file; called by several threads at once. It must not throw: nobody on
    // its thread could catch that.
    using Work = std::function<FileResult(const std::string& name)>;
    // Takes the results, one after the other.
    using Emit = std::function<void(const FileResult& result)>;

    OrderedRunner(NameSource& names, Work work, Emit emit)
        : m_names(names), m_work(std::move(work)), m_emit(std::move(emit)) {}

    // `work` runs on `jobs` threads, `emit` on the calling one. Where no thread can be started the
    // caller does the work itself. Returns when every name has been worked on and emitted; called
    // once. `jobs` is at least 1.
    void run(std::size_t jobs);

private:
    void runAlone();
    // What each thread does.
    void workUntilEnd();
    // The next name with its place in the order, once there is room for its result; false at the
    // end.
    [[nodiscard]] bool takeName(std::size_t& index, std::string& name);
    void emitInOrder();

    NameSource& m_names;
    const Work m_work;
    const Emit m_emit;

    std::mutex m_nameMutex; // one thread at a time reads names, which may block
    std::mutex m_mutex;     // the fields below
    std::condition_variable m_changed;
    std::map<std::size_t, FileResult> m_waiting; // done, by place, not yet emitted
    std::size_t m_window = 1;                    // most names taken and not yet emitted
    std::size_t m_taken = 0;
    std::size_t m_emitted = 0; // everything below this place
    bool m_ended = false;      // no more names
};

} // namespace vantrel::cli

#endif
