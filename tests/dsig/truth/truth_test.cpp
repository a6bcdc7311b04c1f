// SPDX-License-Identifier: MIT
// A report never claims more than what was digested: what it calls covered cannot be changed
// without the signature failing. Every valid document there is, changed in one character at a time.

#include "foundation/base/ClsBinData.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/xml_encoding.h"
#include "tests/dsig/case_setting.h"
#include "tests/dsig/document_case.h"
#include "tests/dsig/truth/places.h"
#include "tests/support/corpus.h"

#include <cstdlib>
#include <iostream>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Small documents are changed at every place, those with more places at as many seeded ones, and
// those so large that this would verify more than so many octets at fewer.
// VANTREL_CHANGES asks for fewer, where the build is slow.
std::size_t mostChanges() {
    const char* const asked = std::getenv("VANTREL_CHANGES");
    return asked != nullptr ? std::strtoul(asked, nullptr, 10) : 3000;
}
constexpr std::size_t kMostOctets = std::size_t{200} << 20;
// What is not covered may change or not; a few such changes show that the test tells the two apart.
constexpr std::size_t kUncovered = 20;

// How a fresh verifier comes to hold a document, keys and data given and the signature selected.
// False when the document is refused.
using Prepare = std::function<bool(ClsXmlDSig&, const std::string& document)>;

struct Figures {
    std::size_t documents = 0;
    std::size_t changes = 0;    // of what is called covered
    std::size_t violations = 0; // of them, those that stayed valid
    std::size_t uncovered = 0;  // changes of what is not
    std::size_t harmless = 0;   // of them, those that stayed valid
};

bool isValid(const Prepare& prepare, const std::string& document) {
    ClsXmlDSig verifier;
    return prepare(verifier, document) && verifier.VerifySignature(true);
}

// The text as the verifier holds it; empty for octets that it does not decode.
std::string loadedText(const std::string& document) {
    DataBuffer bytes;
    bytes.append(ByteView(bytesOf(document)));
    const text::XmlEncoding encoding = text::convertXmlToUtf8(bytes);
    return encoding.isAccepted() ? std::string(asText(bytes.view())) : std::string();
}

std::vector<std::size_t> chosen(std::vector<std::size_t> places, std::size_t most) {
    constexpr std::uint64_t kSeed = 20;
    RandomBytes random(kSeed);
    for (std::size_t i = 0; i < most && i < places.size(); ++i) {
        std::swap(places[i], places[i + random.below(places.size() - i)]);
    }
    places.resize(std::min(places.size(), most));
    return places;
}

// A line of the text for a failure message.
std::string around(const std::string& text, std::size_t place) {
    const std::size_t start = place < 30 ? 0 : place - 30;
    return text.substr(start, place - start) + ">>" + text.substr(place, 1) + "<<" +
           text.substr(place + 1, 30);
}

void checkDocument(const Prepare& prepare, const std::string& document, const std::string& where,
                   Figures& figures) {
    ClsXmlDSig verifier;
    if (!prepare(verifier, document) || !verifier.VerifySignature(true)) {
        return; // its verdict is for other tests
    }
    ++figures.documents;
    const ClaimedCoverage claimed(document, reportOf(verifier));
    EXPECT_EQ(claimed.fault(), "") << where;
    std::vector<std::size_t> covered;
    std::vector<std::size_t> others;
    for (const std::size_t place : contentPlaces(document)) {
        (claimed.holds(place) ? covered : others).push_back(place);
    }
    const auto staysValid = [&](std::size_t place) {
        std::string changed = document;
        changeContent(changed, place);
        return isValid(prepare, changed);
    };
    const std::size_t most = std::min(mostChanges(), kMostOctets / document.size());
    for (const std::size_t place : chosen(covered, most)) {
        ++figures.changes;
        if (staysValid(place)) {
            ++figures.violations;
            ADD_FAILURE() << where << " octet " << place << ": " << around(document, place);
        }
    }
    for (const std::size_t place : chosen(others, kUncovered)) {
        ++figures.uncovered;
        figures.harmless += staysValid(place) ? 1 : 0;
    }
}

void show(const char* what, const Figures& figures) {
    std::cout << what << ": " << figures.documents << " documents, " << figures.changes
              << " changes of what is covered, " << figures.violations << " violations; of "
              << figures.uncovered << " other changes " << figures.harmless << " stay valid\n";
    EXPECT_GT(figures.changes, figures.documents);
    EXPECT_GT(figures.harmless, 0U);
}

bool loadText(ClsXmlDSig& verifier, const std::string& document) {
    ClsBinData data;
    data.data().append(ByteView(bytesOf(document)));
    return verifier.LoadSignatureBd(data);
}

