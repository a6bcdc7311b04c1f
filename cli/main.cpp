// The command-line tool: finds the command, reads its options, runs it. Standard output holds
// results only, so that it can be piped on; complaints go to standard error, one line each, behind
// "xmldsig: ". Scripts go by the exit codes (commands.h) and the JSON reports.

#include "cli/commands.h"
#include "cli/terminal.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#ifndef VANTREL_VERSION
#define VANTREL_VERSION "unknown"
#endif

namespace vantrel::cli {

namespace {

// In the order of the general help, the most used first.
std::vector<Command> allCommands() {
    return {verifyCommand(), infoCommand(),        c14nCommand(),
            certsCommand(),  digestInputCommand(), timestampCommand()};
}

std::string generalHelp(const std::vector<Command>& commands) {
    std::string out =
        "Verifies XML digital signatures.\n\nUsage: xmldsig COMMAND [options] FILE...\n\n";
    for (const Command& command : commands) {
        out += "  " + std::string(command.name) + std::string(14 - command.name.size(), ' ') +
               std::string(command.summary) + "\n";
    }
    return out +
           "\n`xmldsig COMMAND --help` lists the options of a command; `xmldsig --version` tells "
           "the version.\nA FILE of `-` is the standard input.\n\n"
           "Exit code: 0 everything asked for holds; 1 a signature or digest does not verify, or "
           "there is no\nsignature; 2 usage error, unreadable file, not well-formed XML, or over "
           "a limit.\n";
}

std::string helpOf(const Command& command) {
    return "Usage: xmldsig " + std::string(command.name) + " " + std::string(command.usage) +
           "\n\n" + std::string(command.summary) + "\n\n" + describeOptions(command.options);
}

// --help and --version work everywhere, whatever else is on the line.
bool asksFor(std::span<const char* const> arguments, std::string_view what,
             std::string_view shortForm) {
    for (const std::string_view argument : arguments) {
        if (argument == "--") {
            return false;
        }
        if (argument == what || argument == shortForm) {
            return true;
        }
    }
    return false;
}

// Two lines: what is wrong, and where help is. `hint`: the command with a blank behind, or nothing.
int usageError(const std::string& complaint, const std::string& hint) {
    complain(complaint);
    complain("try `xmldsig " + hint + "--help`");
    return kCannotTell;
}

// `arguments`: those behind the program's name. Help and version come before anything is checked,
// so that a wrong line with --help still gives help.
int runTool(std::span<const char* const> arguments) {
    const std::vector<Command> commands = allCommands();
    if (asksFor(arguments, "--version", "--version")) {
        writeOutput("xmldsig " VANTREL_VERSION "\n");
        return kEverythingHolds;
    }
    const bool help = asksFor(arguments, "--help", "-h");
    if (arguments.empty()) {
        // To standard error, with the exit code of a usage error: a script that forgot its
        // arguments must not take this for output.
        const std::string text = generalHelp(commands);
        std::fwrite(text.data(), 1, text.size(), stderr);
        return kCannotTell;
    }
    const std::string_view name = arguments[0];
    const auto command = std::find_if(commands.begin(), commands.end(),
                                      [name](const Command& each) { return each.name == name; });
    if (help) {
        writeOutput(command == commands.end() ? generalHelp(commands) : helpOf(*command));
        return kEverythingHolds;
    }
    if (command == commands.end()) {
        return usageError("unknown command " + std::string(name), "");
    }
    Arguments parsed;
    std::string complaint;
    if (!parsed.parse(command->options, arguments.subspan(1), complaint)) {
        return usageError(complaint, std::string(name) + " ");
    }
    return command->run(parsed);
}

} // namespace

} // namespace vantrel::cli

int main(int argc, char** argv) {
    // The only net of the tool: what commands throw is lack of memory or threads. The output is
    // flushed before the exit code is decided, since a failure to write shows only then.
    try {
        const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
        const int code = vantrel::cli::runTool(arguments.subspan(argc > 0 ? 1 : 0));
        return vantrel::cli::finishOutput() ? code : vantrel::cli::kCannotTell;
    } catch (const std::exception& error) {
        vantrel::cli::complain(error.what());
        return vantrel::cli::kCannotTell;
    }
}
