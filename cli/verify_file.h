// SPDX-License-Identifier: MIT
#ifndef CLI_VERIFY_FILE_H
#define CLI_VERIFY_FILE_H

#include "cli/commands.h"
#include "cli/verify_settings.h"
#include <vantrel/DataBuffer.h>

#include <optional>
#include <string>
#include <string_view>

namespace vantrel::cli {

// How results are to be shown: not at all (--quiet), for people, one JSON object a file, or a page
// of HTML a file.
enum class ReportForm { None, Text, Json, Html };

// What one file's verification leaves to be printed, by whoever knows its turn.
struct FileResult {
    std::string name;
    ExitCode code = kCannotTell;       // until something better is known
    std::string_view status = "error"; // as the report has it; of static storage
    bool refused = false;              // a policy judged it and did not accept it
    // For standard output, one after the other: text, one JSON object with its line end, or a page,
    // which is empty for a file that could not be judged.
    std::string heading;
    std::string report;
    std::string errors; // for standard error: why the file could not be verified, and the log
};

// A document that is to be verified, and how long that may take.
struct VerifySource {
    std::string name; // as reports have it; that of the file where the document is not given
    std::optional<DataBuffer> document; // the document itself
    bool isText = false;                // given decoded, as UTF-8, whatever encoding it declares
    std::optional<int> timeoutMs;       // past it the document's status is "error"
};

// Verifies the selected signatures of one document, each with all that `settings` give. Never
// throws; out of memory is a result, too. May run in several threads at once with the same
// settings. A report past its limit makes the document's status "error"; logs past theirs end in a
// line that says so.
[[nodiscard]] FileResult verifyDocument(const VerifySource& source, const VerifySettings& settings,
                                        ReportForm form);

// Verifies the selected signatures of one file ("-": standard input)) as verifyDocument().
[[nodiscard]] FileResult verifyFile(const std::string& name, const VerifySettings& settings,
                                    ReportForm form);

// The result of what could not be verified at all, with the reason; `name` as reports have it.
// `judged`: a policy was to say whether it is accepted, which it then is not.
[[nodiscard]] FileResult errorResult(const std::string& name, std::string_view complaint,
                                     ReportForm form, bool judged);

} // namespace vantrel::cli

#endif
