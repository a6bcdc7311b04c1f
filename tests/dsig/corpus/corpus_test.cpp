// SPDX-License-Identifier: MIT
// Verdicts on the documents of the shared corpus, from its manifests.

#include "tests/support/corpus.h"

#include "tests/dsig/document_case.h"
#include "tests/support/live_objects.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Reference by reference, what the manifest's model says.
void compareReferences(ClsXmlDSig& verifier, const json::JsonValue& entry,
                       const std::string& where) {
    const json::JsonValue* const model = entry.find("model");
    const json::JsonValue* const expected = model != nullptr ? model->find("references") : nullptr;
    const json::JsonValue report = reportOf(verifier);
    const json::JsonValue* const actual = report.find("references");
    if (expected == nullptr || actual == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < expected->elements().size(); ++i) {
        ASSERT_LT(i, actual->elements().size()) << where;
        const std::string want = textOf(expected->elements()[i], "status");
        if (want == "match" || want == "mismatch" || want == "missing" || want == "error") {
            EXPECT_EQ(textOf(actual->elements()[i], "status"), want) << where << " reference " << i;
        }
    }
}

// `status` is the manifest's name of the verdict to be compared with.
void runManifest(const std::string& manifest, const std::string& folder, const char* list,
                 const char* status, const char* option) {
    std::size_t compared = 0;
    const json::JsonValue entries = readManifest(manifest, list);
    for (const json::JsonValue& entry : entries.elements()) {
        const std::string expected = textOf(entry, status);
        const std::string where = textOf(entry, "path") + " signature " +
                                  std::to_string(integerOf(entry, "signature_index"));
        const LiveObjectCheck live;
        ClsXmlDSig verifier;
        XString options(option);
        verifier.put_UncommonOptions(options);
        ASSERT_NO_FATAL_FAILURE(loadDocument(verifier, folder + "/" + textOf(entry, "path")));
        EXPECT_EQ(verifier.get_NumSignatures(), integerOf(entry, "signature_count")) << where;
        verifier.put_Selector(static_cast<int>(integerOf(entry, "signature_index")));
        ASSERT_NO_FATAL_FAILURE(supplyKeysAndData(verifier, entry, folder)) << where;
        const bool valid = verifier.VerifySignature(true);
        if (expected != "valid" && expected != "invalid") {
            continue; // left open: ending cleanly is all that is asked
        }
        ++compared;
        EXPECT_EQ(valid ? "valid" : "invalid", expected)
            << where << " (" << textOf(entry, "what") << ")\n"
            << logOf(verifier);
        compareReferences(verifier, entry, where);
        const auto preparedBy = [&](ClsXmlDSig& fresh) {
            fresh.put_UncommonOptions(options);
            loadDocument(fresh, folder + "/" + textOf(entry, "path"));
            fresh.put_Selector(static_cast<int>(integerOf(entry, "signature_index")));
            supplyKeysAndData(fresh, entry, folder);
        };
        expectOctetsOfVerification(preparedBy, where);
    }
    EXPECT_GT(compared, 0U);
}

TEST(Corpus, XmlDsigDocuments) {
    VANTREL_NEED_CORPUS(manifest, "xmldsig/manifest.json");
    // The verdicts of the manifest on constructs of the recommendations are those without them.
    runManifest(manifest, corpusPath("xmldsig"), "entries", "expected_status", "GivenRulesOnly");
}

TEST(Corpus, XadesDocumentsWithoutTimeStamps) {
    VANTREL_NEED_CORPUS(manifest, "tsa/manifest.json");
    runManifest(manifest, corpusPath("tsa"), "xml", "expected_status", "");
    runManifest(manifest, corpusPath("tsa"), "public", "expected_status", "");
}

TEST(Corpus, XadesDocumentsWithTimeStamps) {
    VANTREL_NEED_CORPUS(manifest, "tsa/manifest.json");
    runManifest(manifest, corpusPath("tsa"), "xml", "expected_timestamps",
                "VerifyEncapsulatedTimeStamp");
    runManifest(manifest, corpusPath("tsa"), "public", "expected_timestamps",
                "VerifyEncapsulatedTimeStamp");
}

} // namespace
} // namespace vantrel::test
