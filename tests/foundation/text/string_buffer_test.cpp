// SPDX-License-Identifier: MIT
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"
#include "foundation/text/strings.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// The arguments of one vector.
struct Call {
    std::string a;
    std::string b;
    std::string c;
    bool flag1 = false;
    bool flag2 = false;
    std::uint32_t n1 = 0;
    std::uint32_t n2 = 0;

    explicit Call(VecCase& v) {
        a = v.has("A") ? v.escaped("A") : "";
        b = v.has("B") ? v.escaped("B") : "";
        c = v.has("C") ? v.escaped("C") : "";
        flag1 = v.booleanOr("Flag1", false);
        flag2 = v.booleanOr("Flag2", false);
        n1 = static_cast<std::uint32_t>(v.integerOr("N1", 0));
        n2 = static_cast<std::uint32_t>(v.integerOr("N2", 0));
    }
    [[nodiscard]] const char* pa() const { return a.c_str(); }
    [[nodiscard]] const char* pb() const { return b.c_str(); }
    [[nodiscard]] const char* pc() const { return c.c_str(); }
};

using Operation = std::function<std::int64_t(StringBuffer&, const Call&)>;

// Operations without a result yield 0.
const std::map<std::string, Operation>& operations() {
    using S = StringBuffer;
    static const std::map<std::string, Operation> all = {
        {"removeBefore", [](S& s, const Call& k) { return s.removeBefore(k.pa(), k.flag1); }},
        {"chopAtSubstr", [](S& s, const Call& k) { return s.chopAtSubstr(k.pa(), k.flag1); }},
        {"removeDelimited",
         [](S& s, const Call& k) { return s.removeDelimited(k.pa(), k.pb(), k.flag1, k.flag2); }},
        {"removeDelimitedIfContains",
         [](S& s, const Call& k) {
             return s.removeDelimitedIfContains(k.pa(), k.pb(), k.pc(), k.flag1, k.flag2);
         }},
        {"removeChunk", [](S& s, const Call& k) { return s.removeChunk(k.n1, k.n2), 0; }},
        {"shorten", [](S& s, const Call& k) { return s.shorten(k.n1), 0; }},
        {"insertAt", [](S& s, const Call& k) { return s.insertAt(S(k.a), k.n1); }},
        {"prepend", [](S& s, const Call& k) { return s.prepend(k.pa()); }},
        {"replaceFirstOccurance",
         [](S& s, const Call& k) { return s.replaceFirstOccurance(k.pa(), k.pb(), k.flag1); }},
        {"replaceAllOccurances",
         [](S& s, const Call& k) { return s.replaceAllOccurances(k.pa(), k.pb()); }},
        {"replaceCharUtf8",
         [](S& s, const Call& k) { return s.replaceCharUtf8(k.a[0], k.b[0]), 0; }},
        {"replaceChar5", [](S& s, const Call& k) { return s.replaceChar5(k.pa(), k.b[0]), 0; }},
        {"removeCharOccurances",
         [](S& s, const Call& k) { return s.removeCharOccurances(k.a[0]), 0; }},
        {"trim2", [](S& s, const Call&) { return s.trim2(), 0; }},
        {"trimInsideSpaces", [](S& s, const Call&) { return s.trimInsideSpaces(), 0; }},
        {"toLowerCase", [](S& s, const Call&) { return s.toLowerCase(), 0; }},
        {"toCRLF", [](S& s, const Call&) { return s.toCRLF(), 0; }},
        {"toLF", [](S& s, const Call&) { return s.toLF(), 0; }},
        {"beginsWith", [](S& s, const Call& k) { return s.beginsWith(k.pa()); }},
        {"endsWith", [](S& s, const Call& k) { return s.endsWith(k.pa()); }},
        {"containsSubstring", [](S& s, const Call& k) { return s.containsSubstring(k.pa()); }},
        {"containsSubstringNoCase",
         [](S& s, const Call& k) { return s.containsSubstringNoCase(k.pa()); }},
        {"indexOf", [](S& s, const Call& k) { return s.indexOf(k.pa()); }},
        {"isHexidecimal", [](S& s, const Call&) { return s.isHexidecimal(); }},
        {"matches", [](S& s, const Call& k) { return s.matches(k.pa(), k.flag1); }},
    };
    return all;
}

void runOperation(VecCase& v) {
    const std::string before = v.escaped("Text");
    const Call call(v);
    const std::string after = v.has("Out") ? v.escaped("Out") : before;
    const std::int64_t result = v.integerOr("Result", 0);
    const std::string name = v.text("Op");
    ASSERT_TRUE(operations().contains(name)) << v.where() << name;
    // Once on storage of its own, once on storage that another text shares and must not see
    // changed.
    for (const bool shared : {false, true}) {
        StringBuffer text(before);
        const StringBuffer witness = shared ? text : StringBuffer();
        EXPECT_EQ(operations().at(name)(text, call), result) << v.where() << name;
        EXPECT_EQ(text.view(), after) << v.where() << name;
        EXPECT_EQ(std::string(text.getString()), after) << v.where() << "NUL after the text";
        if (shared) {
            EXPECT_EQ(witness.view(), before) << v.where() << "a copy changed";
            EXPECT_EQ(text.sharesStorageWith(witness), before == after && !before.empty())
                << v.where() << "storage is given up exactly when the text changes";
        }
    }
}

