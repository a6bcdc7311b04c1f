// SPDX-License-Identifier: MIT
// The command-line tool: finds the command, reads its options, runs it. Standard output holds
// results only, so that it can be piped on; complaints go to standard error, one line each, behind
// "xmldsig: ", and a line "try: " where something can be mended. Scripts go by the exit codes
// (commands.h) and the JSON reports.

#include "cli/command_table.h"
#include "cli/help.h"
#include "cli/terminal.h"

#include <cstdio>
#include <exception>
#include <string>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace vantrel::cli {

namespace {

// What one file needed is kept for the next, up to 16 MB a thread. Given back, its pages would have
// to be filled with zeros again, which takes nearly as long as verifying a thousand references.
void keepFreedMemory() noexcept {
#if defined(__GLIBC__)
    mallopt(M_MMAP_THRESHOLD, 2 << 20); // larger blocks are given back
    mallopt(M_TRIM_THRESHOLD, 16 << 20);
#endif
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

// What the parser could not mend by a guess, the help of the command does.
int usageError(const Command& command, const std::string& complaint) {
    complain(hasRemedy(complaint)
                 ? complaint
                 : withRemedy(complaint, "xmldsig help " + std::string(command.name)));
    return kCannotTell;
}

// `arguments`: those behind the program's name. Help and version come before anything is checked,
// so that a wrong line with --help still gives help.
int runTool(std::span<const char* const> arguments) {
    if (asksFor(arguments, "--version", "--version")) {
        writeOutput(versionLine());
        return kEverythingHolds;
    }
    const bool help = asksFor(arguments, "--help", "-h");
    if (arguments.empty()) {
        // To standard error, with the exit code of a usage error: a script that forgot its
        // arguments must not take this for output.
        const std::string text = generalHelp();
        std::fwrite(text.data(), 1, text.size(), stderr);
        return kCannotTell;
    }
    // There are no options before the command: what follows its name belongs to it alone.
    const std::string_view name = arguments[0];
    const Command* const command = findCommand(name);
    if (help) {
        writeOutput(command == nullptr ? generalHelp() : helpOf(*command));
        return kEverythingHolds;
    }
    if (command == nullptr) {
        complain(unknownCommand(name));
        return kCannotTell;
    }
    // From here on the command's own affair, down to its exit code.
    Arguments parsed;
    std::string complaint;
    if (!parsed.parse(allOptions(), command->bit, arguments.subspan(1), complaint)) {
        return usageError(*command, complaint);
    }
    return command->run(parsed);
}

} // namespace

} // namespace vantrel::cli

int main(int argc, char** argv) {
    // The only net of the tool: what commands throw is lack of memory or threads. The output is
    // flushed before the exit code is decided, since a failure to write shows only then.
    try {
        vantrel::cli::keepFreedMemory();
        const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
        const int code = vantrel::cli::runTool(arguments.subspan(argc > 0 ? 1 : 0));
        return vantrel::cli::finishOutput() ? code : vantrel::cli::kCannotTell;
    } catch (const std::exception& error) {
        vantrel::cli::complain(error.what());
        return vantrel::cli::kCannotTell;
    }
}
