// SPDX-License-Identifier: MIT
#include "cli/options.h"

#include "cli/terminal.h"
#include <vantrel/strings.h>

#include <algorithm>
#include <charconv>

// The rules of the command line are those of the GNU long options, without abbreviations: `--name
// value` and `--name=value` are the same, options and operands may be mixed, `--` ends the options.
// A value that begins with a dash needs no quoting, since an option that takes one always takes the
// next argument. Short options follow POSIX: letters of switches may stand together, and a letter
// that takes a value takes the rest of its argument, or the next one.
namespace vantrel::cli {

namespace {

// The whole list is shown: it is short, and the caller need not look it up.
void refuseWord(const OptionSpec& option, std::string_view word,
                std::span<const std::string_view> known, std::string& complaint) {
    std::string list;
    for (const std::string_view each : known) {
        list += (list.empty() ? "" : ", ") + std::string(each);
    }
    const std::string_view guess = nearest(word, known);
    complaint = withRemedy(
        std::string(option.name) + " is one of " + list + "; not \"" + std::string(word) + "\"",
        std::string(option.name) + " " + std::string(guess.empty() ? known.front() : guess));
}

// A word with a slip in it must not pass for one that was not given: a check that was asked for
// and silently not made is worse than none. Single words are taken as they are listed, since
// scripts compare them; those of a list come from people and are taken in any letter case.
bool checkWords(const OptionSpec& option, const std::string& value, std::string& complaint) {
    const bool single = option.kind == ValueKind::Word;
    if (!single && option.kind != ValueKind::Words) {
        return true;
    }
    const std::vector<std::string_view> known = splitWords(option.words);
    std::vector<std::string_view> given = splitWords(value, ',');
    if (single || given.empty()) {
        given = {value};
    }
    for (const std::string_view word : given) {
        const bool listed = std::any_of(known.begin(), known.end(), [&](std::string_view each) {
            return single ? each == word : text::equalsNoCase(each, word);
        });
        if (!listed) {
            refuseWord(option, word, known, complaint);
            return false;
        }
    }
    return true;
}

// One pass over the arguments. What goes wrong is told with what would be right, where that can be
// guessed.
class Parser {
public:
    Parser(std::span<const OptionSpec> table, CommandSet command,
           std::span<const char* const> arguments)
        : m_table(table), m_command(command), m_arguments(arguments) {}

    // The arguments are taken one after the other, by whoever needs the next one: the loop over
    // them, or an option for its value.
    bool atEnd() const noexcept { return m_next == m_arguments.size(); }
    std::string_view take() noexcept { return m_arguments[m_next++]; }

    // "--name", "--name=value". On success the option, and its value in `value`; null, with
    // `complaint` filled, for a usage error. Only the first "=" divides: a value may hold more.
    const OptionSpec* readLong(std::string_view argument, std::string& value) {
        const std::size_t equals = argument.find('=');
        const std::string_view name = argument.substr(0, equals);
        const OptionSpec* const option =
            find([name](const OptionSpec& each) { return each.name == name; });
        if (option == nullptr) {
            refuseUnknown(name);
            return nullptr;
        }
        if (equals == std::string_view::npos) {
            return readValue(*option, name, value) ? option : nullptr;
        }
        if (option->kind == ValueKind::None) {
            complaint = "option " + std::string(name) + " takes no value";
            return nullptr;
        }
        value = argument.substr(equals + 1);
        return checkWords(*option, value, complaint) ? option : nullptr;
    }

    // The letter at the front of `letters`, which is taken off; with it the rest, where that is its
    // value.
    const OptionSpec* readLetter(std::string_view& letters, std::string& value) {
        const char letter = letters[0];
        const std::string name = {'-', letter};
        letters.remove_prefix(1);
        const OptionSpec* const option =
            find([letter](const OptionSpec& each) { return each.letter == letter; });
        if (option == nullptr) {
            refuseUnknown(name);
            return nullptr;
        }
        if (option->kind == ValueKind::None || letters.empty()) {
            return readValue(*option, name, value) ? option : nullptr;
        }
        // "-j4". An equals sign would be part of the value: that form belongs to long names.
        value = letters;
        letters = {};
        return checkWords(*option, value, complaint) ? option : nullptr;
    }