TEST(StringBuffer, OperationsDoWhatTheVectorsSay) {
    forEachVector("text/string_buffer.vec", "edit", runOperation);
    forEachVector("text/string_buffer.vec", "ask", runOperation);
}

TEST(StringBuffer, DividesIntoPieces) {
    forEachVector("text/string_buffer.vec", "pieces", [](VecCase& v) {
        const StringBuffer text(v.escaped("Text"));
        const Call call(v);
        ExtPtrArraySb pieces;
        ExtPtrArray tokens;
        std::vector<std::string> got;
        if (v.text("Op") == "split") {
            ASSERT_TRUE(text.split(pieces, call.a[0], call.flag1, call.flag2));
            for (int i = 0; i < pieces.getSize(); ++i) {
                got.emplace_back(pieces.strAt(i));
            }
        } else {
            ASSERT_TRUE(text.tokenize(tokens, call.pa()));
            for (int i = 0; i < tokens.getSize(); ++i) {
                got.emplace_back(static_cast<StringBuffer*>(tokens.elementAt(i))->getString());
            }
        }
        std::vector<std::string> wanted = v.all("Piece");
        for (std::string& piece : wanted) {
            piece = unescape(piece);
        }
        EXPECT_EQ(got, wanted) << v.where();
    });
}

// A random walk over a few buffers that share, grow, shrink and take from each other, beside plain
// strings that do the same. Any fault of the copy on write shows as a difference.
TEST(StringBuffer, SharedStorageBehavesLikeSeparateCopies) {
    RandomBytes random(20);
    constexpr std::size_t kCount = 4;
    StringBuffer texts[kCount];
    std::string model[kCount];
    for (int step = 0; step < 60000; ++step) {
        const std::size_t i = random.below(kCount);
        const std::size_t j = random.below(kCount);
        const std::string piece(random.below(90), static_cast<char>('a' + random.below(26)));
        const auto at = static_cast<std::uint32_t>(random.below(model[i].size() + 1));
        const auto count = static_cast<std::uint32_t>(random.below(120));
        switch (random.below(11)) {
        case 0:
            texts[i] = texts[j];
            model[i] = model[j];
            break;
        case 1:
            texts[i].setString(texts[j]);
            model[i] = model[j];
            break;
        case 2:
            texts[i].append(texts[j]);
            model[i] += std::string(model[j]);
            break;
        case 3:
            texts[i].append(piece.c_str());
            model[i] += piece;
            break;
        case 4:
            texts[i].insertAt(texts[j], at);
            model[i].insert(at, std::string(model[j]));
            break;
        case 5:
            texts[i].removeChunk(at, count);
            model[i].erase(at, count);
            break;
        case 6:
            texts[i].shorten(count);
            model[i].resize(model[i].size() - std::min<std::size_t>(count, model[i].size()));
            break;
        case 7:
            if (i != j) {
                texts[i].takeSb(texts[j]);
                model[i] = model[j];
                model[j].clear();
            }
            break;
        case 8:
            texts[i].clear();
            model[i].clear();
            break;
        // Arguments that are a part of the text itself.
        case 9:
            texts[i].append(texts[i].pCharAt(at));
            model[i] += std::string(model[i], at);
            break;
        default:
            texts[i].setView(texts[i].view().substr(at, count));
            model[i] = std::string(model[i], at, count);
        }
        if (model[i].size() > 5000) {
            texts[i].clear();
            model[i].clear();
        }
        for (std::size_t k = 0; k < kCount; ++k) {
            ASSERT_EQ(texts[k].view(), model[k]) << "step " << step << " buffer " << k;
            ASSERT_EQ(texts[k].getString()[model[k].size()], '\0') << "step " << step;
        }
    }
}

TEST(StringBuffer, RefusesWhatPassesTheSizeLimit) {
    StringBuffer text("abc");
    EXPECT_FALSE(text.appendN("x", kMaxTextSize - 2));
    EXPECT_FALSE(text.reserve(std::numeric_limits<std::uint32_t>::max()));
    EXPECT_EQ(text.view(), "abc");
    EXPECT_EQ(text.pCharAt(3), nullptr);
    EXPECT_EQ(*text.pCharAt(2), 'c');
}

