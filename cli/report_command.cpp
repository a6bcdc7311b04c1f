// SPDX-License-Identifier: MIT
// `xmldsig report --html`: one file is verified as `verify` would, and the result is a page for
// people: the verdict, the signers, and the document's text with what each signature covers. The
// exit code is that of `verify`; a file that cannot be judged leaves no page.

#include "cli/commands.h"
#include "cli/confine.h"
#include "cli/terminal.h"
#include "cli/verify_file.h"
#include <vantrel/_vlLogger.h>
#include <vantrel/byte_view.h>
#include <vantrel/files.h>

#include <cstdio>

namespace vantrel::cli {

namespace {

// One page is about one file.
bool checkUsage(const Arguments& arguments, std::string& complaint) {
    if (!arguments.has("--html")) {
        complaint = "a report is made as a page of HTML\ntry: --html";
        return false;
    }
    const std::size_t files = arguments.operands().size();
    if (files != 1) {
        complaint = files == 0 ? "no file is named" : "a page is about one file";
        return false;
    }
    return true;
}

// A page half written would be shown as a whole one, so a failure is an error of the tool.
int writePage(const std::string* output, const FileResult& result) {
    if (output == nullptr || *output == "-") {
        writeOutput(result.report);
        return result.code;
    }
    _vlLogger log;
    if (!io::writeFile(*output, asBytes(result.report), log)) {
        complain(*output + ": " + std::string(log.lastErrorLine()));
        return kCannotTell;
    }
    return result.code;
}

} // namespace

int runReport(const Arguments& arguments) {
    std::string complaint;
    VerifySettings settings;
    if (!checkUsage(arguments, complaint) || !settings.load(arguments, complaint)) {
        complain(complaint);
        return kCannotTell;
    }
    confine(arguments, settings, Names::Now);
    const FileResult result = verifyFile(arguments.operands().front(), settings, ReportForm::Html);
    std::fwrite(result.errors.data(), 1, result.errors.size(), stderr);
    return result.report.empty() ? result.code : writePage(arguments.last("--output"), result);
}

} // namespace vantrel::cli
