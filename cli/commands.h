// SPDX-License-Identifier: MIT
#ifndef CLI_COMMANDS_H
#define CLI_COMMANDS_H

#include "cli/options.h"

#include <string_view>

// The commands of the tool `xmldsig`. Each stands in a source file of its own (verify_command.cpp,
// ...), reads its options, works on its files and answers with an exit code; main.cpp finds the one
// that was asked for, by the table in command_table.cpp. Results go to standard output, everything
// else to standard error.
namespace vantrel::cli {

// The tool's exit codes: the highest over all files wins.
enum ExitCode : int {
    kEverythingHolds = 0,
    // A signature or digest does not verify, there is no signature, or a certificate is not
    // trusted.
    kSomethingFails = 1,
    kCannotTell = 2, // usage error, unreadable file, not well-formed XML, over a limit
};

// One command of the tool, as command_table.cpp lists them. All texts are of static storage.
struct Command {
    CommandSet bit; // of this command alone
    std::string_view name;
    std::string_view usage;        // what follows the name
    std::string_view summary;      // one sentence
    std::string_view operandWords; // all that an operand may be, separated by blanks; empty: files
    // Gets the parsed command line and returns an exit code. Complaints have been printed when it
    // returns. May throw std::bad_alloc, which main reports.
    int (*run)(const Arguments& arguments);
};

[[nodiscard]] int runVerify(const Arguments& arguments);
[[nodiscard]] int runExplain(const Arguments& arguments);
[[nodiscard]] int runReport(const Arguments& arguments);
[[nodiscard]] int runInfo(const Arguments& arguments);
[[nodiscard]] int runC14n(const Arguments& arguments);
[[nodiscard]] int runCerts(const Arguments& arguments);
[[nodiscard]] int runDigestInput(const Arguments& arguments);
[[nodiscard]] int runTimestamp(const Arguments& arguments);
[[nodiscard]] int runWorker(const Arguments& arguments);
[[nodiscard]] int runPath(const Arguments& arguments);
[[nodiscard]] int runCompletion(const Arguments& arguments);
[[nodiscard]] int runHelp(const Arguments& arguments);
[[nodiscard]] int runVersion(const Arguments& arguments);

} // namespace vantrel::cli

#endif
