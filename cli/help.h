// SPDX-License-Identifier: MIT
#ifndef CLI_HELP_H
#define CLI_HELP_H

#include "cli/commands.h"

#include <string>

// What the tool says of itself, made from the table of commands and options.
namespace vantrel::cli {

// The commands, one a line, and what holds for all of them.
[[nodiscard]] std::string generalHelp();
// Usage, summary and options of one command, in 80 columns.
[[nodiscard]] std::string helpOf(const Command& command);
// The manual page in the macros of man(7).
[[nodiscard]] std::string manualPage();
// "xmldsig 1.2.3" and a line end.
[[nodiscard]] std::string versionLine();

// The complaint about a name that is no command; its remedy is the nearest one that is, or, where
// the name is that of a file, the command that verifies it.
[[nodiscard]] std::string unknownCommand(std::string_view name);

} // namespace vantrel::cli

#endif
