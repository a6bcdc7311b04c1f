// Whole documents with all that a verifier must say of them: verdicts with and without the
// references, reasons, log lines, accommodations. One folder of tests/vectors/dsig each.

#include "foundation/base/ClsBinData.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/dsig/document_case.h"
#include "tests/support/corpus.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/live_objects.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

const std::string kHmacSecret = "a secret of some length";

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// Replaces every occurrence; one there must be, so that no case tests an unchanged document.
void applyChange(std::string& document, const std::string& change, const std::string& where) {
    const std::size_t arrow = change.find(" =>");
    ASSERT_NE(arrow, std::string::npos) << where;
    const std::string from = unescape(change.substr(0, arrow));
    const std::string to =
        unescape(change.substr(std::min(arrow + std::string(" => ").size(), change.size())));
    std::size_t at = document.find(from);
    ASSERT_NE(at, std::string::npos) << where << "nothing to change: " << from;
    for (; at != std::string::npos; at = document.find(from, at + to.size())) {
        document.replace(at, from.size(), to);
    }
}

// What a case says about the document and the settings, read once and used for every verifier.
struct Setting {
    std::string document;
    bool asBytes = false;
    std::string options;
    std::string key;
    int selector = 0;
    bool ignoreExternal = false;
    std::vector<std::string> data; // "index bytes"
};

Setting readSetting(VecCase& c, const std::string& folder) {
    Setting setting;
    setting.document = readText(folder + "/document.xml");
    for (const std::string& change : c.all("Change")) {
        applyChange(setting.document, change, c.where());
    }
    setting.asBytes = c.textOr("Load", "text") == "bytes";
    setting.options = c.textOr("Options", "");
    setting.key = c.textOr("Key", "rsa");
    setting.selector = static_cast<int>(c.integerOr("Selector", 0));
    setting.ignoreExternal = c.booleanOr("Ignore", false);
    setting.data = c.all("Data");
    return setting;
}

void supplyKey(ClsXmlDSig& verifier, const std::string& key) {
    if (key == "none") {
        return;
    }
    if (key == "hmac") {
        XString secret(kHmacSecret);
        XString encoding("ascii");
        ASSERT_TRUE(verifier.SetHmacKey(secret, encoding));
        return;
    }
    const Ref<ClsPublicKey> publicKey = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    ASSERT_TRUE(publicKey->LoadFromFile(XString(vectorPath("dsig/keys/" + key + ".pub"))));
    ASSERT_TRUE(verifier.SetPublicKey(*publicKey));
}

bool load(ClsXmlDSig& verifier, const Setting& setting) {
    if (setting.asBytes) {
        ClsBinData bytes;
        bytes.data().append(ByteView(bytesOf(setting.document)));
        return verifier.LoadSignatureBd(bytes);
    }
    XString text(setting.document);
    return verifier.LoadSignature(text);
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

void prepare(ClsXmlDSig& verifier, const Setting& setting, std::string& loadLog) {
    XString options(setting.options);
    verifier.put_UncommonOptions(options);
    verifier.put_IgnoreExternalRefs(setting.ignoreExternal);
    ASSERT_TRUE(load(verifier, setting)) << logOf(verifier);
    loadLog = logOf(verifier);
    for (int i = verifier.get_NumSignatures(); i-- > 0;) {
        verifier.put_Selector(i);
        supplyKey(verifier, setting.key);
    }
    verifier.put_Selector(setting.selector);
    for (const std::string& entry : setting.data) {
        ClsBinData bytes;
        bytes.data().append(ByteView(bytesOf(entry.substr(entry.find(' ') + 1))));
        ASSERT_TRUE(verifier.SetRefDataBd(std::stoi(entry), bytes));
    }
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

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
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

// One folder for each way that a verification takes.
constexpr std::string_view kMemoryFolders[] = {
    "attribute-order/prefix", "cut-outs/sii", "cut-outs/doda",    "ebics/three-elements",
    "enveloped/adjacent",     "methods/hmac", "methods/rsa",      "removals/element-with-id",
    "removals/swift",         "zatca/",       "references/base64"};

// Memory runs out at one allocation of loading and verifying after the other: no exception leaves,
// nothing verifies falsely, and afterwards the object works as if nothing had been.
void checkMemory(const Setting& setting, bool expected, const std::string& where) {
    long n = 0;
    for (bool reached = true; reached; n += n < 500 ? 1 : 7) {
        ClsXmlDSig verifier;
        std::string loadLog;
        ASSERT_NO_FATAL_FAILURE(prepare(verifier, setting, loadLog)) << where;
        XString text(setting.document);
        bool verified = false;
        reached = withFailingAllocation(n, [&] {
            if (verifier.LoadSignature(text)) {
                verifier.put_Selector(setting.selector);
                verified = verifier.VerifySignature(true);
            }
        });
        ASSERT_FALSE(verified && !expected) << where << "allocation " << n;
        prepare(verifier, setting, loadLog);
        ASSERT_EQ(verifier.VerifySignature(true), expected)
            << where << "after allocation " << n << "\n"
            << logOf(verifier);
    }
    EXPECT_GT(n, 20) << where;
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
            if (std::any_of(std::begin(kMemoryFolders), std::end(kMemoryFolders),
                            [&](std::string_view name) {
                                return folder.find(name) != std::string::npos;
                            })) {
                checkMemory(setting, c.boolean("WithReferences"), c.where());
            }
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

// The folders with cases, by their group.
const std::map<std::string, std::vector<std::string>>& casesByGroup() {
    static const std::map<std::string, std::vector<std::string>> cases = [] {
        std::map<std::string, std::vector<std::string>> found;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(vectorPath("dsig"))) {
            if (entry.path().filename() == "case.vec") {
                const std::filesystem::path folder = entry.path().parent_path();
                found[folder.parent_path().filename().string()].push_back(folder.string());
            }
        }
        return found;
    }();
    return cases;
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
