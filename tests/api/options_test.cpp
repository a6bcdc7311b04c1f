// SPDX-License-Identifier: MIT
// Options as JSON, from C++ and from C: which are refused, in which words, whatever the text.
#include "api/option_values.h"
#include "api/options_json.h"
#include "bindings/c/vantrel.h"
#include "dsig/report/refusals.h"
#include "dsig/trust/demands.h"
#include "foundation/text/word_lists.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/process.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// A PEM text within a JSON string.
std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        out += c == '\n' ? "\\n" : std::string(1, c);
    }
    return out;
}

TEST(OptionsJson, RefusesWithAReason) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[]", "no JSON object"},
        {"{", "no JSON from byte 1"},
        {R"({"a":)" + std::string(100000, '['), "no JSON from byte"},
        {R"({"keys":1})", "there is no option keys; key is one"},
        {R"({"id":"a","id":"a"})", "id stands twice"},
        {R"({"id":["a","b"]})", "id takes one value"},
        {R"({"key":"x"})", "key: the data is neither PEM"},
        {R"({"key":5})", "key takes PEM text"},
        {R"({"key":{"file":"a","b":"c"}})", "key takes PEM text"},
        {R"({"key":{"file":"/absent"}})", "No such file"},
        {R"({"cert":["x"]})", "cert: the data is neither"},
        {R"({"signature":-1})", "a number from 0"},
        {R"({"signature":1.5})", "a number from 0"},
        {R"({"signature":"0"})", "takes a number"},
        {R"({"signature":99999999999999999999})", "a number from 0"},
        {R"({"signature":1,"id":"a"})", "exclude each other"},
        {R"({"noReferences":true,"reference":0})", "exclude each other"},
        {R"({"hmacKey":"00","hmacKeyFile":{"file":"x"}})", "exclude each other"},
        {R"({"hmacKey":"xyz"})", "not valid in the encoding hex"},
        {R"({"hmacKey":""})", "takes a text"},
        {R"({"timestamps":1})", "true or false"},
        {R"({"hmacKeyFile":"AAAA"})", "hmacKey takes the secret itself"},
        {R"({"hmacEncoding":"rot13"})", "one of hex, base64, ascii"},
        {R"({"hmacEncoding":"hex"})", "is about hmacKey"},
        {R"({"option":"Zatka"})", "one of ZATCA"},
        {R"({"refData":"101=x"})", "N from 0 to 100"},
        {R"({"refData":"1=/absent"})", "No such file"},
        {R"({"refDir":"/absent"})", "No such file"},
        {R"({"refData":"1"})", "N from 0 to 100"},
        {R"({"refDir":["a;b"]})", "without a semicolon"},
        {R"({"limit":"transforms=-1"})", "NAME=VALUE"},
        {R"({"limit":{"transforms":1}})", "limit takes a text"},
        {R"({"effort":0})", "a number from 1"},
        {R"({"threads":0})", "a number from 1"},
    };
    for (const auto& [json, expected] : cases) {
        const Result<VerifyOptions> options = optionsFromJson(json);
        ASSERT_FALSE(options) << json;
        EXPECT_NE(options.error().what.find(expected), std::string::npos)
            << json << ": " << options.error().what;
    }
}

// A check that somebody believes to be made must not be passed over for a slip.
TEST(OptionsJson, RefusesPoliciesThatMeanNothing) {
    const std::string key = readText(sourcePath("examples/keys/signer.pub"));
    const std::string root = readText(sourcePath("examples/keys/root.pem"));
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"({"pin":"sha256:00"})", "pin takes sha256: and 64"},
        {R"({"mustCover":["document","x"]})", "mustCover takes document"},
        {R"({"require":"strong,wek"})", "require takes one of pinned, trusted"},
        {R"({"require":","})", "require takes one of"},
        {R"({"accept":"some"})", "accept takes one of all, any"},
        {R"({"checkRevocation":true})", "checkRevocation is about certificates"},
        {R"({"at":"2026-01-31"})", "at is about certificates"},
        {R"({"purpose":"serverAuth","strict":true})", "purpose is about certificates"},
        {R"({"at":"yesterday"})", "at takes a time"},
        {R"({"anchor":{"file":"/absent"}})", "No such file"},
        {R"({"anchor":")" + escaped(key) + R"("})", "this is a public key, not a certificate"},
        {R"({"crl":")" + escaped(root) + R"("})", "this is a certificate, not a revocation list"},
        {R"({"crl":"AAAA"})", "this is no certificate revocation list"},
        {R"({"anchor":")" + escaped(root) + R"(","purpose":"x"})", "purpose takes the name"},
    };
    for (const auto& [json, expected] : cases) {
        const Result<VerifyOptions> options = optionsFromJson(json);
        ASSERT_FALSE(options) << json;
        EXPECT_NE(options.error().what.find(expected), std::string::npos)
            << json << ": " << options.error().what;
    }
}

