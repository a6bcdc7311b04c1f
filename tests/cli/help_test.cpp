// What the tool says of itself, in every form, and what its parser takes are the same.

#include "tests/support/corpus.h"
#include "tests/support/process.h"

#include <regex>
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

// Every match of the expression's first group.
std::set<std::string> matches(const std::string& text, const std::string& expression) {
    const std::regex pattern(expression);
    std::set<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) {
        found.insert((*at)[1]);
    }
    return found;
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
    const std::string manual =
        std::regex_replace(outputOf({"help", "--man"}), std::regex("\\\\-"), "-");
    const std::set<std::string> commands = matches(outputOf({"help"}), "\n  ([a-z0-9-]+) ");
    ASSERT_TRUE(commands.contains("verify") && commands.contains("help"));
    EXPECT_EQ(matches(fish, "-a ([a-z0-9-]+) -d"), commands);
    EXPECT_EQ(matches(manual, "\\.SS xmldsig ([a-z0-9-]+) "), commands);
    EXPECT_EQ(matches(zsh, "\n    '([a-z0-9-]+):"), commands);
    for (const std::string& command : commands) {
        const std::string help = outputOf({"help", command});
        EXPECT_EQ(help, outputOf({command, "--help"}));
        const std::set<std::string> names = matches(help, "\n  (?:-.,|   ) (--[a-z0-9-]+)");
        EXPECT_TRUE(names.contains("--help")) << command;
        const std::string inBash = between(bash, "    " + command + ")\n", "operands=");
        EXPECT_EQ(matches(inBash, "(--[a-z0-9-]+)"), names) << command;
        const std::string inZsh = between(zsh, "  " + command + ")\n", ";;");
        EXPECT_EQ(matches(inZsh, "'\\*(--[a-z0-9-]+)\\["), names) << command;
        const std::string inManual = between(manual, ".SS xmldsig " + command + " ", "\n.S");
        EXPECT_EQ(matches(inManual, "\\\\fB(--[a-z0-9-]+)\\\\fR"), names) << command;
        std::set<std::string> inFish;
        for (const std::string& name :
             matches(fish, "subcommand_from " + command + "' -l (\\S+)")) {
            inFish.insert("--" + name);
        }
        EXPECT_EQ(inFish, names) << command;
        // And the parser knows each: whatever else it finds missing, it is not the option.
        for (const std::string& name : names) {
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
