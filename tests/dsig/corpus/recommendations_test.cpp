// SPDX-License-Identifier: MIT
// Verdicts by the recommendations on documents with constructs beyond the usual ones.

#include "tests/dsig/document_case.h"
#include "tests/support/corpus.h"
#include "tests/support/live_objects.h"

#include <algorithm>
#include <iterator>
#include <map>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Groups of documents whose algorithms, keys and forms of values are tried elsewhere.
constexpr std::string_view kOfKeysAndAlgorithms[] = {"sha224",
                                                     "sha3",
                                                     "eddsa",
                                                     "eddsa-ctx-ph",
                                                     "mldsa",
                                                     "pss-params",
                                                     "rfc4050",
                                                     "hmac-length",
                                                     "hmackeyvalue",
                                                     "hmac-whitespace",
                                                     "retrieval",
                                                     "keyname",
                                                     "keyinforeference",
                                                     "derencoded",
                                                     "x509digest",
                                                     "retrieval-external"};

bool isOfKeysAndAlgorithms(const std::string& group) {
    return std::find(std::begin(kOfKeysAndAlgorithms), std::end(kOfKeysAndAlgorithms), group) !=
           std::end(kOfKeysAndAlgorithms);
}

// What may be refused, and what is decided otherwise.
bool isDecidedOtherwise(const json::JsonValue& entry) {
    // Further forms of XPointer, and XPointer as a transform, are refused.
    if (textOf(entry, "scope") == "optional") {
        return true;
    }
    // Its Signature holds more than the schema has, which is a warning here (signature-structure).
    return textOf(entry, "path") == "xml-crypto/static/saml_wrapped_signed_info_node.xml";
}

std::string verdict(const json::JsonValue& entry, const std::string& folder, const char* option,
                    std::string& log, json::JsonValue& report) {
    ClsXmlDSig verifier;
    XString options(option);
    verifier.put_UncommonOptions(options);
    loadDocument(verifier, folder + "/" + textOf(entry, "path"));
    verifier.put_Selector(static_cast<int>(integerOf(entry, "signature_index")));
    supplyKeysAndData(verifier, entry, folder);
    const bool valid = verifier.VerifySignature(true);
    log = logOf(verifier);
    report = reportOf(verifier);
    return valid ? "valid" : "invalid";
}

TEST(Corpus, Recommendations) {
    VANTREL_NEED_CORPUS(folder, "w3c/xmldsig");
    const json::JsonValue entries = readManifest(folder + "/manifest.json", "entries");
    std::map<std::string, int> counts;
    for (const json::JsonValue& entry : entries.elements()) {
        const std::string expected = textOf(entry, "expected_status");
        if (expected.empty() || isOfKeysAndAlgorithms(textOf(entry, "group")) ||
            isDecidedOtherwise(entry)) {
            continue;
        }
        const std::string where = textOf(entry, "path") + " signature " +
                                  std::to_string(integerOf(entry, "signature_index"));
        const LiveObjectCheck live;
        std::string log;
        json::JsonValue report;
        const std::string actual = verdict(entry, folder, "", log, report);
        EXPECT_EQ(actual, expected)
            << where << " (" << textOf(entry, "group") << ": " << textOf(entry, "basis") << ")\n"
            << log;
        ++counts[expected];
    }
    EXPECT_GE(counts["valid"], 200);
    EXPECT_GE(counts["invalid"], 80);
}

} // namespace
} // namespace vantrel::test