// A new demand has its word among the options, and a sentence for people who are refused by it.
TEST(OptionsJson, KnowsEveryDemand) {
    for (const dsig::DemandEntry& entry : dsig::demandTable()) {
        const std::string word(entry.word);
        EXPECT_TRUE(optionsFromJson(R"({"require":")" + word + R"("})")) << word;
        EXPECT_TRUE(api::isWordOf(api::kRequireWords, word, false)) << word;
        EXPECT_FALSE(dsig::refusalText(entry.refusal).empty()) << word;
    }
    EXPECT_EQ(text::splitWords(api::kRequireWords).size(), dsig::demandTable().size());
}

// What a caller of several requests sets once, each may replace or take back.
TEST(OptionsJson, DefaultsHoldWhereNothingIsNamed) {
    const std::string pin = "sha256:" + std::string(64, '0');
    const Result<VerifyOptions> defaults = optionsFromJson(
        R"({"pin":")" + pin + R"(","strict":true,"noReferences":true,"hmacKey":"6b6579",)" +
        R"("limit":"transforms=9","accept":"any","effort":3,"threads":2,"require":["covered"]})");
    ASSERT_TRUE(defaults) << defaults.error().what;
    const Result<VerifyOptions> same = optionsFromJson(R"( {"timestamps":true})", *defaults);
    ASSERT_TRUE(same) << same.error().what;
    EXPECT_TRUE(same->timestamps && same->policy.strict && !same->checkReferences);
    EXPECT_EQ(same->policy.pins, std::vector<std::string>{pin});
    EXPECT_EQ(same->hmacSecret, "key");
    EXPECT_EQ(same->limits.transforms, 9U);
    const Result<VerifyOptions> none = optionsFromJson(
        R"({"pin":[],"strict":false,"noReferences":null,"hmacKey":null,"limit":null,)"
        R"("accept":null,"effort":null,"threads":null,"require":null})",
        *defaults);
    ASSERT_TRUE(none) << none.error().what;
    EXPECT_FALSE(none->policy.asks());
    EXPECT_TRUE(none->checkReferences && none->hmacSecret.empty());
    EXPECT_EQ(none->limits.transforms, dsig::Limits().transforms);
    EXPECT_EQ(none->effort, 1);
    EXPECT_TRUE(defaults->threads == 2 && none->threads == 1);
    // A list takes the place of the whole list.
    const Result<VerifyOptions> other =
        optionsFromJson(R"({"require":"strong,pinned"})", *defaults);
    ASSERT_TRUE(other);
    EXPECT_EQ(other->policy.demands, (std::set{Demand::Strong, Demand::Pinned}));
    // What makes sense of an option may stand in either.
    const std::string root = sourcePath("examples/keys/root.pem");
    const auto anchored = optionsFromJson(R"({"anchor":{"file":")" + root + R"("}})", *defaults);
    ASSERT_TRUE(anchored) << anchored.error().what;
    EXPECT_TRUE(optionsFromJson(R"({"at":"2026-01-31"})", *anchored));
    EXPECT_FALSE(optionsFromJson(R"({"at":"2026-01-31","anchor":null})", *anchored));
}

