#ifndef CLI_COMMANDS_H
#define CLI_COMMANDS_H

#include "cli/options.h"

#include <span>
#include <string_view>
#include <vector>

// The commands of the tool `xmldsig`. Each stands in a source file of its own (verify_command.cpp,
// ...), reads its options, works on its files and answers with an exit code; main.cpp finds the one
// that was asked for. Results go to standard output, everything else to standard error.
namespace vantrel::cli {

// The tool's exit codes: the highest over all files wins.
enum ExitCode : int {
    kEverythingHolds = 0,
    kSomethingFails = 1, // a signature or digest does not verify, or there is no signature
    kCannotTell = 2,     // usage error, unreadable file, not well-formed XML, over a limit
};

// One command of the tool. `run` gets its parsed command line and returns an exit code.
struct Command {
    // All texts are of static storage.
    std::string_view name;
    std::string_view usage;   // what follows the name
    std::string_view summary; // one sentence
    std::vector<OptionSpec> options;
    // Complaints have been printed when it returns. May throw std::bad_alloc, which main reports.
    int (*run)(const Arguments& arguments);
};

// The commands, in the order in which the help lists them. Each call makes a new value.
[[nodiscard]] Command verifyCommand();
[[nodiscard]] Command infoCommand();
[[nodiscard]] Command c14nCommand();
[[nodiscard]] Command certsCommand();
[[nodiscard]] Command digestInputCommand();
[[nodiscard]] Command timestampCommand();

} // namespace vantrel::cli

#endif
