// SPDX-License-Identifier: MIT
#ifndef CLI_COMMAND_TABLE_H
#define CLI_COMMAND_TABLE_H

#include "cli/commands.h"
#include "cli/options.h"

#include <span>
#include <string_view>

// All commands and all options of the tool, as data. Parser, help, manual page and the completions
// of the shells are made from it and from nothing else, so that they cannot disagree.
namespace vantrel::cli {

// The commands' bits.
inline constexpr CommandSet kVerify = 1U << 0;
inline constexpr CommandSet kInfo = 1U << 1;
inline constexpr CommandSet kC14n = 1U << 2;
inline constexpr CommandSet kCerts = 1U << 3;
inline constexpr CommandSet kDigestInput = 1U << 4;
inline constexpr CommandSet kTimestamp = 1U << 5;
inline constexpr CommandSet kPath = 1U << 6;
inline constexpr CommandSet kCompletion = 1U << 7;
inline constexpr CommandSet kHelp = 1U << 8;
inline constexpr CommandSet kVersion = 1U << 9;
inline constexpr CommandSet kReport = 1U << 10;
inline constexpr CommandSet kExplain = 1U << 11;
inline constexpr CommandSet kWorker = 1U << 12;
inline constexpr CommandSet kEveryCommand = (1U << 13) - 1;

// Those that verify or do what a verification does up to some point: they share the options that
// say what is verified and with what.
inline constexpr CommandSet kVerifying = kVerify | kExplain | kReport | kDigestInput | kWorker;
// Those that say of what they verified whether it is accepted.
inline constexpr CommandSet kJudging = kVerify | kExplain | kReport | kWorker;
// Those in which a search for causes has to be asked for.
inline constexpr CommandSet kSearching = kVerify | kWorker;
// Those that go through any number of files.
inline constexpr CommandSet kManyFiles = kVerify | kExplain | kInfo | kC14n | kCerts | kDigestInput;

// The commands, the most used first.
[[nodiscard]] std::span<const Command> allCommands() noexcept;
// The command with this name, or null.
[[nodiscard]] const Command* findCommand(std::string_view name) noexcept;
// The options of all commands, in the order of the help. A name may stand in several entries of
// different commands, where it means something else there.
[[nodiscard]] std::span<const OptionSpec> allOptions() noexcept;

} // namespace vantrel::cli

#endif
