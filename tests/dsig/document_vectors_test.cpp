// SPDX-License-Identifier: MIT
// Whole documents with all that a verifier must say of them: verdicts with and without the
// references, reasons, log lines, accommodations. One folder of tests/vectors/dsig each.

#include "tests/dsig/case_setting.h"
#include "tests/dsig/document_case.h"
#include "tests/support/live_objects.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// A document that is not loaded leaves no signature of an earlier one.
void checkRefusal(VecCase& c, const Setting& setting) {
    ClsXmlDSig verifier;
    XString earlier("<r><Signature/></r>");
    ASSERT_TRUE(verifier.LoadSignature(earlier));
    EXPECT_FALSE(load(verifier, setting)) << c.where();
    XString line;
    verifier.get_LastErrorLine(line);
    const std::string given(line.getUtf8Sb().view());
    EXPECT_NE(given.find(c.text("LoadError")), std::string::npos) << c.where() << given;
    EXPECT_EQ(verifier.get_NumSignatures(), 0) << c.where();
    EXPECT_FALSE(verifier.VerifySignature(true)) << c.where();
}

std::set<std::string> accommodationsOf(const json::JsonValue& report) {
    std::set<std::string> codes;
    const auto collect = [&codes](const json::JsonValue& object) {
        for (const json::JsonValue& code : object.find("accommodations")->elements()) {
            codes.emplace(code.text());
        }
    };
    collect(report);
    for (const json::JsonValue& reference : report.find("references")->elements()) {
        collect(reference);
    }
    return codes;
}

void checkLog(VecCase& c, const std::string& log) {
    for (const std::string& line : c.all("Log")) {
        EXPECT_NE(log.find(line), std::string::npos)
            << c.where() << "not in the log: " << line << "\n"
            << log;
    }
    for (const std::string& line : c.all("NoLog")) {
        EXPECT_EQ(log.find(line), std::string::npos) << c.where() << "in the log: " << line << "\n"
                                                     << log;
    }
    for (const std::string& entry : c.all("LogTimes")) {
        const std::size_t count = std::stoul(entry);
        EXPECT_EQ(countOf(log, entry.substr(entry.find(' ') + 1)), count)
            << c.where() << entry << "\n"
            << log;
    }
}

void checkReasons(VecCase& c, const Setting& setting) {
    ClsXmlDSig verifier;
    std::string loadLog;
    ASSERT_NO_FATAL_FAILURE(prepare(verifier, setting, loadLog)) << c.where();
    int index = 0;
    for (const std::string& reason : words(c.text("Reasons"))) {
        EXPECT_EQ(verifier.VerifyReferenceDigest(index), reason == "0") << c.where() << index;
        EXPECT_EQ(std::to_string(verifier.get_RefFailReason()), reason)
            << c.where() << "reference " << index << "\n"
            << logOf(verifier);
        ++index;
    }
}

void checkVerification(VecCase& c, const Setting& setting, bool references, bool expected,
                       bool readLog) {
    ClsXmlDSig verifier;
    std::string loadLog;
    ASSERT_NO_FATAL_FAILURE(prepare(verifier, setting, loadLog)) << c.where();
    if (references && c.has("NumSignatures")) {
        EXPECT_EQ(verifier.get_NumSignatures(), c.integer("NumSignatures")) << c.where();
    }
    if (c.has("First")) {
        verifier.put_Selector(static_cast<int>(c.integer("First")));
        EXPECT_TRUE(verifier.VerifySignature(true)) << c.where() << logOf(verifier);
        verifier.put_Selector(setting.selector);
    }
    EXPECT_EQ(verifier.VerifySignature(references), expected)
        << c.where() << (references ? "with" : "without") << " references\n"
        << logOf(verifier);
    if (readLog) {
        checkLog(c, loadLog + logOf(verifier));
    }
    const json::JsonValue report = reportOf(verifier);
    EXPECT_EQ(textOf(report, "status"), expected ? "valid" : "invalid") << c.where();
    EXPECT_EQ(textOf(report, "reason").empty(), expected) << c.where();
    if (references && c.has("Profile")) {
        EXPECT_EQ(textOf(report, "profile"), c.text("Profile")) << c.where();
    }
    const auto& warnings = report.find("warnings")->elements();
    const auto isGiven = [&](const std::string& warning) {
        return std::any_of(warnings.begin(), warnings.end(),
                           [&](const auto& value) { return value.text() == warning; });
    };
    for (const std::string& warning : c.all("Warning")) {
        EXPECT_TRUE(!references || isGiven(warning)) << c.where() << warning;
    }
    for (const std::string& warning : c.all("NoWarning")) {
        EXPECT_FALSE(isGiven(warning)) << c.where() << warning;
    }
    if (references && c.has("Accommodations")) {
        const std::vector<std::string> list = words(c.text("Accommodations"));
        EXPECT_EQ(accommodationsOf(report), std::set<std::string>(list.begin(), list.end()))
            << c.where() << logOf(verifier);
    }
}

void runCase(VecCase& c, const std::string& folder) {
    SCOPED_TRACE(c.text("What"));
    const LiveObjectCheck live;
    const Setting setting = readSetting(c, folder);
    const bool logOfValue = c.textOr("LogOf", "references") == "value";
    if (c.has("LoadError")) {
        checkRefusal(c, setting);
    }
    if (c.has("WithReferences")) {
        if (!c.has("First")) {
            const auto preparedBy = [&](ClsXmlDSig& verifier) {
                std::string loadLog;
                prepare(verifier, setting, loadLog);
            };
            expectOctetsOfVerification(preparedBy, c.where());
        }
        checkVerification(c, setting, true, c.boolean("WithReferences"), !logOfValue);
    }
    if (c.has("WithoutReferences")) {
        checkVerification(c, setting, false, c.boolean("WithoutReferences"), logOfValue);
    }
    if (c.has("Reasons")) {
        checkReasons(c, setting);
    }
}

std::vector<std::string> groups() {
    std::vector<std::string> names;
    for (const auto& [group, folders] : casesByGroup()) {
        names.push_back(group);
    }
    return names;
}

class DocumentVectors : public testing::TestWithParam<std::string> {};

TEST_P(DocumentVectors, GiveTheVerdictsReasonsAndLinesTheySay) {
    for (const std::string& folder : casesByGroup().at(GetParam())) {
        forEachVector(folder + "/case.vec", "runs", [&](VecCase& c) { runCase(c, folder); });
    }
}

INSTANTIATE_TEST_SUITE_P(Groups, DocumentVectors, testing::ValuesIn(groups()),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::erase(name, '-');
                             return name;
                         });

} // namespace
} // namespace vantrel::test
