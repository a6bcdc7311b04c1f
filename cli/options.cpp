#include "cli/options.h"

#include <algorithm>
#include <charconv>

// The rules of the command line are those of the GNU long options, without abbreviations: `--name
// value` and `--name=value` are the same, options and operands may be mixed, `--` ends the options.
// A value that begins with a dash needs no quoting, since an option that takes one always takes the
// next argument.
namespace vantrel::cli {

namespace {

// Tables have a dozen entries; a hash would be slower to make than all look-ups together.
const OptionSpec* find(std::span<const OptionSpec> table, std::string_view name) {
    const auto place = std::find_if(table.begin(), table.end(), [name](const OptionSpec& option) {
        return option.name == name;
    });
    return place == table.end() ? nullptr : &*place;
}

} // namespace

bool Arguments::parse(std::span<const OptionSpec> table, std::span<const char* const> arguments,
                      std::string& complaint) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        // Everything behind is an operand, whatever it looks like.
        if (argument == "--") {
            m_operands.insert(m_operands.end(),
                              arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                              arguments.end());
            return true;
        }
        // A lone "-" is standard input.
        if (argument.size() < 2 || argument[0] != '-') {
            m_operands.emplace_back(argument);
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string_view name = argument.substr(0, equals);
        const OptionSpec* const option = find(table, name);
        if (option == nullptr) {
            complaint = "unknown option " + std::string(name);
            return false;
        }
        std::string value;
        if (option->argument.empty()) {
            if (equals != std::string_view::npos) {
                complaint = "option " + std::string(name) + " takes no value";
                return false;
            }
        } else if (equals != std::string_view::npos) {
            value = argument.substr(equals + 1);
        } else if (++i < arguments.size()) {
            value = arguments[i];
        } else {
            complaint = "option " + std::string(name) + " needs a value";
            return false;
        }
        // The table's name, not the argument's: it lives on.
        m_options.emplace_back(option->name, std::move(value));
    }
    return true;
}

const std::string* Arguments::last(std::string_view name) const noexcept {
    const std::string* found = nullptr;
    for (const auto& [given, value] : m_options) {
        if (given == name) {
            found = &value;
        }
    }
    return found;
}

std::vector<std::string> Arguments::all(std::string_view name) const {
    std::vector<std::string> values;
    for (const auto& [given, value] : m_options) {
        if (given == name) {
            values.push_back(value);
        }
    }
    return values;
}

bool Arguments::number(std::string_view name, int lowest, int highest, std::optional<int>& value,
                       std::string& complaint) const {
    const std::string* const text = last(name);
    if (text == nullptr) {
        value.reset();
        return true;
    }
    int parsed = 0;
    if (!parseNumber(*text, lowest, highest, parsed)) {
        complaint = std::string(name) + " takes a number from " + std::to_string(lowest) + " to " +
                    std::to_string(highest) + ", not \"" + *text + "\"";
        return false;
    }
    value = parsed;
    return true;
}

bool parseNumber(std::string_view text, int lowest, int highest, int& value) noexcept {
    // from_chars would take a minus sign.
    if (text.empty() || text[0] < '0' || text[0] > '9') {
        return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= lowest &&
           value <= highest;
}

std::string describeOptions(std::span<const OptionSpec> table) {
    constexpr std::size_t kColumn = 26;
    std::string out;
    for (const OptionSpec& option : table) {
        std::string left = "  " + std::string(option.name);
        if (!option.argument.empty()) {
            left += " " + std::string(option.argument);
        }
        out += left;
        // A name that is too long for its column has a line to itself.
        out += left.size() < kColumn ? std::string(kColumn - left.size(), ' ')
                                     : "\n" + std::string(kColumn, ' ');
        out += option.help;
        out += '\n';
    }
    return out;
}

} // namespace vantrel::cli