// The names are those of the tool, so that whoever knows one knows the other: all that `worker`
// takes but what says how it works.
TEST(OptionsJson, NamesAreThoseOfTheTool) {
    const std::string help = runProgram({binaryPath("xmldsig"), "help", "worker"}).output;
    const std::set<std::string> others = {"jobs", "unordered", "help", "json", "noSandbox"};
    const std::string table = readText(sourcePath("docs/api.md"));
    std::set<std::string> known;
    for (std::size_t at = help.find("--"); at != std::string::npos; at = help.find("--", at + 2)) {
        std::string name;
        for (std::size_t i = at + 2; i < help.size() && (help[i] == '-' || std::isalpha(help[i]));
             ++i) {
            const bool capital = !name.empty() && help[i - 1] == '-';
            if (help[i] != '-') {
                name += capital ? static_cast<char>(std::toupper(help[i])) : help[i];
            }
        }
        if (others.contains(name)) {
            continue;
        }
        EXPECT_TRUE(optionsFromJson("{\"" + name + "\":null}")) << name;
        EXPECT_NE(table.find('`' + name + '`'), std::string::npos) << name << " in docs/api.md";
        known.insert(name);
    }
    EXPECT_GE(known.size(), 30U);
}

// Every truncation and every changed octet is options or an error, never both.
TEST(CInterface, OptionsOfAnyTextAreReadOrRefused) {
    const std::string good = R"({"id":"a","key":[],"limit":["transforms=9"],"strict":true,)"
                             R"("require":["covered"],"accept":"any"})";
    std::size_t read = 0;
    const auto tryText = [&read](const std::string& text) {
        vantrel_options* options = nullptr;
        char* error = nullptr;
        const vantrel_code code = vantrel_options_parse(text.data(), text.size(), &options, &error);
        EXPECT_EQ(code == VANTREL_OK, options != nullptr) << text;
        EXPECT_EQ(code == VANTREL_BAD_OPTIONS, error != nullptr && *error != '\0') << text;
        read += options != nullptr ? 1 : 0;
        vantrel_text_free(error);
        vantrel_options_free(options);
    };
    for (std::size_t i = 1; i < good.size(); ++i) {
        tryText(good.substr(0, i));
    }
    EXPECT_EQ(read, 0U);
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (const char octet : {'\0', '"', '{', '9', '\xFF'}) {
            std::string text = good;
            text[i] = octet;
            tryText(text);
        }
    }
    tryText(good);
    EXPECT_GT(read, 0U);
}

TEST(CInterface, PointersAreChecked) {
    vantrel_result* result = nullptr;
    vantrel_options* options = nullptr;
    char* page = nullptr;
    EXPECT_EQ(vantrel_verify("", 0, nullptr, nullptr), VANTREL_BAD_ARGUMENT);
    EXPECT_EQ(vantrel_verify(nullptr, 1, nullptr, &result), VANTREL_BAD_ARGUMENT);
    EXPECT_EQ(vantrel_verify_file(nullptr, nullptr, &result), VANTREL_BAD_ARGUMENT);
    EXPECT_EQ(vantrel_options_parse(nullptr, 1, &options, nullptr), VANTREL_BAD_ARGUMENT);
    EXPECT_EQ(vantrel_options_parse("[", 1, &options, nullptr), VANTREL_BAD_OPTIONS);
    EXPECT_EQ(vantrel_html_report("<a", 2, nullptr, nullptr, &page), VANTREL_FAILED);
    EXPECT_STRNE(page, "");
    vantrel_text_free(page);
    EXPECT_EQ(vantrel_result_is_valid(nullptr), 0);
    EXPECT_EQ(vantrel_result_is_accepted(nullptr), 0);
    EXPECT_EQ(vantrel_result_acceptance(nullptr), VANTREL_REFUSED);
    EXPECT_STREQ(vantrel_result_refusal(nullptr, 0), "");
    EXPECT_EQ(vantrel_result_signer_is_trusted(nullptr, 0), -1);
    EXPECT_EQ(vantrel_result_status(nullptr), VANTREL_STATUS_ERROR);
    EXPECT_EQ(vantrel_result_signature_count(nullptr), 0U);
    EXPECT_STREQ(vantrel_result_json(nullptr, nullptr), "");
    EXPECT_EQ(vantrel_verify(nullptr, 0, nullptr, &result), VANTREL_OK);
    EXPECT_EQ(vantrel_result_status(result), VANTREL_STATUS_ERROR);
    EXPECT_STRNE(vantrel_result_error(result), "");
    vantrel_result_free(result);
}

