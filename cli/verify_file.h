#ifndef CLI_VERIFY_FILE_H
#define CLI_VERIFY_FILE_H

#include "cli/commands.h"
#include "cli/verify_settings.h"

#include <string>

namespace vantrel::cli {

enum class ReportForm { None, Text, Json };

// What one file's verification leaves to be printed.
struct FileResult {
    std::string name;
    ExitCode code = kCannotTell;
    // For standard output, one after the other: text, or one JSON object with its line end.
    std::string heading;
    std::string report;
    std::string errors; // for standard error: why the file could not be verified, and the log
};

// Verifies the selected signatures of one file. Never throws; out of memory is a result, too.
[[nodiscard]] FileResult verifyFile(const std::string& name, const VerifySettings& settings,
                                    ReportForm form);

} // namespace vantrel::cli

#endif
