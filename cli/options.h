// SPDX-License-Identifier: MIT
#ifndef CLI_OPTIONS_H
#define CLI_OPTIONS_H

#include <vantrel/word_lists.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::cli {

// The command line: parsed here once for all commands, by the table of options (command_table.h).

// A set of commands, one bit each; the bits have their names in command_table.h.
using CommandSet = std::uint32_t;

// What an option's value is: the parser checks words, the completions offer what fits. `Words` are
// separated by commas and taken in any letter case; a `Word` stands alone and as it is listed.
enum class ValueKind : std::uint8_t { None, Text, Number, File, Folder, Word, Words };

// One option as parser, help, manual page and completions read it. The texts are of static storage.
struct OptionSpec {
    std::string_view name;     // with its dashes
    char letter;               // of the short form, 'q' for -q; '\0': there is none
    ValueKind kind;            // None for a switch
    std::string_view argument; // what its value is called; empty for a switch
    std::string_view words;    // all that a Word or Words may be, separated by blanks; else empty
    std::string_view help;     // begins in lower case, without a full stop
    CommandSet commands;       // those that take it
};

// The command line of one command. Options may stand anywhere, as `--name value`, `--name=value`,
// `-n value` or `-nvalue`; letters of switches may stand together. Everything behind `--` is an
// operand, and so is a lone `-`. There are no abbreviations, so that a new option never changes
// what an old command line means.
class Arguments final {
public:
    // Reads what follows the command's name; called once. `command`: its bit; only entries of
    // `table` with it count. False, with `complaint` filled (terminal.h), for an unknown option, a
    // missing value or an unwanted one, or a word that is not listed. `table` may go afterwards,
    // the texts of its entries must stay. An option's value may begin with a dash.
    [[nodiscard]] bool parse(std::span<const OptionSpec> table, CommandSet command,
                             std::span<const char* const> arguments, std::string& complaint);

    // Whether the option was given, with or without a value. Always by its long name.
    [[nodiscard]] bool has(std::string_view name) const noexcept { return last(name) != nullptr; }
    // The value given last, empty for a switch; null when the option was not given. Valid as long
    // as this object.
    [[nodiscard]] const std::string* last(std::string_view name) const noexcept;
    // Every value of an option that may be repeated, in their order.
    [[nodiscard]] std::vector<std::string> all(std::string_view name) const;
    // What is no option: the files, in their order.
    [[nodiscard]] const std::vector<std::string>& operands() const noexcept { return m_operands; }

    // The number given with `name`, in lowest..highest; nothing when the option was not given.
    // False, with `complaint`, when the value is no such number.
    [[nodiscard]] bool number(std::string_view name, int lowest, int highest,
                              std::optional<int>& value, std::string& complaint) const;

private:
    // Name and value in their order; the names are those of the table.
    std::vector<std::pair<std::string_view, std::string>> m_options;
    std::vector<std::string> m_operands;
};

// Reads all of `text` as a decimal number without a sign or white space. False, with `value`
// unspecified, when it is none or lies outside lowest..highest.
[[nodiscard]] bool parseNumber(std::string_view text, int lowest, int highest, int& value) noexcept;

// "--hmac-key-file" of "hmacKeyFile": an option as the command line has it, by its name where names
// are written so.
[[nodiscard]] std::string longName(std::string_view camelCase);

using text::nearest;
using text::splitWords;

} // namespace vantrel::cli

#endif
