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

// One option of a command, as the parser and the help read it.
struct OptionSpec {
    std::string_view name;     // with its dashes
    std::string_view argument; // what its value is called; empty for a switch
    std::string_view help;
};

// The command line of one command. Options may stand anywhere, as `--name value` or `--name=value`;
// everything behind `--` is an operand, and so is a lone `-`.
class Arguments final {
public:
    // False, with `complaint` filled, for an unknown option, a missing value or an unwanted one.
    [[nodiscard]] bool parse(std::span<const OptionSpec> table,
                             std::span<const char* const> arguments, std::string& complaint);

    [[nodiscard]] bool has(std::string_view name) const noexcept { return last(name) != nullptr; }
    // The value given last; null when the option was not given.
    [[nodiscard]] const std::string* last(std::string_view name) const noexcept;
    [[nodiscard]] std::vector<std::string> all(std::string_view name) const;
    [[nodiscard]] const std::vector<std::string>& operands() const noexcept { return m_operands; }

    // The number given with `name`, in lowest..highest; nothing when the option was not given.
    // False, with `complaint`, when the value is no such number.
    [[nodiscard]] bool number(std::string_view name, int lowest, int highest,
                              std::optional<int>& value, std::string& complaint) const;

private:
    std::vector<std::pair<std::string_view, std::string>> m_options;
    std::vector<std::string> m_operands;
};

// Reads all of `text` as a decimal number without a sign.
[[nodiscard]] bool parseNumber(std::string_view text, int lowest, int highest, int& value) noexcept;

// The lines of the help that list `table`.
[[nodiscard]] std::string describeOptions(std::span<const OptionSpec> table);

} // namespace vantrel::cli

#endif
