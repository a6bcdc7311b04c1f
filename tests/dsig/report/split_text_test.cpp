// SPDX-License-Identifier: MIT
// Which comments stand inside a text.

#include "dsig/report/split_text.h"

#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

TEST(SplitText, FindsCommentsBetweenTwoPiecesOfOneText) {
    struct Case {
        std::string_view markup;
        std::vector<std::uint32_t> places;
    };
    const Case cases[] = {
        {"<a>pay<!-- -->10</a>", {6}},
        {"<a>pay<!-- --><!-- -->10<!-- -->0</a>", {6, 24}},
        {"<a>pay <!-- --> \n 10</a>", {7}},
        {"<a>pay<!-- --><![CDATA[10]]></a>", {6}},
        {"<a><![CDATA[pay<!-- -->]]><!-- -->10</a>", {26}},
        {"<a>pay<?p ?><!-- --><?p 1?>10</a>", {12}},
        {"<a>\n<!-- -->10</a>", {}},
        {"<a>pay<!-- -->\n</a>", {}},
        {"<a>pay<!-- --><b/>10</a>", {}},
        {"<a>pay<b c='<!-- -->' d='>x'/>10<!-- --></a>", {}},
        {"<a><![CDATA[pay<!-- -->10]]></a>", {}},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(dsig::commentsInText(one.markup), one.places) << one.markup;
    }
}

// One that the digests do not cover is nobody's concern.
TEST(SplitText, OnlyCoveredCommentsCount) {
    const StringBuffer text("<!--x--><r><a>pay<!-- -->10</a><b>20</b></r>");
    xml::ParseFailure why;
    const auto structure = xml::XmlDocument::parse(text, {}, why);
    ASSERT_NE(structure, nullptr);
    const dsig::Limits limits;
    dsig::Document document(structure, limits);
    const auto range = [&](xml::ElementId element) {
        return xml::rangeOf(structure->element(element).start, structure->element(element).end);
    };
    EXPECT_TRUE(dsig::hasCommentInText(document, {range(2), range(1)}));
    EXPECT_TRUE(dsig::hasCommentInText(document, {range(0)}));
    EXPECT_FALSE(dsig::hasCommentInText(document, {range(2)}));
    EXPECT_FALSE(dsig::hasCommentInText(document, {}));
}

} // namespace
} // namespace vantrel::test
