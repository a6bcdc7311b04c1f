// SPDX-License-Identifier: MIT
// The examples of RFC 3986, 5.4, without fragments as Canonical XML 1.1, 2.4 has it, and its own
// cases of relative bases.

#include "foundation/xml/canon/join_uri.h"

#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace vantrel::xml {
namespace {

TEST(JoinUri, ReferencesBesideAnAbsoluteBase) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"g:h", "g:h"},
        {"g", "http://a/b/c/g"},
        {"./g", "http://a/b/c/g"},
        {"g/", "http://a/b/c/g/"},
        {"/g", "http://a/g"},
        {"//g", "http://g"},
        {"?y", "http://a/b/c/d;p?y"},
        {"g?y", "http://a/b/c/g?y"},
        {"#s", "http://a/b/c/d;p?q"},
        {"g#s", "http://a/b/c/g"},
        {"g?y#s", "http://a/b/c/g?y"},
        {";x", "http://a/b/c/;x"},
        {"", "http://a/b/c/d;p?q"},
        {".", "http://a/b/c/"},
        {"./", "http://a/b/c/"},
        {"..", "http://a/b/"},
        {"../", "http://a/b/"},
        {"../g", "http://a/b/g"},
        {"../..", "http://a/"},
        {"../../", "http://a/"},
        {"../../g", "http://a/g"},
        {"../../../g", "http://a/g"},
        {"/./g", "http://a/g"},
        {"/../g", "http://a/g"},
        {"g.", "http://a/b/c/g."},
        {"..g", "http://a/b/c/..g"},
        {"./../g", "http://a/b/g"},
        {"./g/.", "http://a/b/c/g/"},
        {"g/./h", "http://a/b/c/g/h"},
        {"g/../h", "http://a/b/c/h"},
        {"g;x=1/../y", "http://a/b/c/y"},
        {"g?y/../x", "http://a/b/c/g?y/../x"},
        {"http:g", "http:g"},
    };
    for (const auto& [reference, joined] : cases) {
        EXPECT_EQ(joinUriReferences("http://a/b/c/d;p?q", reference), joined) << reference;
    }
    EXPECT_EQ(joinUriReferences("http://a", "g"), "http://a/g");
    EXPECT_EQ(joinUriReferences("http://a//b///c", "g//h"), "http://a/b/g/h");
}

TEST(JoinUri, RelativeBases) {
    const struct {
        std::string_view base;
        std::string_view reference;
        std::string_view joined;
    } cases[] = {
        {"", "b", "b"},
        {"a", "b", "b"},
        {"a/", "b", "a/b"},
        {"a/", "../b", "b"},
        {"a/", "../../b", "../b"},
        {"..", "..", "../../"},
        {"../..", "b", "../../b"},
        {"../a", "b", "../b"},
        {"/a/b", "../../c", "/c"},
        {"a?q", "", "a?q"},
        {"a?q", "?r", "a?r"},
        {"a/..", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(joinUriReferences(c.base, c.reference), c.joined) << c.base << " " << c.reference;
    }
}

} // namespace
} // namespace vantrel::xml
