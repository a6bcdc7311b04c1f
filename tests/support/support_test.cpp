// SPDX-License-Identifier: MIT
#include "tests/support/bytes.h"
#include "tests/support/process.h"
#include "tests/support/vectors.h"

#include <string>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// What the reader must refuse: each of these would otherwise let a vector pass untested.
void readAll(const std::string& content, const std::function<void(VecCase&)>& test) {
    const TempDir folder;
    forEachVector(folder.write("a.vec", content), "A", test);
}

TEST(VectorReader, FailsOnWhatWouldGoUntested) {
    const auto readKey = [](VecCase& c) { (void)c.text("Key"); };
    EXPECT_NONFATAL_FAILURE(readAll("[B]\nKey = 1\n", readKey), "no cases in section [A]");
    EXPECT_NONFATAL_FAILURE(readAll("[A]\nKey = 1\nMore = 2\n", readKey), "did not read");
    EXPECT_NONFATAL_FAILURE(readAll("[A]\nOther = 1\n", readKey), "attribute missing: Key");
    EXPECT_NONFATAL_FAILURE(readAll("[A]\nKey = 1\nKey = 2\n", readKey), "given twice: Key");
    EXPECT_NONFATAL_FAILURE(readAll("[A]\nKey = 12x\n", [](VecCase& c) { (void)c.integer("Key"); }),
                            "not a number");
    EXPECT_NONFATAL_FAILURE(readAll("[A]\nKey = abc\n", [](VecCase& c) { (void)c.hex("Key"); }),
                            "odd number");
    EXPECT_NONFATAL_FAILURE(forEachVector("no/such.vec", "", readKey), "cannot be read");
}

TEST(VectorReader, ReadsCasesWithTheirPlaces) {
    std::vector<std::string> seen;
    readAll(
        "# made by hand\n[A]\nKey = a = b\nText = x\\n\\x41\n\n# next\nKey =\nText =\n[B]\nKey = 3\n",
        [&](VecCase& c) {
            const std::string where = c.where();
            seen.push_back(where.substr(where.rfind('/')) + c.text("Key") + "," +
                           c.escaped("Text"));
        });
    const std::vector<std::string> expected = {"/a.vec:3: [A] a = b,x\nA", "/a.vec:7: [A] ,"};
    EXPECT_EQ(seen, expected);
}

TEST(RunProgram, CapturesBothStreamsAndTheExitCode) {
    ProcessOptions options;
    options.input = std::string(1 << 20, 'x');
    options.environment = {"SAID=hello"};
    const ProcessResult result =
        runProgram({"sh", "-c", "cat; echo \"$SAID\" >&2; exit 7"}, options);
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_EQ(result.output, options.input);
    EXPECT_EQ(result.errors, "hello\n");
    EXPECT_EQ(runProgram({"/no/such/program"}).exitCode, 127);
}

} // namespace
} // namespace vantrel::test
