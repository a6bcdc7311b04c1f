// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/XmlCanon.h"

#include "tests/foundation/xml/canon/canon_support.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Keeps what it is given, and refuses the n-th piece.
class CountingSink final : public xml::CanonSink {
public:
    explicit CountingSink(int refuseAt) : m_left(refuseAt) {}
    bool write(const char* data, std::size_t size) override {
        largest = std::max(largest, size);
        octets.append(data, size);
        return m_left-- > 0;
    }
    std::string octets;
    std::size_t largest = 0;

private:
    int m_left;
};

CanonCall readCall(VecCase& vector) {
    CanonCall call;
    call.form = vector.textOr("Form", "inc");
    call.prefixes = vector.textOr("Prefixes", "");
    call.id = vector.textOr("Id", "");
    call.offset = static_cast<unsigned>(vector.integerOr("Offset", 0));
    return call;
}

TEST(XmlCanon, FollowsTheRules) {
    forEachVector("xml/canon/rules.vec", "", [](VecCase& vector) {
        const CanonCall call = readCall(vector);
        const std::string text = vector.escaped("Doc");
        const std::string expected = vector.escaped("Out");
        EXPECT_EQ(canonical(text, call).value_or("failed"), expected) << vector.where();

        // A canonical form is its own canonical form.
        CanonCall again = call;
        again.id.clear();
        EXPECT_EQ(canonical(expected, again).value_or("failed"), expected) << vector.where();
    });
}

TEST(XmlCanon, SelectsOneElement) {
    forEachVector("xml/canon/options.vec", "Selection", [](VecCase& vector) {
        const CanonCall call = readCall(vector);
        XmlCanon canon;
        RecordingLog log;
        const auto out = run(canon, StringBuffer{vector.escaped("Doc")}, call, log);
        if (vector.has("Error")) {
            EXPECT_FALSE(out) << vector.where();
            EXPECT_TRUE(log.hasError(vector.text("Error"))) << vector.where() << log.errors;
        } else {
            EXPECT_EQ(out.value_or("failed"), vector.escaped("Out")) << vector.where();
            EXPECT_EQ(log.errors, "") << vector.where();
        }
    });
}

TEST(XmlCanon, RepeatsFaultyAttributeOrders) {
    const std::map<std::string, xml::AttributeOrder> orders = {
        {"Prefix", xml::AttributeOrder::PrefixThenLocal},
        {"Local", xml::AttributeOrder::LocalName}};
    forEachVector("xml/canon/options.vec", "Orders", [&](VecCase& vector) {
        const std::string text = vector.escaped("Doc");
        for (const auto& [name, order] : orders) {
            XmlCanon canon;
            RecordingLog log;
            canon.m_faultyOrder = order;
            EXPECT_EQ(run(canon, StringBuffer{text}, {}, log).value_or("failed"),
                      vector.escaped("Canonical"))
                << vector.where();
            canon.m_duplicateAttrSortBug = true;
            EXPECT_EQ(run(canon, StringBuffer{text}, {}, log).value_or("failed"),
                      vector.escaped(name))
                << vector.where();
        }
    });
}

TEST(XmlCanon, LeavesInheritedDeclarationsOut) {
    forEachVector("xml/canon/options.vec", "Without inherited declarations", [](VecCase& vector) {
        const std::string text = vector.escaped("Doc");
        for (const std::string key : {"Inclusive", "Exclusive"}) {
            XmlCanon canon;
            RecordingLog log;
            canon.m_method = key == "Inclusive" ? 1 : 2;
            canon.m_signedDocFlag = false;
            EXPECT_EQ(run(canon, StringBuffer{text}, {.id = "i"}, log).value_or("failed"),
                      vector.escaped(key))
                << vector.where() << key;
        }
    });
}

TEST(XmlCanon, CountsAuthenticatedElements) {
    forEachVector("xml/canon/options.vec", "Authenticated", [](VecCase& vector) {
        const StringBuffer text{vector.escaped("Doc")};
        const std::vector<std::string> expected = vector.all("Out");
        XmlCanon canon;
        canon.m_ebicsMode = true;
        RecordingLog log;
        StringBuffer out;
        std::string all;
        for (const std::string& one : expected) {
            EXPECT_TRUE(canon.xmlCanonicalize(text, "ignored", 0, out, log)) << vector.where();
            all += one;
            ++canon.m_ebicsIndex;
        }
        EXPECT_EQ(out.view(), all) << vector.where();
        EXPECT_FALSE(canon.xmlCanonicalize(text, nullptr, 0, out, log)) << vector.where();
        EXPECT_EQ(log.errors.empty(), !vector.has("Error")) << "the end of the list is no error";
        if (vector.has("Error")) {
            EXPECT_TRUE(log.hasError(vector.text("Error"))) << vector.where();
        }
        canon.m_ebicsIndex = -1;
        EXPECT_FALSE(canon.xmlCanonicalize(text, nullptr, 0, out, log)) << vector.where();
        EXPECT_EQ(out.view(), all) << vector.where();
    });
}

// Takes the "[[" and "]]" out of a text and returns what stood between them as ranges.
std::vector<xml::TextRange> takeMarks(std::string& text) {
    std::vector<xml::TextRange> ranges;
    for (std::size_t open = text.find("[["); open != std::string::npos; open = text.find("[[")) {
        text.erase(open, 2);
        const std::size_t close = text.find("]]", open);
        text.erase(close, 2);
        ranges.push_back(
            {static_cast<std::uint32_t>(open), static_cast<std::uint32_t>(close - open)});
    }
    return ranges;
}

