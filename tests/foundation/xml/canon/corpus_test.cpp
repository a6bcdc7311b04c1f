// SPDX-License-Identifier: MIT
#include "tests/support/corpus.h"

#include "foundation/json/json_value.h"
#include "tests/foundation/xml/canon/canon_support.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Entries of a manifest of the shared corpus.
std::vector<json::JsonValue> readEntries(const std::string& path) {
    json::JsonValue manifest;
    std::size_t faultAt = 0;
    const std::string text = readText(path);
    if (!json::parseJson(text, manifest, faultAt)) {
        ADD_FAILURE() << path << " is no JSON from byte " << faultAt << " on";
    }
    const json::JsonValue* const entries = manifest.find("entries");
    return entries != nullptr ? entries->elements() : manifest.elements();
}

std::string textOf(const json::JsonValue& entry, std::string_view name) {
    const json::JsonValue* const value = entry.find(name);
    return value == nullptr ? "" : std::string(value->text());
}

CanonCall callOf(const json::JsonValue& entry) {
    CanonCall call;
    call.form = textOf(entry, "method").substr(0, 3);
    if (entry.find("with_comments")->kind() == json::JsonValue::Kind::True) {
        call.form += "+c";
    }
    for (const json::JsonValue& prefix : entry.find("prefixes")->elements()) {
        call.prefixes += std::string(prefix.text()) + " ";
    }
    return call;
}

TEST(CanonCorpus, EveryCanonicalFormByteForByte) {
    VANTREL_NEED_CORPUS(folder, "c14n");
    int byId = 0;
    int byOffset = 0;
    int whole = 0;
    for (const json::JsonValue& entry : readEntries(folder + "/manifest.json")) {
        const std::string name = textOf(entry, "name");
        const StringBuffer text{readText(folder + "/" + textOf(entry, "input"))};
        const std::string expected = readText(folder + "/" + textOf(entry, "expected"));
        CanonCall call = callOf(entry);
        const json::JsonValue* const select = entry.find("select");
        if (select == nullptr || !select->isObject()) {
            EXPECT_EQ(canonical(text.view(), call).value_or("failed"), expected) << name;
            ++whole;
            continue;
        }
        std::int64_t offset = 0;
        ASSERT_TRUE(select->find("offset")->integer(offset)) << name;
        call.offset = static_cast<unsigned>(offset);
        EXPECT_EQ(canonical(text.view(), call).value_or("failed"), expected) << name;
        ++byOffset;
        if (const std::string id = textOf(*select, "id"); !id.empty()) {
            call.offset = 0;
            call.id = id;
            EXPECT_EQ(canonical(text.view(), call).value_or("failed"), expected) << name;
            ++byId;
        }
    }
    EXPECT_GE(whole + byOffset, 858);
    EXPECT_GT(byId, 0);
}

TEST(CanonCorpus, ConformanceSuiteAsXmllintCanonicalizesIt) {
    VANTREL_NEED_CORPUS(folder, "xmlconf");
    int compared = 0;
    for (const json::JsonValue& entry : readEntries(folder + "/manifest.json")) {
        const std::string expected = textOf(entry, "c14n");
        if (expected.empty() || textOf(entry, "expected") != "well-formed" ||
            textOf(entry, "encoding") == "UTF-16" ||
            entry.find("namespace_aware")->kind() == json::JsonValue::Kind::False) {
            continue;
        }
        const std::string text = readText(folder + "/" + textOf(entry, "path"));
        // xmllint loses the carriage return that an entity holds; the suite's own form has it.
        const bool lost = textOf(entry, "id") == "valid-sa-068";
        EXPECT_EQ(canonical(text, {.form = "inc+c"}).value_or("failed"),
                  lost ? "<doc>&#xD;</doc>" : readText(folder + "/" + expected))
            << textOf(entry, "path");
        ++compared;
    }
    EXPECT_GT(compared, 200);
}

} // namespace
} // namespace vantrel::test
