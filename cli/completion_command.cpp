// SPDX-License-Identifier: MIT
// `xmldsig completion`: the script that makes a shell complete command lines of the tool, on
// standard output. Commands, options, the words that an option takes and what else its value is
// come from the table (command_table.h), so that a script is as old as the tool that wrote it and
// no older. Nothing of the caller's stands in a script.

#include "cli/command_table.h"
#include "cli/terminal.h"

namespace vantrel::cli {

namespace {

// What is offered for an operand: words, or files where there are none. The names of the commands
// are not written in the table a second time, so they are put together here.
std::string operandWords(const Command& command) {
    std::string words(command.operandWords);
    if (command.bit == kHelp) {
        for (const Command& each : allCommands()) {
            words += (words.empty() ? "" : " ") + std::string(each.name);
        }
    }
    return words;
}

// A text within single quotes, which bash, zsh and fish read alike: nothing in between has a
// meaning of its own, and a quote is written outside of them, behind a backslash.
std::string quoted(std::string_view text) {
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return out + "'";
}

// One argument of zsh's _arguments ends at a colon, an explanation at a bracket.
std::string zshText(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == ':' || c == '[' || c == ']') {
            out += '\\';
        }
        out += c;
    }
    return out;
}

// All words of an option's line in the table: long name, and the letter where there is one.
std::string spellings(const OptionSpec& option) {
    std::string out(option.name);
    if (option.letter != '\0') {
        out += std::string(" -") + option.letter;
    }
    return out;
}

// "--quiet|-q": the pattern that bash's `case` takes for either.
std::string withBars(std::string words) {
    for (char& c : words) {
        c = c == ' ' ? '|' : c;
    }
    return words;
}

// What bash offers behind an option that takes a value; nothing at all for a number or a text,
// since files would be wrong there.
std::string bashValue(const OptionSpec& option) {
    switch (option.kind) {
    case ValueKind::None: return "";
    case ValueKind::File: return "COMPREPLY=($(compgen -f -- \"$current\")); return";
    case ValueKind::Folder: return "COMPREPLY=($(compgen -d -- \"$current\")); return";
    case ValueKind::Word:
    case ValueKind::Words:
        return "COMPREPLY=($(compgen -W " + quoted(option.words) + " -- \"$current\")); return";
    case ValueKind::Text:
    case ValueKind::Number: break;
    }
    return "return";
}

// One branch of the script: the options of a command, and what follows those that take a value.
std::string bashCommand(const Command& command) {
    std::string names;
    std::string values;
    for (const OptionSpec& option : allOptions()) {
        if ((option.commands & command.bit) == 0) {
            continue;
        }
        names += (names.empty() ? "" : " ") + spellings(option);
        if (const std::string value = bashValue(option); !value.empty()) {
            values += "        " + withBars(spellings(option)) + ") " + value + " ;;\n";
        }
    }
    std::string out = "    " + std::string(command.name) + ")\n        options=" + quoted(names) +
                      "\n        operands=" + quoted(operandWords(command)) + "\n";
    if (!values.empty()) {
        out += "        case $previous in\n" + values + "        esac\n";
    }
    return out + "        ;;\n";
}

// Without the library of bash-completion, which is not everywhere. The word before the cursor
// decides: an option that takes a value has what it offers, else options begin with a dash and
// operands do not.
std::string bashScript() {
    std::string names;
    std::string commands;
    for (const Command& command : allCommands()) {
        names += (names.empty() ? "" : " ") + std::string(command.name);
        commands += bashCommand(command);
    }
    return "# Completion of xmldsig for bash: source <(xmldsig completion bash)\n"
           "_xmldsig() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local options= operands=\n"
           "    COMPREPLY=()\n"
           "    if ((COMP_CWORD == 1)); then\n"
           "        COMPREPLY=($(compgen -W " +
           quoted(names + " --help --version") +
           " -- \"$current\")); return\n"
           "    fi\n"
           "    case ${COMP_WORDS[1]} in\n" +
           commands +
           "    esac\n"
           "    if [[ $current == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$options\" -- \"$current\"))\n"
           "    elif [[ -n $operands ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$operands\" -- \"$current\"))\n"
           "    else\n"
           "        COMPREPLY=($(compgen -f -- \"$current\"))\n"
           "    fi\n"
           "}\n"
           "complete -o filenames -F _xmldsig xmldsig\n";
}

