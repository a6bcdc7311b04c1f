// `xmldsig verify`: every signature of every file. The files are read and verified in parallel,
// each by a verifier of its own, and reported in the order in which they were named
// (ordered_runner.h). Reports go to standard output; logs, and why a file could not be judged, to
// standard error. The exit code is the worst of all files; a document without signatures counts as
// one that does not verify, since a caller who asked for valid signatures did not get one.

#include "cli/commands.h"
#include "cli/ordered_runner.h"
#include "cli/progress.h"
#include "cli/terminal.h"
#include "cli/verify_file.h"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace vantrel::cli {

namespace {

// Against a slip of the keyboard: each thread holds a document in memory.
constexpr int kMostJobs = 1024;

// The files to verify: the operands, and the lines of --files-from. False, with the reason in
// `complaint`, for a usage error.
bool loadNames(const Arguments& arguments, NameSource& names, std::string& complaint) {
    const std::string* const list = arguments.last("--files-from");
    const auto& operands = arguments.operands();
    // Two readers of standard input would each get a part of it.
    const auto inputs = std::count(operands.begin(), operands.end(), "-");
    if (inputs + (list != nullptr && *list == "-" ? 1 : 0) > 1) {
        complaint = "the standard input can be read only once";
        return false;
    }
    if (list == nullptr) {
        if (operands.empty()) {
            complaint = "no file is named";
        }
        return !operands.empty();
    }
    if (!names.openList(*list, complaint)) {
        complaint = "--files-from " + complaint;
        return false;
    }
    return true;
}

// The number of threads: as asked, else one a processor, but no more than there are files, where
// that is known (0: it is not).
std::size_t jobsFor(const std::optional<int>& asked, std::size_t files) {
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t jobs = asked ? static_cast<std::size_t>(*asked) : processors;
    return files > 0 ? std::min(jobs, files) : jobs;
}

int usageError(const std::string& complaint) {
    complain(complaint);
    return kCannotTell;
}

int runVerify(const Arguments& arguments) {
    std::string complaint;
    NameSource names(arguments.operands());
    VerifySettings settings;
    std::optional<int> jobs;
    if (!arguments.number("--jobs", 1, kMostJobs, jobs, complaint) ||
        !loadNames(arguments, names, complaint) || !settings.load(arguments, complaint)) {
        return usageError(complaint);
    }
    const bool quiet = arguments.has("--quiet");
    const ReportForm form = quiet                     ? ReportForm::None
                            : arguments.has("--json") ? ReportForm::Json
                                                      : ReportForm::Text;
    // The work runs on many threads, what follows it on this one, file by file in the order of the
    // names.
    int code = kEverythingHolds;
    Progress progress(names.total(), !quiet);
    OrderedRunner runner(
        names,
        [&settings, form](const std::string& name) { return verifyFile(name, settings, form); },
        [&](const FileResult& result) {
            code = std::max<int>(code, result.code);
            // Only what writes something needs the bar out of the way.
            if (!result.errors.empty() || !result.heading.empty()) {
                progress.hide();
            }
            // A log that was asked for is not silenced by --quiet.
            if (!quiet || settings.wantsLog()) {
                std::fwrite(result.errors.data(), 1, result.errors.size(), stderr);
            }
            writeOutput(result.heading);
            writeOutput(result.report);
            // Whoever reads the results through a pipe gets each file as it is done.
            std::fflush(stdout);
            progress.advance(result.code == kEverythingHolds);
        });
    runner.run(jobsFor(jobs, names.total()));
    return code;
}

} // namespace

Command verifyCommand() {
    std::vector<OptionSpec> options = verificationOptions();
    options.insert(options.end(),
                   {{"--files-from", "FILE", "read the file names from FILE, one a line"},
                    {"--jobs", "N", "files verified in parallel (default: one a processor)"},
                    {"--json", "", "one JSON object a file, one a line"},
                    {"--quiet", "", "no output, only the exit code"}});
    return {"verify", "[options] FILE...",
            "Verifies every signature: its value and every reference digest.", std::move(options),
            runVerify};
}

} // namespace vantrel::cli
