#ifndef CLI_COMMANDS_H
#define CLI_COMMANDS_H

#include "cli/options.h"

#include <span>
#include <string_view>
#include <vector>

namespace vantrel::cli {

// The tool's exit codes: the highest over all files wins.
enum ExitCode : int {
    kEverythingHolds = 0,
    kSomethingFails = 1, // a signature or digest does not verify, or there is no signature
    kCannotTell = 2,     // usage error, unreadable file, not well-formed XML, over a limit
};

// One command of the tool. `run` gets its parsed command line and returns an exit code.
struct Command {
    std::string_view name;
    std::string_view usage;   // what follows the name
    std::string_view summary; // one sentence
    std::vector<OptionSpec> options;
    int (*run)(const Arguments& arguments);
};

[[nodiscard]] Command verifyCommand();
[[nodiscard]] Command infoCommand();
[[nodiscard]] Command c14nCommand();
[[nodiscard]] Command certsCommand();
[[nodiscard]] Command digestInputCommand();
[[nodiscard]] Command timestampCommand();

} // namespace vantrel::cli

#endif
