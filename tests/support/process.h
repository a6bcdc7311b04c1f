// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_PROCESS_H
#define TESTS_SUPPORT_PROCESS_H

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

// Running other programs: the command-line tool under test, and independent programs as oracles.
namespace vantrel::test {

struct ProcessResult {
    // Exit code; 128 + n when signal n ended the program, 127 when it could not be started.
    int exitCode = -1;
    std::string output;
    std::string errors;
};

struct ProcessOptions {
    std::string input;                    // its standard input
    std::string folder;                   // its working directory; "" for ours
    std::vector<std::string> environment; // "NAME=value" settings added to ours
    unsigned timeoutSeconds = 60;         // then it is killed, and the test fails
};

// Runs arguments[0] (looked for along PATH when it has no slash), without a shell.
[[nodiscard]] ProcessResult runProgram(const std::vector<std::string>& arguments,
                                       const ProcessOptions& options = {});

// Full path of a program along PATH, or "".
[[nodiscard]] std::string findProgram(const std::string& name);

// A directory of its own, removed with everything in it at the end.
class TempDir final {
public:
    TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir();

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string file(const std::string& name) const { return m_path + "/" + name; }
    // Writes a file and returns its full path.
    std::string write(const std::string& name, std::string_view content) const;

private:
    std::string m_path;
};

} // namespace vantrel::test

// Declares `path` as the full path of the program `name`, or skips the test.
#define VANTREL_NEED_PROGRAM(path, name)                                                           \
    const std::string path = ::vantrel::test::findProgram(name);                                   \
    if (path.empty()) {                                                                            \
        GTEST_SKIP() << "the program " << (name) << " is not installed";                           \
    }                                                                                              \
    static_assert(true)

#endif
