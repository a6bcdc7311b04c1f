// SPDX-License-Identifier: MIT
#include "cli/help.h"

#include "cli/command_table.h"
#include "cli/confine.h"
#include "cli/terminal.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#ifndef VANTREL_VERSION
#define VANTREL_VERSION "unknown"
#endif

// Help and manual page say the same, since both walk through the table; they differ in form only.
// Texts for people are wrapped at 80 columns, the width that every terminal has. The manual page
// leaves that to its reader.
namespace vantrel::cli {

namespace {

constexpr std::size_t kWidth = 80;
// Where the explanations of options begin.
constexpr std::size_t kColumn = 26;
// And those of commands, in the general help.
constexpr std::size_t kCommandColumn = 16;

// What holds for every command and hence stands in no command's help.
constexpr std::string_view kCommonRules[] = {
    "A FILE of - is the standard input. `xmldsig help COMMAND` lists the options of a command.",
    "Exit code: 0 everything asked for holds; 1 a signature or digest does not verify, or there is "
    "no signature; 2 usage error, unreadable file, not well-formed XML, or over a limit.",
};

// `text` in lines that begin at `column` and end before kWidth; the first line goes on behind what
// stands there. A word that is too long stays whole.
std::string wrapped(std::string_view text, std::size_t column) {
    std::string out;
    std::size_t at = column;
    // Words are counted in octets: the texts of the table are ASCII.
    for (const std::string_view word : splitWords(text)) {
        if (at > column && at + 1 + word.size() > kWidth) {
            out += "\n" + std::string(column, ' ');
            at = column;
        }
        if (at > column) {
            out += ' ';
            ++at;
        }
        out += word;
        at += word.size();
    }
    return out + "\n";
}

// `left` and, in a column of its own, the explanation; a name that is too long for its column has a
// line to itself.
std::string entry(std::string left, std::string_view text, std::size_t column) {
    left += left.size() + 2 <= column ? std::string(column - left.size(), ' ')
                                      : "\n" + std::string(column, ' ');
    return left + wrapped(text, column);
}

// "-j, --jobs N"; without a letter the name stands where it would with one.
std::string optionName(const OptionSpec& option) {
    std::string out =
        option.letter != '\0' ? std::string("-") + option.letter + ", " : std::string("    ");
    out += option.name;
    if (!option.argument.empty()) {
        out += " " + std::string(option.argument);
    }
    return out;
}

// Those of one command, in the order of the table. Pointers into it, which is static.
std::vector<const OptionSpec*> optionsOf(const Command& command) {
    std::vector<const OptionSpec*> found;
    for (const OptionSpec& option : allOptions()) {
        if ((option.commands & command.bit) != 0) {
            found.push_back(&option);
        }
    }
    return found;
}

// A text of the manual page: a backslash is written out, a dash is one that can be searched for and
// copied, and no line begins with a character that would make it a request (groff_man(7)).
std::string manualText(std::string_view text) {
    std::string out;
    // Only what is active in roff is changed; the texts have no other markup.
    for (const char c : text) {
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else if (out.empty() && (c == '.' || c == '\'')) {
            out += std::string("\\&") + c;
        } else {
            out += c;
        }
    }
    return out;
}

// One option as a tagged paragraph, its name in bold and what its value is called in italics.
std::string manualEntry(const OptionSpec& option) {
    std::string out = ".TP\n";
    if (option.letter != '\0') {
        out += "\\fB\\-" + std::string(1, option.letter) + "\\fR, ";
    }
    out += "\\fB" + manualText(option.name) + "\\fR";
    if (!option.argument.empty()) {
        out += " \\fI" + manualText(option.argument) + "\\fR";
    }
    return out + "\n" + manualText(option.help) + ".\n";
}

} // namespace

// The first thing that somebody sees who has never used the tool: what it is for, and where to go
// on.
std::string generalHelp() {
    std::string out =
        "Verifies XML digital signatures.\n\nUsage: xmldsig COMMAND [options] FILE...\n\n";
    for (const Command& command : allCommands()) {
        out += entry("  " + std::string(command.name), command.summary, kCommandColumn);
    }
    for (const std::string_view rule : kCommonRules) {
        out += "\n" + wrapped(rule, 0);
    }
    return out;
}

// All there is about one command, within the width of a terminal: how it is called, what it does,
// and its options in the order of the table, which puts what belongs together side by side.
std::string helpOf(const Command& command) {
    const std::string start = "Usage: xmldsig " + std::string(command.name) + " ";
    std::string out =
        start + wrapped(command.usage, start.size()) + "\n" + wrapped(command.summary, 0) + "\n";
    for (const OptionSpec* const option : optionsOf(command)) {
        out += entry("  " + optionName(*option), option->help, kColumn);
    }
    return out;
}

// No date: a page made twice from the same sources is the same, byte for byte.
std::string manualPage() {
    std::string out = ".TH XMLDSIG 1 \"\" \"vantrel " VANTREL_VERSION "\" \"User Commands\"\n"
                      ".SH NAME\nxmldsig \\- verifies XML digital signatures\n"
                      ".SH SYNOPSIS\n.B xmldsig\n\\fICOMMAND\\fR [options] \\fIFILE\\fR...\n"
                      ".SH COMMANDS\n";
    for (const Command& command : allCommands()) {
        out += ".SS xmldsig " + manualText(command.name) + " " + manualText(command.usage) + "\n" +
               manualText(command.summary) + "\n";
        for (const OptionSpec* const option : optionsOf(command)) {
            out += manualEntry(*option);
        }
    }
    out += ".SH NOTES\n";
    for (const std::string_view rule : kCommonRules) {
        out += ".PP\n" + manualText(rule) + "\n";
    }
    return out;
}

std::string versionLine() { return "xmldsig " VANTREL_VERSION "\n"; }

std::string unknownCommand(std::string_view name) {
    std::vector<std::string_view> names;
    for (const Command& command : allCommands()) {
        names.push_back(command.name);
    }
    // "xmldsig invoice.xml" is what many a program would take.
    std::error_code ignored;
    if (std::filesystem::exists(name, ignored)) {
        return withRemedy("unknown command " + std::string(name) + ", which is a file",
                          "xmldsig verify " + std::string(name));
    }
    // Options of the tool as a whole there are but two, and they were looked for before.
    const std::string what =
        name.starts_with('-') ? "the command comes before its options, not " : "unknown command ";
    const std::string_view guess = nearest(name, names);
    return withRemedy(what + std::string(name),
                      "xmldsig " + std::string(guess.empty() ? "help" : guess));
}

int runHelp(const Arguments& arguments) {
    if (arguments.has("--man")) {
        writeOutput(manualPage());
        return kEverythingHolds;
    }
    if (arguments.operands().empty()) {
        writeOutput(generalHelp());
        return kEverythingHolds;
    }
    // All are looked up before any is written: half an answer would hide the complaint.
    std::string out;
    for (const std::string& name : arguments.operands()) {
        const Command* const command = findCommand(name);
        if (command == nullptr) {
            complain(unknownCommand(name));
            return kCannotTell;
        }
        out += (out.empty() ? "" : "\n") + helpOf(*command);
    }
    writeOutput(out);
    return kEverythingHolds;
}

int runVersion(const Arguments& arguments) {
    writeOutput(versionLine());
    if (arguments.has("--verbose")) {
        writeOutput(sandboxLine());
    }
    return kEverythingHolds;
}

} // namespace vantrel::cli
