// SPDX-License-Identifier: MIT
#include "foundation/xml/tree/element_text.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::shared_ptr<const xml::XmlDocument> parsed(const std::string& text) {
    xml::ParseFailure why;
    auto document = xml::XmlDocument::parse(StringBuffer{text}, {}, why);
    EXPECT_NE(document, nullptr) << why.message;
    return document;
}

std::string times(std::size_t count, const std::string& piece) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

std::string pathOf(xml::ElementPaths& paths, xml::ElementId element) {
    std::string path = "before";
    paths.append(element, path);
    EXPECT_TRUE(path.starts_with("before"));
    return path.substr(6);
}

TEST(ElementPaths, NumberLikeNamedSiblings) {
    const auto document = parsed("<r><a/><b/><a><c/><a/></a><p:a xmlns:p='u'/></r>");
    xml::ElementPaths paths(*document);
    const char* const expected[] = {"/r",        "/r/a[1]",   "/r/b",  "/r/a[2]",
                                    "/r/a[2]/c", "/r/a[2]/a", "/r/p:a"};
    for (xml::ElementId element = document->elementCount(); element-- > 0;) {
        EXPECT_EQ(pathOf(paths, element), expected[element]);
    }
}

TEST(ElementPaths, LongOnesEndWhereTheyAreCut) {
    constexpr std::size_t kDepth = 5000;
    const auto document = parsed(times(kDepth, "<a>") + times(kDepth, "</a>"));
    const std::string whole = times(xml::kMaxShownPath / 2, "/a");
    for (const bool upwards : {true, false}) {
        xml::ElementPaths paths(*document);
        for (xml::ElementId i = 0; i < kDepth; ++i) {
            const xml::ElementId element =
                upwards ? static_cast<xml::ElementId>(kDepth) - 1 - i : i;
            const std::size_t length = (std::size_t{element} + 1) * 2;
            if (length > 2 * xml::kMaxShownPath && i > 200) {
                continue; // not all of them, since all together have a limit
            }
            EXPECT_EQ(pathOf(paths, element),
                      length <= xml::kMaxShownPath ? times(element + 1, "/a") : whole + "/...");
        }
    }
    const std::string name(3 * xml::kMaxShownPath, 'n');
    const auto named = parsed("<" + name + "><b/></" + name + ">");
    xml::ElementPaths paths(*named);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(pathOf(paths, 0), "/...");
        EXPECT_EQ(pathOf(paths, 1), "/...");
    }
    std::string shown;
    paths.appendName(0, shown);
    EXPECT_EQ(shown, std::string(xml::kMaxShownPath, 'n') + "...");
    shown.clear();
    paths.appendName(1, shown);
    EXPECT_EQ(shown, "b");
}

// Many elements below very many: the way up is gone once, and what is shown of it stays within the
// limits.
TEST(ElementPaths, DeepOnesCostNoMoreThanIsShown) {
    constexpr std::size_t kDepth = 9000;
    std::uint64_t before = 0;
    std::size_t bytesBefore = 0;
    for (const std::size_t leaves : {20000U, 40000U, 80000U}) {
        const auto document =
            parsed(times(kDepth, "<a>") + times(leaves, "<b/>") + times(kDepth, "</a>"));
        xml::ElementPaths paths(*document);
        std::size_t bytes = 0;
        for (xml::ElementId leaf = kDepth; leaf < document->elementCount(); ++leaf) {
            const std::string path = pathOf(paths, leaf);
            EXPECT_TRUE(path.ends_with("/a/..."));
            bytes += path.size();
        }
        EXPECT_LE(bytes, xml::kLongPaths + xml::kMaxShownPath + leaves * (xml::kShortPath + 4));
        EXPECT_LE(paths.work(), document->elementCount() * 3 + bytes);
        EXPECT_LE(paths.work(), before == 0 ? paths.work() : 2 * before);
        EXPECT_LE(bytes, bytesBefore == 0 ? bytes : 2 * bytesBefore);
        before = paths.work();
        bytesBefore = bytes;
    }
}

} // namespace
} // namespace vantrel::test