// ":what it is called:what is offered", as _arguments takes it.
std::string zshValue(const OptionSpec& option) {
    if (option.kind == ValueKind::None) {
        return "";
    }
    const std::string name = ":" + zshText(option.argument) + ":";
    switch (option.kind) {
    case ValueKind::File: return name + "_files";
    case ValueKind::Folder: return name + "_files -/";
    case ValueKind::Word:
    case ValueKind::Words: return name + "(" + std::string(option.words) + ")";
    default: return name;
    }
}

// A file for the folders of zsh's fpath; its first line says which program it is for. The function
// _arguments does the rest; it is given the command's own words, hence the shift.
std::string zshScript() {
    std::string names;
    std::string commands;
    for (const Command& command : allCommands()) {
        names += "    " + quoted(std::string(command.name) + ":" + zshText(command.summary)) + "\n";
        commands += "  " + std::string(command.name) + ")\n    _arguments -s";
        for (const OptionSpec& option : allOptions()) {
            if ((option.commands & command.bit) == 0) {
                continue;
            }
            // The star: it may be given again, and stays on offer. Most options may, and of the
            // others the last one counts.
            const std::string rest = "[" + zshText(option.help) + "]" + zshValue(option);
            commands += " \\\n      " + quoted("*" + std::string(option.name) + rest);
            if (option.letter != '\0') {
                commands += " \\\n      " + quoted(std::string("*-") + option.letter + rest);
            }
        }
        const std::string words = operandWords(command);
        commands += " \\\n      " +
                    quoted(words.empty() ? "*:file:_files" : "*:word:(" + words + ")") + " ;;\n";
    }
    return "#compdef xmldsig\n# Completion of xmldsig for zsh: save as _xmldsig along fpath\n"
           "_xmldsig() {\n"
           "  local -a commands\n"
           "  commands=(\n" +
           names +
           "  )\n"
           "  if (( CURRENT == 2 )); then\n"
           "    _describe command commands\n"
           "    return\n"
           "  fi\n"
           "  shift words\n"
           "  (( CURRENT-- ))\n"
           "  case $words[1] in\n" +
           commands + "  esac\n}\n_xmldsig \"$@\"\n";
}

// -r: a value is needed; -f, -F: no files, files; -a: these words.
std::string fishValue(const OptionSpec& option) {
    switch (option.kind) {
    case ValueKind::None: return "";
    case ValueKind::File: return " -r -F";
    case ValueKind::Folder: return " -r -f -a '(__fish_complete_directories)'";
    case ValueKind::Word:
    case ValueKind::Words: return " -r -f -a " + quoted(option.words);
    case ValueKind::Text:
    case ValueKind::Number: break;
    }
    return " -r -f";
}

// One line for each thing that may be offered, with the condition under which it is.
std::string fishScript() {
    std::string out = "# Completion of xmldsig for fish: xmldsig completion fish | source\n";
    for (const Command& command : allCommands()) {
        const std::string name(command.name);
        out += "complete -c xmldsig -n __fish_use_subcommand -f -a " + name + " -d " +
               quoted(command.summary) + "\n";
        const std::string when =
            "complete -c xmldsig -n " + quoted("__fish_seen_subcommand_from " + name);
        if (const std::string words = operandWords(command); !words.empty()) {
            out += when + " -f -a " + quoted(words) + "\n";
        }
        for (const OptionSpec& option : allOptions()) {
            if ((option.commands & command.bit) == 0) {
                continue;
            }
            out += when + " -l " + std::string(option.name.substr(2));
            if (option.letter != '\0') {
                out += std::string(" -s ") + option.letter;
            }
            out += fishValue(option) + " -d " + quoted(option.help) + "\n";
        }
    }
    return out;
}

} // namespace

int runCompletion(const Arguments& arguments) {
    // None is assumed: a script for another shell than the caller's would be an odd surprise.
    const auto& operands = arguments.operands();
    const std::string shell = operands.size() == 1 ? operands[0] : "";
    if (shell == "bash") {
        writeOutput(bashScript());
    } else if (shell == "zsh") {
        writeOutput(zshScript());
    } else if (shell == "fish") {
        writeOutput(fishScript());
    } else {
        complain(withRemedy("one shell is named, which is one of bash, zsh, fish",
                            "xmldsig completion bash"));
        return kCannotTell;
    }
    return kEverythingHolds;
}

} // namespace vantrel::cli