// Large blocks take another way to their memory.
TEST(StringBuffer, GrowsThroughTheLargeBlocks) {
    StringBuffer text;
    std::string piece(700001, 'x');
    for (std::size_t i = 0; i < 20; ++i) {
        piece[0] = static_cast<char>('A' + i);
        ASSERT_TRUE(text.appendView(piece));
    }
    ASSERT_EQ(text.getSize(), 20U * piece.size());
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(*text.pCharAt(static_cast<std::uint32_t>(i * piece.size())),
                  'A' + static_cast<int>(i));
    }
}

TEST(Strings, SearchAgreesWithTheStandardLibrary) {
    RandomBytes random(4);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        std::string needle;
        // Two letters only: many near misses; long enough for every way of searching.
        for (std::uint64_t n = random.below(round % 2 == 0 ? 300 : 900); n > 0; --n) {
            text += random.below(4) == 0 ? 'b' : 'a';
        }
        for (std::uint64_t n = random.below(70); n > 0; --n) {
            needle += random.below(6) == 0 ? 'b' : 'a';
        }
        const std::size_t from = random.below(text.size() + 2);
        EXPECT_EQ(text::findText(text, needle, from), text.find(needle, from)) << text << needle;
        EXPECT_EQ(text::findTextNoCase(text, needle, from), text.find(needle, from));
    }
    EXPECT_EQ(text::findTextNoCase("xAbC", "aBc"), 1U);
    EXPECT_EQ(vlStrLen(nullptr), 0U);
    EXPECT_EQ(vlStrStr(nullptr, "a"), nullptr);
    EXPECT_EQ(vlStrStr("a", nullptr), nullptr);
    EXPECT_EQ(vlStrChr(nullptr, 'a'), nullptr);
    EXPECT_NE(vlStrNCmp(nullptr, "a", 1), 0);
}

TEST(XString, SecureTextChangesWithoutTouchingCopies) {
    const std::string secret(200, 'S');
    XString text;
    text.setSecureX(true);
    ASSERT_TRUE(text.setFromUtf8(secret.c_str()));
    // What another holds as well is not wiped under its hands.
    const StringBuffer witness = text.getUtf8Sb();
    ASSERT_TRUE(text.appendUtf8("more"));
    EXPECT_EQ(witness.view(), secret);
    EXPECT_EQ(text.getUtf8Sb().view(), secret + "more");
    const XString plain("plain");
    text = plain;
    EXPECT_STREQ(text.getUtf8(), "plain");
    text.clear();
    EXPECT_TRUE(text.isEmpty());
}

TEST(DataBuffer, SecureBufferGrowsFromItsOwnBytes) {
    DataBuffer data;
    data.setSecure(true);
    ASSERT_TRUE(data.append("0123456789", 10));
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(data.append(data.view())); // out of the storage that is given up
    }
    ASSERT_EQ(data.getSize(), 2560U);
    for (std::uint32_t i = 0; i < data.getSize(); ++i) {
        ASSERT_EQ(data.getData2()[i], '0' + i % 10) << i;
    }
    StringBuffer text;
    text.takeFromDb(data);
    EXPECT_TRUE(data.isEmpty());
    EXPECT_EQ(text.getSize(), 2560U);
}

class Counted final : public RefCountedObject {};

TEST(Arrays, OwnAndHandOverTheirElements) {
    const std::int64_t before = RefCountedObject::liveObjects();
    {
        ExtPtrArrayRc array;
        array.appendRefCounted(new Counted());
        EXPECT_EQ(array.replaceRefCountedAt(3, new Counted()), nullptr);
        EXPECT_EQ(array.getSize(), 4);
        EXPECT_EQ(array.elementAt(2), nullptr);
        const RefCountedObjectOwner old(array.replaceRefCountedAt(0, new Counted()));
        EXPECT_NE(old.m_object, nullptr);
        const RefCountedObjectOwner removed(array.removeRefCountedAt(0));
        EXPECT_EQ(array.getSize(), 3);
        EXPECT_NE(array.elementAt(2), nullptr);
        EXPECT_EQ(array.elementAt(3), nullptr);
        EXPECT_EQ(array.elementAt(-1), nullptr);
        EXPECT_EQ(array.removeRefCountedAt(7), nullptr);
        EXPECT_EQ(array.replaceRefCountedAt(-1, new Counted()), nullptr); // released, not kept
        EXPECT_EQ(RefCountedObject::liveObjects(), before + 3);
    }
    EXPECT_EQ(RefCountedObject::liveObjects(), before);

    ExtPtrArray texts;
    EXPECT_TRUE(texts.setAt(2, new StringBuffer("c")));
    EXPECT_TRUE(texts.setAt(2, new StringBuffer("d")));
    EXPECT_FALSE(texts.setAt(-1, new StringBuffer("e")));
    EXPECT_EQ(texts.getSize(), 3);
    EXPECT_EQ(texts.elementAt(0), nullptr);
    EXPECT_EQ(static_cast<StringBuffer*>(texts.elementAt(2))->view(), "d");
}

} // namespace
} // namespace vantrel::test
