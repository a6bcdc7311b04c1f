// SPDX-License-Identifier: MIT
// The parts of the search for causes. Whole documents with one cause each: whole/explain_causes.py.

#include "dsig/explain/budget.h"
#include "dsig/explain/digest_goal.h"
#include "dsig/explain/form_tokens.h"
#include "dsig/explain/search.h"
#include "dsig/explain/single_change.h"
#include "dsig/explain/text_changes.h"
#include "foundation/crypto/hash/hasher.h"

#include <array>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::dsig::explain {
namespace {

std::string digestOf(int hashId, std::string_view octets) {
    std::array<std::uint8_t, crypto::kMaxDigestSize> bytes{};
    return std::string(asText(crypto::hashBytes(hashId, asBytes(octets), bytes)));
}

std::string randomText(std::mt19937& random, std::size_t size, std::string_view alphabet) {
    std::string text;
    while (text.size() < size) {
        text += alphabet[random() % alphabet.size()];
    }
    return text;
}

// Every kind of change, at the ends and around the borders of blocks, under every hash.
TEST(SingleChange, IsFoundAtEveryPlace) {
    std::mt19937 random(1);
    for (const int hashId : allHashes()) {
        for (const std::size_t size : {1U, 64U, 129U}) {
            const std::string form = randomText(random, size, "01234567");
            for (const std::size_t at : {0U, 63U, 64U, 127U, 128U}) {
                if (at >= size) {
                    continue;
                }
                std::string replaced = form;
                replaced[at] = '9';
                std::string added = form;
                added.insert(at, "8");
                const std::string removed = std::string(form).erase(at, 1);
                std::string swapped = form;
                std::swap(swapped[at], swapped[at + 1 < size ? at + 1 : at]);
                for (const std::string& original : {replaced, added, removed, swapped}) {
                    if (original == form || original.empty()) {
                        continue;
                    }
                    Budget budget(100);
                    std::string evidence;
                    EXPECT_EQ(findSingleChange(form, hashId, asBytes(digestOf(hashId, original)),
                                               budget, evidence),
                              SingleChangeOutcome::Found)
                        << hashName(hashId) << " " << size << " " << at << " " << original;
                }
            }
        }
    }
}

TEST(SingleChange, SaysWhenTheFormIsTooLarge) {
    Budget budget(1);
    std::string evidence;
    const std::string form(std::size_t{4} << 20, 'a');
    EXPECT_EQ(findSingleChange(form, kHashSha256, asBytes(digestOf(kHashSha256, "other")), budget,
                               evidence),
              SingleChangeOutcome::TooLarge);
    EXPECT_TRUE(budget.stoppedEarly());
}

// Texts that are no XML, too: the octets of external data come here.
TEST(FormTokens, AddUpToTheText) {
    std::mt19937 random(2);
    for (int i = 0; i < 2000; ++i) {
        const std::string text = randomText(random, random() % 60, "<>/!-?[]CDAT &;\"'= a\n");
        std::string joined;
        for (const Token& token : formTokens(text)) {
            joined += token.text;
        }
        EXPECT_EQ(joined, text);
        for (const TextFamily family : textFamilies()) {
            // None ends the search by itself.
            EXPECT_FALSE(family(text, [](const Change& /*change*/) { return false; })) << text;
        }
    }
}

// What would grow with the square of the depth is not made.
TEST(Search, EndsOnDeepForms) {
    std::string form;
    for (int i = 0; i < 20000; ++i) {
        form += "<a>";
    }
    form += "x?";
    for (int i = 0; i < 20000; ++i) {
        form += "</a>";
    }
    std::size_t largest = 0;
    for (const TextFamily family : textFamilies()) {
        EXPECT_FALSE(family(form, [&](const Change& change) {
            largest = std::max(largest, change.octets.size());
            return false;
        }));
    }
    EXPECT_LE(largest, 40 * form.size());
}

// Two changes, a digest of another hash, and a digest that nothing gives.
TEST(Search, CombinesTwoChangesAndClaimsNothingElse) {
    const std::string form = "<a>\n  <b>caf\xC3\xA9</b>\n</a>";
    const auto base64 = [](const std::string& octets) {
        StringBuffer text;
        DataBuffer(asBytes(octets)).encodeDB("base64", text);
        return std::string(text.view());
    };
    const auto codeFor = [&](const std::string& stored) {
        Budget budget(10);
        DigestGoal goal(stored, kHashSha256);
        Search search(form, nullptr, goal, budget);
        search.runQuick();
        return search.finding() ? std::string(search.finding()->code) : "nothing";
    };
    const std::string crlfLatin = "<a>\r\n  <b>caf\xE9</b>\r\n</a>";
    EXPECT_EQ(codeFor(base64(digestOf(kHashSha256, crlfLatin))), "line-ends");
    EXPECT_EQ(codeFor(base64(digestOf(kHashSha1, "<a><b>caf\xC3\xA9</b></a>"))), "indentation");
    EXPECT_EQ(codeFor(base64(digestOf(kHashSha512, form))), "other-hash");
    EXPECT_EQ(codeFor(base64(digestOf(kHashSha256, form).substr(0, 12))), "digest-encoding");
    EXPECT_EQ(codeFor(base64(digestOf(kHashSha256, "something else"))), "nothing");
    EXPECT_EQ(codeFor(""), "nothing");
}

// Comments and line ends together, which needs the form with comments to be kept for a second step.
TEST(Search, KeepsFormsForPairsUpToItsLimit) {
    xml::ParseFailure why;
    Target target;
    target.structure = xml::XmlDocument::parse(StringBuffer("<a><!--c-->\n<b/></a>"), {}, why);
    const std::string commented = "<a><!--c-->\n<b></b></a>";
    StringBuffer stored;
    const std::string original = "<a><!--c-->\r\n<b></b></a>";
    DataBuffer(asBytes(digestOf(kHashSha256, original))).encodeDB("base64", stored);
    for (const std::size_t limit : {commented.size() - 1, commented.size(), kMostKeptOctets}) {
        Budget budget(10);
        DigestGoal goal(std::string(stored.view()), kHashSha256);
        Search search("<a>\n<b></b></a>", &target, goal, budget, limit);
        search.runQuick();
        EXPECT_EQ(search.finding() ? search.finding()->code : "nothing",
                  limit >= commented.size() ? "comments" : "nothing")
            << limit;
    }
}

} // namespace
} // namespace vantrel::dsig::explain