TEST(Truth, CoveredTextOfTheProjectsDocumentsCannotChange) {
    Figures figures;
    for (const auto& [group, folders] : casesByGroup()) {
        for (const std::string& folder : folders) {
            for (VecCase& c : readVectors(folder + "/case.vec", "runs")) {
                if (c.has("First") || c.textOr("WithReferences", "false") != "true") {
                    continue;
                }
                Setting setting = readSetting(c, folder);
                const std::string original =
                    setting.asBytes ? loadedText(setting.document) : setting.document;
                const auto prepareChanged = [&](ClsXmlDSig& verifier, const std::string& text) {
                    XString options(setting.options);
                    verifier.put_UncommonOptions(options);
                    verifier.put_IgnoreExternalRefs(setting.ignoreExternal);
                    setting.document = text;
                    const bool loaded = load(verifier, setting);
                    if (loaded) {
                        supply(verifier, setting);
                    }
                    return loaded;
                };
                checkDocument(prepareChanged, original, c.where(), figures);
            }
        }
    }
    show("vectors", figures);
}

void checkManifest(const std::string& manifest, const std::string& folder) {
    const json::JsonValue entries = readManifest(manifest, "entries");
    Figures figures;
    for (const json::JsonValue& entry : entries.elements()) {
        const auto prepare = [&](ClsXmlDSig& verifier, const std::string& text) {
            const bool loaded = loadText(verifier, text);
            verifier.put_Selector(static_cast<int>(integerOf(entry, "signature_index")));
            supplyKeysAndData(verifier, entry, folder);
            return loaded;
        };
        const std::string path = textOf(entry, "path");
        checkDocument(prepare, loadedText(readText(folder + "/" + path)), path, figures);
    }
    show("corpus", figures);
}

// A digest of no octets holds whatever stands there.
TEST(Truth, NothingIsCoveredWhereNoOctetIsDigested) {
    const std::string open = "<Transforms><Transform Algorithm='http://www.w3.org/";
    for (const std::string& transforms :
         {open + "2000/09/xmldsig#base64'/></Transforms>",
          open + "TR/1999/REC-xpath-19991116'><XPath>not(//self::*)</XPath></Transform>"
                 "</Transforms>",
          open +
              "TR/1999/REC-xpath-19991116'><XPath>count(self::text()) = 1</XPath></Transform>"
              "<Transform Algorithm='http://www.w3.org/2000/09/xmldsig#base64'/></Transforms>"}) {
        ClsXmlDSig verifier;
        loadText(verifier,
                 "<r xmlns='http://www.w3.org/2000/09/xmldsig#'><d Id='x'> <a> </a></d><Signature>"
                 "<SignedInfo><Reference URI='#x'>" +
                     transforms +
                     "<DigestMethod Algorithm='http://www.w3.org/2001/04/xmlenc#sha256'/>"
                     "<DigestValue>47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=</DigestValue>"
                     "</Reference></SignedInfo></Signature></r>");
        EXPECT_TRUE(verifier.VerifyReferenceDigest(0)) << logOf(verifier);
        XString json;
        verifier.get_LastJsonData(json);
        EXPECT_NE(json.getUtf8Sb().view().find("\"octets\":0"), std::string_view::npos);
        EXPECT_NE(
            json.getUtf8Sb().view().find("\"covers\":\"elements\",\"paths\":[],\"excluded\":[]"),
            std::string_view::npos)
            << transforms << json.getUtf8();
    }
}

TEST(Truth, CoveredTextOfTheCorpusCannotChange) {
    VANTREL_NEED_CORPUS(manifest, "xmldsig/manifest.json");
    checkManifest(manifest, corpusPath("xmldsig"));
}

TEST(Truth, CoveredTextOfTheRecommendationsCannotChange) {
    VANTREL_NEED_CORPUS(manifest, "w3c/xmldsig/manifest.json");
    checkManifest(manifest, corpusPath("w3c/xmldsig"));
}

void checkSample(const json::JsonValue& sample, const char* list, const char* option,
                 const std::string& folder, Figures& figures) {
    const json::JsonValue* const signatures = sample.find(list);
    if (signatures == nullptr) {
        return;
    }
    const std::string document = loadedText(readText(folder + "/" + textOf(sample, "path")));
    for (const json::JsonValue& expected : signatures->elements()) {
        const auto prepare = [&](ClsXmlDSig& verifier, const std::string& text) {
            XString options(option);
            verifier.put_UncommonOptions(options);
            const bool loaded = loadText(verifier, text);
            verifier.put_Selector(static_cast<int>(integerOf(expected, "index")));
            XString secret(textOf(sample, "hmac_key"));
            XString encoding("ascii");
            return loaded && (secret.isEmpty() || verifier.SetHmacKey(secret, encoding));
        };
        checkDocument(prepare, document, textOf(sample, "path") + " " + option, figures);
    }
}

TEST(Truth, CoveredTextOfRealProfilesCannotChange) {
    const std::string folder = sharedPath("profiles");
    if (folder.empty()) {
        GTEST_SKIP() << "the shared folder has no profiles";
    }
    const json::JsonValue samples = readManifest(folder + "/manifest.json", "samples");
    Figures figures;
    for (const json::JsonValue& sample : samples.elements()) {
        checkSample(sample, "by_our_rules", "", folder, figures);
        checkSample(sample, "by_our_rules_with_option_ZATCA", "ZATCA", folder, figures);
    }
    show("profiles", figures);
}

} // namespace
} // namespace vantrel::test
