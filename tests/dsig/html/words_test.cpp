// SPDX-License-Identifier: MIT
#include "dsig/html/words.h"

#include "dsig/html/escape.h"
#include "dsig/report/codes.h"

#include <set>
#include <string_view>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using namespace dsig;

TEST(PageWords, EachWarningHasItsOwnSentence) {
    std::set<std::string_view> sentences;
    const std::string_view warnings[] = {warning::kDtdPresent, warning::kEntitiesUsed,
                                         warning::kCommentsInText, warning::kContentExcluded,
                                         warning::kSignatureStructure};
    for (const std::string_view code : warnings) {
        sentences.insert(html::sentenceOf(code));
    }
    EXPECT_EQ(sentences.size(), std::size(warnings));
    EXPECT_FALSE(sentences.contains(""));
    EXPECT_EQ(html::sentenceOf("no-such-warning"), "");
}

TEST(PageWords, WhatCannotBeShownIsNumbered) {
    std::string shown;
    html::appendText("a\xFF<\x01", shown);
    EXPECT_EQ(shown, "a<b class=\"x\">FF</b>&lt;<b class=\"x\">U+0001</b>");
}

TEST(PageWords, AlgorithmsHaveTheirLastPart) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"http://www.w3.org/2001/04/xmlenc#sha256", "sha256"},
        {"urn:oid:1.2.840.113549.1.1.11", "1.2.840.113549.1.1.11"},
        {"http://www.w3.org/2001/10/xml-exc-c14n#", "xml-exc-c14n"},
        {"sha256", "sha256"},
        {"#", ""},
        {"", ""},
    };
    for (const auto& [identifier, name] : cases) {
        EXPECT_EQ(html::shortAlgorithm(identifier), name) << identifier;
    }
}

} // namespace
} // namespace vantrel::test
