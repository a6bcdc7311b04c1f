// SPDX-License-Identifier: MIT
// What is proposed for a word that is not known.

#include "foundation/text/word_lists.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::text {
namespace {

using Words = std::vector<std::string_view>;

// Everything that one slip of the keyboard makes of the word.
std::vector<std::string> slipsOf(const std::string& word) {
    std::vector<std::string> slips;
    for (std::size_t at = 0; at <= word.size(); ++at) {
        slips.push_back(std::string(word).insert(at, "x"));
        if (at < word.size()) {
            slips.push_back(std::string(word).erase(at, 1));
            slips.push_back(std::string(word).replace(at, 1, "x"));
        }
        if (at + 1 < word.size()) {
            slips.push_back(word);
            std::swap(slips.back()[at], slips.back()[at + 1]);
        }
    }
    return slips;
}

// One slip in three characters written is mended, and two in six; one more is too many.
TEST(NearestWord, MendsSlipsAtEveryPlace) {
    for (const std::string word : {"abc", "abcdef"}) {
        const Words candidates{"nothing-like-it", word, "zzz"};
        for (const std::string& slip : slipsOf(word)) {
            EXPECT_EQ(nearest(slip, candidates), word) << slip;
        }
    }
    const Words candidates{"abcdef"};
    for (const std::string_view twice : {"bacdfe", "xbcdex", "axbcdexf", "fabcde"}) {
        EXPECT_EQ(nearest(twice, candidates), "abcdef") << twice;
    }
    for (const std::string_view thrice : {"badcfe", "xbxdxf", "xxxdef", "bdf", "uvwxyz"}) {
        EXPECT_EQ(nearest(thrice, candidates), "") << thrice;
    }
    EXPECT_EQ(nearest("xyc", Words{"abc"}), "");
}

TEST(NearestWord, PrefersTheNearer) {
    const struct {
        std::string_view written;
        Words candidates;
        std::string_view meant;
    } cases[] = {
        {"abcdef", {"abxxef", "abcdxf", "xxcdef"}, "abcdxf"},
        {"abcdef", {"abcdxf", "abcdef"}, "abcdef"},
        {"abcdef", {"abcdxf", "abcdyf"}, "abcdxf"}, // the first of two that are as near
        {"ABCDXF", {"abcdef"}, "abcdef"},
        {"abcdxf", {"AbCdEf"}, "AbCdEf"},
        // What begins with it, whatever comes behind.
        {"--re", {"--rf", "--report-everything"}, "--report-everything"},
        {"r", {"report"}, ""},
        {"--r", {"--report"}, ""},
        // Dashes do not make a word longer: one slip in three, not two in five.
        {"--axy", {"--abc"}, ""},
        {"--axc", {"--abc"}, "--abc"},
        {"", {"a", "abc"}, "a"},
        {"abc", {}, ""},
        {std::string_view("abc\0", 4), {"abc"}, "abc"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(nearest(each.written, each.candidates), each.meant) << each.written;
    }
}

TEST(WordLists, AreSplit) {
    const struct {
        std::string_view list;
        char separator;
        Words words;
    } cases[] = {
        {"", ' ', {}},
        {"one", ' ', {"one"}},
        {" one  two ", ' ', {"one", "two"}},
        {",,", ',', {}},
        {"a,b c,,d", ',', {"a", "b c", "d"}},
        {",a", ',', {"a"}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(splitWords(each.list, each.separator), each.words) << each.list;
    }
}

} // namespace
} // namespace vantrel::text
