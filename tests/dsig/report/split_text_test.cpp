// SPDX-License-Identifier: MIT
// Which texts are in pieces for some readers.

#include "dsig/report/split_text.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// The places of comments with a 'c' behind them, those of sections with an 's'.
std::string splitsIn(std::string_view markup) {
    std::string out;
    const dsig::TextSplits splits = dsig::splitTexts(markup);
    for (const std::uint32_t place : splits.comments) {
        out += std::to_string(place) + "c ";
    }
    for (const std::uint32_t place : splits.sections) {
        out += std::to_string(place) + "s ";
    }
    return out;
}

TEST(SplitText, FindsWhatDividesATextForSomeReaders) {
    const std::string_view cases[][2] = {
        {"<a>pay<!-- -->10</a>", "6c "},
        {"<a>pay<!-- --><!-- -->10<!-- -->0</a>", "6c 24c "},
        {"<a>pay <!-- --> \n 10</a>", "7c "},
        {"<a>pay<!-- --><![CDATA[10]]></a>", "6c "},
        {"<a><![CDATA[pay<!-- -->]]><!-- -->10</a>", "26c "},
        {"<a>pay<?p ?><!-- --><?p 1?>10</a>", "12c "},
        {"<a><!-- -->10</a>", "3c "},
        {"<a>\n<!-- -->10</a>", "4c "},
        {"<a><b/>pay<!-- -->10</a>", "10c "},
        {"<a>pay<!-- -->\n</a>", ""},
        {"<a>pay<!-- --><b/>10</a>", ""},
        {"<a><b/><!-- -->10</a>", ""},
        {"<a>pay<b c='<!-- -->' d='>x'/>10<!-- --></a>", ""},
        {"<a><![CDATA[pay<!-- -->10]]></a>", ""},
        {"<a>\n<![CDATA[pay]]>\n</a>", ""},
        {"<a>pay<![CDATA[10]]></a>", "6s "},
        {"<a><![CDATA[pay]]>10</a>", "18s "},
        {"<a><![CDATA[pay]]><![CDATA[10]]></a>", "18s "},
        {"<a>pay<![CDATA[]]>10</a>", "6s "},
        {"<a><![CDATA[]]>10</a>", "3s "},
        {"<a>pay<![CDATA[ ]]><b/></a>", ""},
        {"<a><b/><![CDATA[]]>10</a>", ""},
    };
    for (const auto& [markup, places] : cases) {
        EXPECT_EQ(splitsIn(markup), places) << markup;
    }
}

// One that the digests do not cover is nobody's concern.
TEST(SplitText, OnlyWhatIsCoveredCounts) {
    const StringBuffer text("<!--x--><r><a>pay<!-- -->10</a><b>20</b><c>1<![CDATA[2]]></c></r>");
    xml::ParseFailure why;
    const auto structure = xml::XmlDocument::parse(text, {}, why);
    ASSERT_NE(structure, nullptr);
    const dsig::Limits limits;
    dsig::Document document(structure, limits);
    const auto range = [&](xml::ElementId element) {
        return xml::rangeOf(structure->element(element).start, structure->element(element).end);
    };
    const auto found = [&](const std::vector<xml::TextRange>& stretches) {
        const dsig::SplitBy by = dsig::splitsIn(document, stretches);
        return std::string(by.comment ? "c" : "") + (by.section ? "s" : "");
    };
    EXPECT_EQ(found({range(2), range(1)}), "c");
    EXPECT_EQ(found({range(0)}), "cs");
    EXPECT_EQ(found({range(2)}), "");
    EXPECT_EQ(found({range(3)}), "s");
    EXPECT_EQ(found({}), "");
}

} // namespace
} // namespace vantrel::test
