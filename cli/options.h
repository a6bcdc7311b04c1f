#ifndef CLI_OPTIONS_H
#define CLI_OPTIONS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::cli {

// The command line: parsed here once for all commands, each of which brings a table of its options.

// One option of a command, as the parser and the help read it. The texts are of static storage.
struct OptionSpec {
    std::string_view name;     // with its dashes
    std::string_view argument; // what its value is called; empty for a switch
    std::string_view help;
};

// The command line of one command. Options may stand anywhere, as `--name value` or `--name=value`;
// everything behind `--` is an operand, and so is a lone `-`. There are no short options and no
// abbreviations, so that a new option never changes what an old command line means.
class Arguments final {
public:
    // Reads what follows the command's name; called once. False, with `complaint` filled, for an
    // unknown option, a missing value or an unwanted one. `table` may go afterwards, the texts of
    // its entries must stay. An option's value may begin with a dash.
    [[nodiscard]] bool parse(std::span<const OptionSpec> table,
                             std::span<const char* const> arguments, std::string& complaint);

    // Whether the option was given, with or without a value.
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

// The lines of the help that list `table`: names on the left, explanations in a column of their
// own.
[[nodiscard]] std::string describeOptions(std::span<const OptionSpec> table);

} // namespace vantrel::cli

#endif