// The form of `id`, or of the whole text, without the ranges; nothing where one is no hole.
std::optional<std::string> canonicalWithout(const std::string& text,
                                            const std::vector<xml::TextRange>& ranges,
                                            const CanonCall& call) {
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(StringBuffer{text}, {}, why);
    if (document == nullptr || !std::all_of(ranges.begin(), ranges.end(), [&](auto range) {
            return xml::isHole(*document, range);
        })) {
        return std::nullopt;
    }
    XmlCanon canon;
    setUp(canon, call);
    RecordingLog log;
    xml::ElementId apex = xml::kNoElement;
    static_cast<void>(XmlCanon::findFragment(*document, call.id, apex, log));
    CountingSink sink(1000);
    EXPECT_TRUE(canon.canonicalizeElement(*document, apex, ranges, sink, log)) << text;
    return sink.octets;
}

TEST(XmlCanon, LeavesHolesOutAsIfTheyWereCutOut) {
    forEachVector("xml/canon/options.vec", "Holes", [](VecCase& vector) {
        std::string text = vector.escaped("Doc");
        const std::vector<xml::TextRange> ranges = takeMarks(text);
        EXPECT_EQ(canonicalWithout(text, ranges, readCall(vector)).value_or("no hole"),
                  vector.escaped("Out"))
            << vector.where();
    });
}

// Every stretch of a document that is a hole, and every two of them, side by side as well: the
// result is that of the text without them.
TEST(XmlCanon, EveryStretchAsAHole) {
    const std::string text =
        "<r xmlns='u'>\r\n<a Id='i'>x]</a><b/><q:g xmlns:q='w'/>\n<p:c xmlns:p='v'><p:d/><p:h/>]&amp;"
        "<e/>]><f xmlns=''/>\r</p:c>\n</r>";
    std::vector<xml::TextRange> holes;
    for (std::uint32_t start = 0; start < text.size(); ++start) {
        for (std::uint32_t length = 1; length <= text.size() - start; ++length) {
            std::string rest = text;
            rest.erase(start, length);
            if (const auto out = canonicalWithout(text, {{start, length}}, {.form = "exc"})) {
                EXPECT_EQ(out, canonical(rest, {.form = "exc"})) << rest;
                holes.push_back({start, length});
            }
        }
    }
    int pairs = 0;
    for (const xml::TextRange first : holes) {
        for (const xml::TextRange second : holes) {
            if (second.start >= first.end()) {
                std::string rest = text;
                rest.erase(second.start, second.length);
                rest.erase(first.start, first.length);
                EXPECT_EQ(canonicalWithout(text, {first, second}, {.form = "exc"}),
                          canonical(rest, {.form = "exc"}))
                    << rest;
                ++pairs;
            }
        }
    }
    EXPECT_GT(pairs, 10);
}

TEST(XmlCanon, UsesAKnownStructureOnlyForItsOwnText) {
    const StringBuffer first{"<a><b Id='i'>1</b></a>"};
    const StringBuffer same = first;
    const StringBuffer second{"<a><b Id='i'>2</b></a>"};
    XmlCanon canon;
    RecordingLog log;
    EXPECT_EQ(run(canon, first, {.id = "i"}, log), "<b Id=\"i\">1</b>");
    const auto known = canon.m_document;
    ASSERT_NE(known, nullptr);
    EXPECT_EQ(run(canon, same, {.id = "i"}, log), "<b Id=\"i\">1</b>");
    EXPECT_EQ(run(canon, second, {.id = "i"}, log), "<b Id=\"i\">2</b>");
    EXPECT_EQ(canon.m_document, known);
}

// A structure that was read leniently does not make a strict call lenient.
TEST(XmlCanon, TakesUndeclaredPrefixesOnlyInCutOutText) {
    const StringBuffer text{"<r><p:a p:x='1' a='2'/></r>"};
    XmlCanon canon;
    RecordingLog log;
    EXPECT_FALSE(run(canon, text, {}, log));
    canon.m_fragmentText = true;
    EXPECT_EQ(run(canon, text, {}, log), "<r><p:a a=\"2\" p:x=\"1\"></p:a></r>");
    canon.m_fragmentText = false;
    EXPECT_FALSE(run(canon, text, {}, log));
    EXPECT_EQ(run(canon, text, {.offset = 3}, log), "<p:a a=\"2\" p:x=\"1\"></p:a>");
}

TEST(XmlCanon, StreamsInSmallPiecesAndStopsWhenRefused) {
    std::string text = "<r>";
    for (int i = 0; i < 20000; ++i) {
        text += i % 3 == 0 ? "<a  b='1'>text</a>" : "<a b=\"1\">some more text</a>";
    }
    text += std::string(200000, 'x') + "</r>";
    const StringBuffer whole{text};
    XmlCanon canon;
    RecordingLog log;
    CountingSink all(1 << 20);
    ASSERT_TRUE(canon.canonicalizeTo(whole, nullptr, 0, all, log));
    EXPECT_EQ(all.octets, canonical(text, {}).value_or("failed"));
    EXPECT_LE(all.largest, std::size_t{64} << 10);
    for (const int pieces : {0, 1, 5}) {
        CountingSink some(pieces);
        EXPECT_FALSE(canon.canonicalizeTo(whole, nullptr, 0, some, log));
        EXPECT_TRUE(all.octets.starts_with(some.octets));
    }
}

} // namespace
} // namespace vantrel::test
