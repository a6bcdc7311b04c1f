// SPDX-License-Identifier: MIT
// Digests, signature methods and key forms of the recommendations, on the documents of the shared
// corpus that need them: their verdicts, the codes in the report, and what remains of both where
// the given rules alone are asked for.

#include "tests/dsig/document_case.h"
#include "tests/support/corpus.h"

#include <algorithm>
#include <map>
#include <set>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using json::JsonValue;

// The groups of the manifest, and the code that a valid document of each has in its report; none
// where the group says nothing that is beyond the given rules.
const std::map<std::string, std::string> kGroups = {
    {"sha224", "sha224"},
    {"sha3", "sha3"},
    {"eddsa", "eddsa"},
    {"eddsa-ctx-ph", "eddsa"},
    {"mldsa", "ml-dsa"},
    {"pss-params", "pss-params"},
    {"hmac-length", ""}, // a length that is that of the hash cuts nothing
    {"hmac-whitespace", "hmac-whitespace"},
    {"retrieval", "retrieval-method"},
    {"retrieval-external", ""},
    {"keyname", ""}, // the caller's key is tried whatever its name
    {"keyinforeference", "key-info-reference"},
    {"derencoded", "der-key"},
    {"x509digest", "x509-digest"},
    {"rfc4050", "rfc4050"},
};

// Verifies the entry's signature; the report is left in `verifier`.
bool verify(ClsXmlDSig& verifier, const JsonValue& entry, const char* option) {
    const std::string folder = corpusPath("w3c/xmldsig");
    XString options(option);
    verifier.put_UncommonOptions(options);
    loadDocument(verifier, folder + "/" + textOf(entry, "path"));
    verifier.put_Selector(static_cast<int>(integerOf(entry, "signature_index")));
    supplyKeysAndData(verifier, entry, folder);
    return verifier.VerifySignature(true);
}

std::set<std::string> standardsOf(ClsXmlDSig& verifier) {
    std::set<std::string> codes;
    const JsonValue report = reportOf(verifier);
    for (const JsonValue& code : report.find("standards")->elements()) {
        codes.emplace(code.text());
    }
    return codes;
}

TEST(W3cMethods, DocumentsOfTheCorpus) {
    VANTREL_NEED_CORPUS(manifest, "w3c/xmldsig/manifest.json");
    std::size_t compared = 0;
    const JsonValue entries = readManifest(manifest, "entries");
    for (const JsonValue& entry : entries.elements()) {
        const auto group = kGroups.find(textOf(entry, "group"));
        const std::string expected = textOf(entry, "expected_status");
        if (group == kGroups.end() || expected.empty()) {
            continue;
        }
        const std::string where = textOf(entry, "path") + " (" + textOf(entry, "what") + ")\n";
        ++compared;
        ClsXmlDSig verifier;
        const bool valid = verify(verifier, entry, "");
        EXPECT_EQ(valid ? "valid" : "invalid", expected) << where << logOf(verifier);
        const std::set<std::string> codes = standardsOf(verifier);
        // A key of the caller's that is the one referred to comes first, and needs nothing more.
        const bool isGiven =
            group->first == "retrieval" && textOf(*entry.find("key"), "kind") == "public-key";
        if (valid && !group->second.empty() && !isGiven) {
            EXPECT_TRUE(codes.contains(group->second)) << where;
        }
        ClsXmlDSig strict;
        const bool validByRules = verify(strict, entry, "GivenRulesOnly");
        EXPECT_EQ(validByRules, valid && codes.empty()) << where << logOf(strict);
        EXPECT_TRUE(standardsOf(strict).empty()) << where;
    }
    EXPECT_GT(compared, 150U);
}

} // namespace
} // namespace vantrel::test
