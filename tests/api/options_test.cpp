// Options as JSON, from C++ and from C: which are refused, in which words, whatever the text.
#include "api/options_json.h"
#include "bindings/c/vantrel.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/process.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

TEST(OptionsJson, RefusesWithAReason) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[]", "no JSON object"},
        {"{", "no JSON from byte 1"},
        {std::string(100000, '['), "no JSON from byte"},
        {R"({"keys":1})", "there is no option \"keys\""},
        {R"({"key":"x"})", "\"key\" takes keys: the data is neither PEM"},
        {R"({"key":5})", "\"key\" takes keys"},
        {R"({"key":{"file":"/absent"}})", "No such file"},
        {R"({"cert":["x"]})", "\"cert\" takes certificates"},
        {R"({"signature":-1})", "a number from 0"},
        {R"({"signature":1.5})", "a number from 0"},
        {R"({"signature":99999999999999999999})", "a number from 0"},
        {R"({"signature":1,"id":"a"})", "exclude each other"},
        {R"({"noReferences":true,"reference":0})", "exclude each other"},
        {R"({"hmacKey":"00","hmacKeyFile":"x"})", "exclude each other"},
        {R"({"hmacKey":"xyz"})", "not valid in the encoding hex"},
        {R"({"hmacKey":""})", "takes a text"},
        {R"({"timestamps":1})", "true or false"},
        {R"({"refData":"101=x"})", "N from 0 to 100"},
        {R"({"refData":"1"})", "N from 0 to 100"},
        {R"({"refDir":["a;b"]})", "without a semicolon"},
        {R"({"limit":"transforms=-1"})", "NAME=VALUE"},
        {R"({"limit":{"transforms":1}})", "NAME=VALUE"},
        {R"({"effort":0})", "a number from 1"},
    };
    for (const auto& [json, expected] : cases) {
        const Result<VerifyOptions> options = optionsFromJson(json);
        ASSERT_FALSE(options) << json;
        EXPECT_NE(options.error().what.find(expected), std::string::npos)
            << json << ": " << options.error().what;
    }
}

// The names are those of the tool, so that whoever knows one knows the other.
TEST(OptionsJson, NamesAreThoseOfTheTool) {
    const std::string help = runProgram({binaryPath("xmldsig"), "help", "verify"}).output;
    std::size_t known = 0;
    for (std::size_t at = help.find("--"); at != std::string::npos; at = help.find("--", at + 2)) {
        std::string name;
        for (std::size_t i = at + 2; i < help.size() && (help[i] == '-' || std::isalpha(help[i]));
             ++i) {
            const bool capital = !name.empty() && help[i - 1] == '-';
            if (help[i] != '-') {
                name += capital ? static_cast<char>(std::toupper(help[i])) : help[i];
            }
        }
        const std::string error = optionsFromJson("{\"" + name + "\":null}").error().what;
        known += error.find("takes") != std::string::npos ? 1 : 0;
    }
    EXPECT_GE(known, 19U);
}

// Every truncation and every changed octet is options or an error, never both.
TEST(CInterface, OptionsOfAnyTextAreReadOrRefused) {
    const std::string good = R"({"id":"a","key":[],"limit":["transforms=9"],"timestamps":true})";
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
    EXPECT_EQ(vantrel_result_status(nullptr), VANTREL_STATUS_ERROR);
    EXPECT_EQ(vantrel_result_signature_count(nullptr), 0U);
    EXPECT_STREQ(vantrel_result_json(nullptr, nullptr), "");
    EXPECT_EQ(vantrel_verify(nullptr, 0, nullptr, &result), VANTREL_OK);
    EXPECT_EQ(vantrel_result_status(result), VANTREL_STATUS_ERROR);
    EXPECT_STRNE(vantrel_result_error(result), "");
    vantrel_result_free(result);
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
