// SPDX-License-Identifier: MIT
// Verdicts on the signed documents of real government and industry systems.

#include "tests/dsig/document_case.h"
#include "tests/support/corpus.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// true, "True(DER)", ... or false.
bool isTrue(const json::JsonValue& value) {
    return value.kind() == json::JsonValue::Kind::True || value.text().starts_with("True");
}

void runSample(const json::JsonValue& sample, const char* list, const char* option,
               const std::string& folder) {
    const json::JsonValue* const signatures = sample.find(list);
    if (signatures == nullptr) {
        return;
    }
    struct Mode {
        const char* name;
        bool references;
        bool ignoreExternal;
    };
    constexpr Mode kModes[] = {{"VerifySignature_true", true, false},
                               {"VerifySignature_false", false, false},
                               {"VerifySignature_true_with_IgnoreExternalRefs", true, true}};
    for (const json::JsonValue& expected : signatures->elements()) {
        for (const Mode& mode : kModes) {
            const json::JsonValue* const verdict = expected.find(mode.name);
            if (verdict == nullptr) {
                continue;
            }
            ClsXmlDSig verifier;
            verifier.put_IgnoreExternalRefs(mode.ignoreExternal);
            XString options(option);
            verifier.put_UncommonOptions(options);
            ASSERT_NO_FATAL_FAILURE(loadDocument(verifier, folder + "/" + textOf(sample, "path")));
            verifier.put_Selector(static_cast<int>(integerOf(expected, "index")));
            if (const std::string secret = textOf(sample, "hmac_key"); !secret.empty()) {
                XString key(secret);
                XString encoding("ascii");
                ASSERT_TRUE(verifier.SetHmacKey(key, encoding));
            }
            EXPECT_EQ(verifier.VerifySignature(mode.references), isTrue(*verdict))
                << textOf(sample, "path") << " signature " << integerOf(expected, "index") << ' '
                << mode.name << ", option '" << option << "'\n"
                << logOf(verifier);
        }
    }
}

TEST(Profiles, SamplesGiveTheVerdictsOfTheirManifest) {
    const std::string folder = sharedPath("profiles");
    if (folder.empty()) {
        GTEST_SKIP() << "the shared folder has no profiles";
    }
    const json::JsonValue samples = readManifest(folder + "/manifest.json", "samples");
    for (const json::JsonValue& sample : samples.elements()) {
        runSample(sample, "by_our_rules", "", folder);
        runSample(sample, "by_our_rules_with_option_ZATCA", "ZATCA", folder);
    }
}

} // namespace
} // namespace vantrel::test
