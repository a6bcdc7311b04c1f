// SPDX-License-Identifier: MIT
// `xmldsig worker`: answers requests of another program, which so starts one process instead of one
// a document. Requests come one a line and are worked on in parallel (ordered_runner.h); the answer
// to each is the object that `verify --json` writes of the document, with the request's id in
// front. Whatever a request holds, it has one answer, and the worker goes on with the next one; it
// ends when its input does.

#include "cli/command_table.h"
#include "cli/commands.h"
#include "cli/confine.h"
#include "cli/ordered_runner.h"
#include "cli/terminal.h"
#include "cli/verify_file.h"
#include "cli/worker_request.h"
#include <vantrel/verify.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <utility>

namespace vantrel::cli {

namespace {

// A line that was longer leaves its memory to others.
constexpr std::size_t kKeptCapacity = std::size_t{1} << 20;

// Appends while there is room, and memory. What is cut is no request any more, and answered as
// such.
void keep(char octet, std::size_t& room, std::string& line) noexcept {
    if (line.size() >= room) {
        return;
    }
    try {
        line += octet;
    } catch (const std::bad_alloc&) {
        room = line.size();
    }
}

// The next line of standard input that is not blank; false at the end. Of one that is too long for
// a request so much is kept that this shows. Called by one thread at a time, hence the unlocked
// reading.
bool nextRequest(std::string& line, bool mayWait) {
    if (!mayWait) {
        return false;
    }
    if (line.capacity() > kKeptCapacity) {
        line = std::string();
    }
    line.clear();
    bool isBlank = true;
    std::size_t room = kMostRequestOctets + 1;
    int c = EOF;
    while ((c = getc_unlocked(stdin)) != EOF) {
        const char octet = static_cast<char>(c);
        if (octet == '\n' && !isBlank) {
            return true;
        }
        if (octet == '\n') {
            line.clear();
        } else {
            keep(octet, room, line);
        }
        isBlank = isBlank && (octet == '\n' || octet == ' ' || octet == '\t' || octet == '\r');
    }
    return !isBlank;
}

// The requests' common part: the command line, and the settings by it for those without options.
class Worker {
public:
    explicit Worker(const Arguments& arguments) : m_arguments(arguments) {}

    [[nodiscard]] bool load(std::string& complaint) {
        m_settings.setExplains(m_arguments.has("--explain"));
        return keepsOffInput(complaint) && m_settings.load(m_arguments, complaint);
    }

    [[nodiscard]] const VerifySettings& settings() const noexcept { return m_settings; }

    // Answers one request. Called by several threads at once.
    [[nodiscard]] FileResult answer(const std::string& line) const {
        WorkerRequest request;
        FileResult result;
        try {
            result = work(line, request);
        } catch (const std::exception& error) {
            result = refused(request, error.what());
        }
        if (!request.id.empty()) {
            // The heading begins with the bracket that opens the object.
            result.heading.insert(1, "\"id\":" + std::string(request.id) + ",");
        }
        return result;
    }

private:
    // Files that are read from there would be requests.
    bool keepsOffInput(std::string& complaint) const {
        for (const OptionSpec& option : allOptions()) {
            const std::vector<std::string> values = m_arguments.all(option.name);
            if (option.kind == ValueKind::File && std::ranges::count(values, "-") > 0) {
                complaint = withRemedy(std::string(option.name) +
                                           " - is not for worker, whose requests come that way",
                                       std::string(option.name) + " FILE");
                return false;
            }
        }
        return true;
    }

    FileResult work(const std::string& line, WorkerRequest& request) const {
        std::string complaint;
        if (!readRequest(line, request, complaint)) {
            return refused(request, complaint);
        }
        if (request.options.empty()) {
            return verified(request, m_settings);
        }
        // Over those of the command line, whose files are not read again.
        Result<VerifyOptions> options = optionsFromJson(request.options, m_settings.options());
        if (!options) {
            return refused(request, options.error().what);
        }
        return verified(request, VerifySettings(std::move(*options)));
    }

    // What stands in the answer is not told on standard error again: nobody may be reading that,
    // and a full pipe would hold the worker up.
    static FileResult verified(const WorkerRequest& request, const VerifySettings& settings) {
        FileResult result = verifyDocument(request.source, settings, ReportForm::Json);
        if (!settings.wantsLog()) {
            result.errors.clear();
        }
        return result;
    }

    // Where a policy was to judge, nothing is accepted that was not looked at.
    FileResult refused(const WorkerRequest& request, const std::string& complaint) const {
        FileResult result =
            errorResult(request.source.name, complaint, ReportForm::Json, m_settings.judges());
        result.errors.clear();
        return result;
    }

    const Arguments& m_arguments;
    VerifySettings m_settings;
};

// Each answer is there as soon as it is due: somebody waits for it before the next request. `more`:
// another one is due already, and goes the same way with it.
void write(const FileResult& result, bool more) {
    std::fwrite(result.errors.data(), 1, result.errors.size(), stderr);
    writeOutput(result.heading);
    writeOutput(result.report);
    if (!more) {
        std::fflush(stdout);
    }
}

} // namespace

int runWorker(const Arguments& arguments) {
    std::string complaint;
    std::size_t jobs = 0;
    Worker worker(arguments);
    if (!arguments.operands().empty()) {
        complaint = withRemedy("worker takes its documents from requests",
                               "xmldsig verify --json " + shellWord(arguments.operands().front()));
    }
    if (!complaint.empty() || !jobsFor(arguments, jobs, complaint) || !worker.load(complaint)) {
        complain(complaint);
        return kCannotTell;
    }
    confine(arguments, worker.settings(), Names::Later);
    OrderedRunner runner(
        nextRequest, [&worker](const std::string& line) { return worker.answer(line); }, write,
        arguments.has("--unordered") ? ResultOrder::AsDone : ResultOrder::OfNames,
        Delivery::AtOnce);
    runner.run(jobs);
    return kEverythingHolds;
}

} // namespace vantrel::cli
