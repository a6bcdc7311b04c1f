// SPDX-License-Identifier: MIT
// What the tool says of itself, in every form, and what its parser takes are the same.

#include "tests/support/corpus.h"
#include "tests/support/process.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string outputOf(const std::vector<std::string>& arguments) {
    std::vector<std::string> line = arguments;
    line.insert(line.begin(), binaryPath("xmldsig"));
    const ProcessResult result = runProgram(line);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return result.output;
}

// Every name (letters, digits, hyphens) that stands between the two texts, with `lead` in front.
std::set<std::string> names(const std::string& text, const std::string& before,
                            const std::string& behind, const std::string& lead = "") {
    constexpr const char* kOfNames = "abcdefghijklmnopqrstuvwxyz0123456789-";
    std::set<std::string> found;
    for (std::size_t at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
        at += before.size();
        const std::size_t end = std::min(text.find_first_not_of(kOfNames, at), text.size());
        if (end > at && text.compare(end, behind.size(), behind) == 0) {
            found.insert(lead + text.substr(at, end - at));
        }
    }
    return found;
}

// The options that a command's help lists, each behind its short form or the room for one.
std::set<std::string> listed(const std::string& help) {
    constexpr std::size_t kColumn = 6;
    std::set<std::string> found;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        const bool isEntry = line.starts_with("      --") ||
                             (line.starts_with("  -") && line.substr(4, 4) == ", --");
        if (isEntry) {
            found.merge(names(line.substr(kColumn), "--", "", "--"));
        }
    }
    return found;
}

std::string withoutHyphenEscapes(std::string text) {
    for (std::size_t at = 0; (at = text.find("\\-", at)) != std::string::npos;) {
        text.erase(at, 1);
    }
    return text;
}

// What stands between two texts; a command's own stretch of a script.
std::string between(const std::string& text, const std::string& start, const std::string& end) {
    const std::size_t from = text.find(start);
    EXPECT_NE(from, std::string::npos) << start;
    return from == std::string::npos ? "" : text.substr(from, text.find(end, from + 1) - from);
}

TEST(Help, AllFormsNameTheSameOptions) {
    const std::string bash = outputOf({"completion", "bash"});
    const std::string zsh = outputOf({"completion", "zsh"});
    const std::string fish = outputOf({"completion", "fish"});
    const std::string manual = withoutHyphenEscapes(outputOf({"help", "--man"}));
    const std::set<std::string> commands = names(outputOf({"help"}), "\n  ", " ");
    ASSERT_TRUE(commands.contains("verify") && commands.contains("help"));
    EXPECT_EQ(names(fish, "-a ", " -d"), commands);
    EXPECT_EQ(names(manual, ".SS xmldsig ", " "), commands);
    EXPECT_EQ(names(zsh, "\n    '", ":"), commands);
    for (const std::string& command : commands) {
        const std::string help = outputOf({"help", command});
        EXPECT_EQ(help, outputOf({command, "--help"}));
        const std::set<std::string> options = listed(help);
        EXPECT_TRUE(options.contains("--help")) << command;
        const std::string inBash = between(bash, "    " + command + ")\n", "operands=");
        EXPECT_EQ(names(inBash, "--", "", "--"), options) << command;
        const std::string inZsh = between(zsh, "  " + command + ")\n", ";;");
        EXPECT_EQ(names(inZsh, "'*--", "[", "--"), options) << command;
        const std::string inManual = between(manual, ".SS xmldsig " + command + " ", "\n.S");
        EXPECT_EQ(names(inManual, "\\fB--", "\\fR", "--"), options) << command;
        EXPECT_EQ(names(fish, "subcommand_from " + command + "' -l ", "", "--"), options)
            << command;
        // And the parser knows each: whatever else it finds missing, it is not the option.
        for (const std::string& name : options) {
            const ProcessResult result = runProgram({binaryPath("xmldsig"), command, name});
            EXPECT_EQ(result.errors.find("unknown option"), std::string::npos) << result.errors;
        }
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }
}

// What bash itself makes of the script.
TEST(Help, BashCompletes) {
    VANTREL_NEED_PROGRAM(bash, "bash");
    const std::string script =
        "source <(\"$0\" completion bash) || exit 1\n"
        "complete_line() { COMP_WORDS=(xmldsig \"$@\"); COMP_CWORD=$#; _xmldsig; "
        "echo \"${COMPREPLY[@]}\"; }\n"
        "complete_line veri\ncomplete_line verify --fai\ncomplete_line verify --hmac-encoding b\n"
        "complete_line help dig\ncomplete_line c14n --key\ncomplete_line completion z\n";
    const ProcessResult result = runProgram({bash, "-c", script, binaryPath("xmldsig")});
    EXPECT_EQ(result.output, "verify\n--failed-only\nbase64\ndigest-input\n\nzsh\n")
        << result.errors;
}

} // namespace
} // namespace vantrel::test
