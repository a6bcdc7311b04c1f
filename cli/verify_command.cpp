// SPDX-License-Identifier: MIT
// `xmldsig verify`: every signature of every file. The files are read and verified in parallel,
// each by a verifier of its own, and reported in the order in which they were named
// (ordered_runner.h). Reports go to standard output; logs, and why a file could not be judged, to
// standard error. The exit code is the worst of all files; a document without signatures counts as
// one that does not verify, since a caller who asked for valid signatures did not get one.

#include "cli/verify_command.h"

#include "cli/commands.h"
#include "cli/confine.h"
#include "cli/input.h"
#include "cli/ordered_runner.h"
#include "cli/progress.h"
#include "cli/summary.h"
#include "cli/terminal.h"
#include "cli/verify_file.h"

#include <algorithm>
#include <cstdio>

namespace vantrel::cli {

namespace {

// Prints the results in their turn, and keeps what is said of all of them at the end.
class Printer {
public:
    // `total`: number of files, 0 where it is not known.
    Printer(const Arguments& arguments, const VerifySettings& settings, ReportForm form,
            std::size_t total)
        : m_form(form), m_failedOnly(arguments.has("--failed-only")),
          m_wantsSummary(arguments.has("--summary")), m_wantsLog(settings.wantsLog()),
          m_progress(total, form != ReportForm::None) {}

    // Counted whether it is shown or not. `more`: another result follows at once.
    void print(const FileResult& result, bool more) {
        const bool holds = result.code == kEverythingHolds;
        m_code = std::max<int>(m_code, result.code);
        m_summary.add(result.status, result.refused);
        if (!holds || !m_failedOnly) {
            show(result);
        }
        // Whoever reads the results through a pipe gets each file as it is done.
        if (!more) {
            std::fflush(stdout);
        }
        m_progress.advance(holds);
    }

    // The counts, where they are wanted: on a terminal whoever looks at many files wants them.
    void end() {
        m_progress.hide();
        const bool json = m_form == ReportForm::Json;
        const bool terminal = json ? errorsAreTerminal() : outputIsTerminal();
        if (m_form == ReportForm::None ||
            !(m_wantsSummary || (terminal && m_summary.files() > 1))) {
            return;
        }
        // Standard output holds JSON and nothing else: one object a line, for programs.
        const std::string line = m_summary.line();
        if (json) {
            std::fwrite(line.data(), 1, line.size(), stderr);
        } else {
            writeOutput(line);
        }
    }

    int code() const noexcept { return m_code; }

private:
    // What one file left, in the order in which it is read: why it could not be judged, its status,
    // then its signatures.
    void show(const FileResult& result) {
        // Only what writes something needs the bar out of the way.
        if (!result.errors.empty() || !result.heading.empty()) {
            m_progress.hide();
        }
        // A log that was asked for is not silenced by --quiet.
        if ((m_form != ReportForm::None || m_wantsLog) && !result.errors.empty()) {
            std::fflush(stdout); // on a terminal both stand in the order of the files
            std::fwrite(result.errors.data(), 1, result.errors.size(), stderr);
        }
        writeOutput(result.heading);
        writeOutput(result.report);
    }

    // What the command line asks for.
    const ReportForm m_form;
    const bool m_failedOnly;
    const bool m_wantsSummary;
    const bool m_wantsLog;
    // What became of the files so far: the worst outcome, and the number of each.
    int m_code = kEverythingHolds;
    Summary m_summary;
    Progress m_progress;
};

int usageError(const std::string& complaint) {
    complain(complaint);
    return kCannotTell;
}

} // namespace

int runVerify(const Arguments& arguments) {
    return verifyFiles(arguments, arguments.has("--explain"));
}

int verifyFiles(const Arguments& arguments, bool explains) {
    std::string complaint;
    NameSource names;
    VerifySettings settings;
    std::size_t threads = 0;
    if (!names.open(arguments, false, complaint) || !jobsFor(arguments, threads, complaint) ||
        !settings.load(arguments, complaint)) {
        return usageError(complaint);
    }
    settings.setExplains(explains);
    // What is not needed to have the files verified side by side is shared out among them.
    const std::size_t jobs = names.total() > 0 ? std::min(threads, names.total()) : threads;
    settings.setThreads(static_cast<int>(threads / jobs));
    confine(arguments, settings, Names::Now);
    const ReportForm form = arguments.has("--quiet")  ? ReportForm::None
                            : arguments.has("--json") ? ReportForm::Json
                                                      : ReportForm::Text;
    // The work runs on many threads, what follows it on one at a time, file by file in the order of
    // the names.
    Printer printer(arguments, settings, form, names.total());
    OrderedRunner runner(
        [&names](std::string& name, bool mayWait) { return names.next(name, mayWait); },
        [&settings, form](const std::string& name) { return verifyFile(name, settings, form); },
        [&printer](const FileResult& result, bool more) { printer.print(result, more); },
        ResultOrder::OfNames,
        // Pages are too large to be collected.
        form == ReportForm::Html ? Delivery::AtOnce : Delivery::Collected);
    runner.run(jobs);
    printer.end();
    if (names.foundNothing()) {
        return usageError(std::string(kNothingFound));
    }
    return printer.code();
}

} // namespace vantrel::cli