// Whoever asks for validity alone is not told of it where the policy refuses.
TEST(CInterface, PoliciesDecide) {
    const std::string text = readText(sourcePath("examples/invoice.xml"));
    const std::string root = escaped(readText(sourcePath("examples/keys/root.pem")));
    struct Case {
        std::string options;
        vantrel_acceptance acceptance;
        std::string refusal;
        int isTrusted;
    };
    const std::vector<Case> cases = {
        {"", VANTREL_ACCEPTANCE_NOT_ASKED, "", -1},
        {R"({"strict":true})", VANTREL_REFUSED, "not-vouched", -1},
        {R"({"strict":true,"at":"2027-01-01","anchor":")" + root + R"("})", VANTREL_ACCEPTED, "",
         1},
        {R"({"at":"1999-01-01","anchor":")" + root + R"("})", VANTREL_REFUSED, "not-trusted", 0},
    };
    for (const Case& one : cases) {
        vantrel_options* options = nullptr;
        vantrel_result* result = nullptr;
        ASSERT_EQ(vantrel_options_parse(one.options.data(), one.options.size(), &options, nullptr),
                  VANTREL_OK);
        ASSERT_EQ(vantrel_verify(text.data(), text.size(), options, &result), VANTREL_OK);
        EXPECT_EQ(vantrel_result_status(result), VANTREL_STATUS_VALID);
        EXPECT_EQ(vantrel_result_acceptance(result), one.acceptance) << one.options;
        EXPECT_EQ(vantrel_result_signature_acceptance(result, 0), one.acceptance);
        EXPECT_EQ(vantrel_result_signature_acceptance(result, 1), VANTREL_REFUSED);
        EXPECT_EQ(vantrel_result_is_valid(result), one.acceptance != VANTREL_REFUSED);
        EXPECT_EQ(vantrel_result_is_accepted(result), one.acceptance == VANTREL_ACCEPTED);
        const std::size_t count = one.refusal.empty() ? 0 : 1;
        EXPECT_EQ(vantrel_result_refusal_count(result), count);
        EXPECT_EQ(vantrel_result_signature_refusal_count(result, 0), count);
        EXPECT_EQ(vantrel_result_refusal(result, 0), one.refusal);
        EXPECT_EQ(vantrel_result_signature_refusal(result, 0, 0), one.refusal);
        EXPECT_EQ(*vantrel_result_refusal_text(result, 0) == '\0', one.refusal.empty());
        EXPECT_EQ(vantrel_result_signer_is_trusted(result, 0), one.isTrusted);
        EXPECT_STREQ(vantrel_result_signing_certificate(result, 0), "absent");
        vantrel_result_free(result);
        vantrel_options_free(options);
    }
}

TEST(CInterface, AccessorsSayWhatTheJsonSays) {
    const std::string text = readText(sourcePath("examples/invoice-tampered.xml"));
    vantrel_result* result = nullptr;
    ASSERT_EQ(vantrel_verify(text.data(), text.size(), nullptr, &result), VANTREL_OK);
    EXPECT_EQ(vantrel_result_status(result), VANTREL_STATUS_INVALID);
    ASSERT_EQ(vantrel_result_signature_count(result), 1U);
    const std::string json = vantrel_result_json(result, "name");
    for (const char* const part :
         {vantrel_result_signature_id(result, 0), vantrel_result_signature_reason(result, 0),
          vantrel_result_signature_cause(result, 0), vantrel_result_signer_subject(result, 0),
          vantrel_result_signer_spki_sha256(result, 0)}) {
        EXPECT_NE(json.find("\"" + std::string(part) + "\""), std::string::npos) << part;
        EXPECT_STRNE(part, "");
    }
    EXPECT_STREQ(vantrel_result_signature_reason(result, 1), "");
    vantrel_result_free(result);
}

} // namespace
} // namespace vantrel::test