    std::string complaint;

private:
    // Tables have a few dozen entries; a hash would be slower to make than all look-ups together.
    template <class Matches> const OptionSpec* find(Matches matches) const {
        const auto place = std::find_if(m_table.begin(), m_table.end(), [&](const auto& option) {
            return (option.commands & m_command) != 0 && matches(option);
        });
        return place == m_table.end() ? nullptr : &*place;
    }

    // The value that is an argument of its own, whatever it looks like. `name`: as it was written.
    bool readValue(const OptionSpec& option, std::string_view name, std::string& value) {
        if (option.kind == ValueKind::None) {
            return true;
        }
        if (atEnd()) {
            complaint = withRemedy("option " + std::string(name) + " needs a value",
                                   std::string(name) + " " + std::string(option.argument));
            return false;
        }
        value = take();
        return checkWords(option, value, complaint);
    }

    // An option of another command is a different slip than one that there is not: to propose an
    // option of this command with a similar name would lead astray.
    void refuseUnknown(std::string_view name) {
        std::vector<std::string_view> names;
        for (const OptionSpec& option : m_table) {
            if ((option.commands & m_command) != 0) {
                names.push_back(option.name);
            }
        }
        const bool elsewhere = std::any_of(m_table.begin(), m_table.end(), [&](const auto& option) {
            return option.name == name ||
                   (name.size() == 2 && option.letter != '\0' && option.letter == name[1]);
        });
        const std::string_view guess = nearest(name, names);
        if (elsewhere) {
            complaint = std::string(name) + " is no option of this command";
            return;
        }
        complaint = "unknown option " + std::string(name);
        if (!guess.empty()) {
            complaint = withRemedy(complaint, guess);
        }
    }

    std::span<const OptionSpec> m_table;
    CommandSet m_command;
    std::span<const char* const> m_arguments;
    std::size_t m_next = 0;
};

} // namespace

bool Arguments::parse(std::span<const OptionSpec> table, CommandSet command,
                      std::span<const char* const> arguments, std::string& complaint) {
    Parser parser(table, command, arguments);
    while (!parser.atEnd()) {
        const std::string_view argument = parser.take();
        // Everything behind is an operand, whatever it looks like: so files are named whose names
        // begin with a dash.
        if (argument == "--") {
            while (!parser.atEnd()) {
                m_operands.emplace_back(parser.take());
            }
            return true;
        }
        // A lone "-" is standard input.
        if (argument.size() < 2 || argument[0] != '-') {
            m_operands.emplace_back(argument);
            continue;
        }
        // A long option is one turn of the loop below, "-qv" is two.
        const bool isLong = argument[1] == '-';
        std::string_view letters = argument.substr(1);
        do {
            std::string value;
            const OptionSpec* const option =
                isLong ? parser.readLong(argument, value) : parser.readLetter(letters, value);
            if (option == nullptr) {
                complaint = parser.complaint;
                return false;
            }
            // The table's name, not the argument's: it lives on.
            m_options.emplace_back(option->name, std::move(value));
        } while (!isLong && !letters.empty());
    }
    return true;
}

// Of an option that is given twice the last counts, so that an alias of the shell can be overruled.
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
        complaint =
            withRemedy(std::string(name) + " takes a number from " + std::to_string(lowest) +
                           " to " + std::to_string(highest) + ", not \"" + *text + "\"",
                       std::string(name) + " " + std::to_string(lowest));
        return false;
    }
    value = parsed;
    return true;
}

bool parseNumber(std::string_view text, int lowest, int highest, int& value) noexcept {
    // from_chars would take a minus sign; that there are no negative numbers here is said by the
    // range that the complaint names.
    if (text.empty() || text[0] < '0' || text[0] > '9') {
        return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= lowest &&
           value <= highest;
}

std::string longName(std::string_view camelCase) {
    std::string out = "--";
    for (const char c : camelCase) {
        if (text::toLowerAscii(c) != c) {
            out += '-';
        }
        out += text::toLowerAscii(c);
    }
    return out;
}

} // namespace vantrel::cli
