// SPDX-License-Identifier: MIT
// XPath 1.0: own vectors, expressions and documents that are made to cost, and random expressions
// against libxml2.

#include "tests/foundation/xml/nodes/xpath_support.h"
#include "tests/support/corpus.h"
#include "tests/support/process.h"
#include "tests/support/vectors.h"

#include <random>

namespace vantrel::test {
namespace {

const Namespaces kPrefixes = {{"u", "u"}, {"v", "v"}};

std::string evaluated(const xml::NodeIndex& nodes, std::string_view source,
                      std::uint64_t steps = kPlenty) {
    std::string why;
    const auto expression = compileXPath(source, kPrefixes, why);
    if (!expression) {
        return "error " + why;
    }
    xml::WorkBudget budget(steps);
    const xml::XPathHooks hooks;
    const auto value = xml::XPathEvaluator(*expression, nodes, hooks, budget).evaluate({});
    return value ? shown(nodes, *value) : "budget";
}

// Steps that an expression takes over all nodes at once.
std::uint64_t stepsToFilter(const xml::NodeIndex& nodes, std::string_view source) {
    std::string why;
    const auto expression = compileXPath(source, kPrefixes, why);
    EXPECT_TRUE(expression) << why;
    xml::WorkBudget budget(kPlenty);
    const xml::XPathHooks hooks{.here = nodes.size() - 1};
    xml::NodeBits set(nodes.size(), true);
    EXPECT_TRUE(xml::XPathEvaluator(*expression, nodes, hooks, budget).filter(set)) << source;
    return budget.taken();
}

constexpr std::string_view kDocument =
    "<!DOCTYPE r [<!ATTLIST i k CDATA 'v' id ID #IMPLIED>]><r xmlns='u' xmlns:p='v' a='1' p:b='2'>"
    "<i id='x'>1<![CDATA[]]><![CDATA[&]]>2</i><!--c--><?t d?><i k='w' xml:lang='en-GB'>3"
    "<p:j xmlns=''>4</p:j></i></r>";

TEST(XPath, Values) {
    const IndexedDocument document(kDocument);
    forEachVector("xml/nodes/xpath.vec", "values", [&](VecCase& c) {
        EXPECT_EQ(evaluated(*document.nodes, c.text("Expr")), c.text("Value")) << c.where();
    });
}

TEST(XPath, WhatIsNoExpressionIsRefusedWhole) {
    const IndexedDocument document(kDocument);
    forEachVector("xml/nodes/xpath.vec", "errors", [&](VecCase& c) {
        EXPECT_TRUE(evaluated(*document.nodes, c.text("Expr")).starts_with("error ")) << c.where();
    });
}

std::string repeated(std::string_view piece, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

TEST(XPath, NestingAndLengthHaveLimits) {
    const IndexedDocument document(kDocument);
    const auto nested = [](std::size_t depth) {
        return repeated("(", depth) + "1" + repeated(")", depth);
    };
    const std::size_t most = xml::kMaxXPathNesting - 1;
    EXPECT_EQ(evaluated(*document.nodes, nested(most)), "number 1");
    const std::string deep = "error The XPath expression is nested too deeply.";
    EXPECT_EQ(evaluated(*document.nodes, nested(most + 1)), deep);
    EXPECT_EQ(evaluated(*document.nodes, repeated("*[", 300'000)), deep);
    EXPECT_EQ(evaluated(*document.nodes, repeated("not(", 250'000)), deep);
    // Length alone nests nothing.
    const std::size_t count = xml::kMaxXPathSize / 2 - 1;
    EXPECT_EQ(evaluated(*document.nodes, repeated("1+", count) + "1"),
              "number " + std::to_string(count + 1));
    EXPECT_EQ(evaluated(*document.nodes, repeated("-", count) + "1"), "number -1");
    EXPECT_EQ(evaluated(*document.nodes, "count(" + repeated("*|", count / 2) + "*)"), "number 1");
    EXPECT_EQ(evaluated(*document.nodes, "boolean(" + repeated("*/", count / 2) + "*)"),
              "boolean false");
    EXPECT_EQ(evaluated(*document.nodes, repeated(" ", xml::kMaxXPathSize) + "1"),
              "error The XPath expression is too long.");
}

// Two shapes of some size: very wide and very deep.
std::string wide(std::size_t count) {
    return "<a>" + repeated("<b k='1'><c/>x</b>", count) + "</a>";
}
std::string deep(std::size_t count) {
    return "<a>" + repeated("<b k='1'>", count) + "x" + repeated("</b>", count) + "</a>";
}

TEST(XPath, WorkGrowsWithTheDocument) {
    constexpr std::string_view kLinear[] = {
        "//*//b//c",
        "//b/following::b/preceding::c/ancestor::*",
        "//b/following-sibling::b/preceding-sibling::b",
        "//c[ancestor::b]/../../descendant-or-self::node()",
        "//*[. = 'y']",
        "//b != //c",
        "count(//b[1])",
        "//b[@k = 1][c]",
    };
    constexpr std::string_view kLinearFilters[] = {
        "not(ancestor-or-self::b[@k])",
        "count(ancestor-or-self::b | here()/ancestor::b[1]) > count(ancestor-or-self::b)",
        "count(. | //b) = count(//b)",
        "ancestor::a and (descendant::c or following::b[preceding-sibling::b])",
        "self::text() or parent::b/ancestor::b",
    };
    for (const auto& shape : {wide, deep}) {
        const IndexedDocument small(shape(2'000));
        const IndexedDocument large(shape(8'000));
        for (const std::string_view source : kLinearFilters) {
            EXPECT_LE(stepsToFilter(*large.nodes, source),
                      5 * stepsToFilter(*small.nodes, source) + 1000)
                << source;
        }
        for (const std::string_view source : kLinear) {
            const std::uint64_t steps = 40ULL * large.nodes->size();
            EXPECT_NE(evaluated(*large.nodes, source, steps), "budget") << source;
        }
    }
}

TEST(XPath, WorkThatGrowsFasterEnds) {
    const IndexedDocument document(wide(50'000));
    constexpr std::uint64_t kSteps = 5'000'000;
    const std::string texts = "concat(/," + repeated("/,", 2000) + "/)";
    const std::string costly[] = {"//*[count(following::*) = 5]",
                                  "//b[following::b[following::b[3]]]/c[count(//b) = position()]",
                                  "//b[count(preceding-sibling::*) > 1 and string(/) = .]",
                                  texts,
                                  "//b[string-length(concat(/, /, /, /)) = 1]",
                                  "//*[//*[. = current]]/.."};
    for (const std::string& source : costly) {
        const std::string result = evaluated(*document.nodes, source, kSteps);
        EXPECT_TRUE(result == "budget" || result.size() < 40) << source.substr(0, 60);
    }
    EXPECT_EQ(evaluated(*document.nodes, costly[0], kSteps), "budget");
    EXPECT_EQ(evaluated(*document.nodes, texts, kSteps), "budget");
    // Namespaces that every element has in scope are nodes of every element.
    std::string many = "<a";
    for (int i = 0; i < 5'000; ++i) {
        many += " xmlns:p" + std::to_string(i) + "='u'";
    }
    StringBuffer text(many + ">" + repeated("<b/>", 50'000) + "</a>");
    xml::ParseFailure why;
    xml::WorkBudget budget(kSteps);
    EXPECT_EQ(xml::NodeIndex::make(xml::XmlDocument::parse(text, {}, why), budget), nullptr);
}

// Random expressions, as grammar rules with a depth.
class RandomXPath {
public:
    explicit RandomXPath(unsigned seed) : m_random(seed) {}

    std::string set(int depth) {
        std::string path =
            pick({"/", "//", "", ".//", "/*/", "//*[namespace-uri() = 'v']/"}) + step(depth);
        for (int more = below(3); more > 0; --more) {
            path += pick({"/", "/", "//"}) + step(depth);
        }
        return below(5) == 0 && depth > 0 ? "(" + path + " | " + set(depth - 1) + ")" : path;
    }

private:
    int below(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }
    std::string pick(std::initializer_list<const char*> choices) {
        return *(choices.begin() + below(static_cast<int>(choices.size())));
    }
    std::string step(int depth) {
        std::string text =
            pick({"", "", "", "descendant::", "ancestor::", "parent::", "following::",
                  "preceding::", "following-sibling::", "preceding-sibling::", "ancestor-or-self::",
                  "descendant-or-self::", "self::"}) +
            pick({"*", "*", "a", "b", "*[name() = 'p:c']", "node()", "text()", "comment()"});
        for (int more = depth > 0 ? below(2) : 0; more > 0; --more) {
            text += "[" + predicate(depth - 1) + "]";
        }
        return text;
    }
    std::string predicate(int depth) {
        switch (below(8)) {
        case 0: return std::to_string(1 + below(3));
        case 1: return "last()";
        case 2: return "position() " + pick({"<", ">=", "!="}) + " 2";
        case 3: return "not(" + set(depth) + ")";
        case 4: return set(depth) + pick({" = ", " != ", " < ", " >= "}) + pick({"'1'", "2", "."});
        case 5: return "count(" + set(depth) + ") mod 2 = 1";
        case 6: return "@k" + pick({"", " = 1", " != '2'"}) + pick({" or ", " and "}) + set(depth);
        default: return "string-length() > " + std::to_string(below(6));
        }
    }
    std::mt19937 m_random;
};

TEST(XPath, RandomExpressionsAsLibxml2EvaluatesThem) {
    VANTREL_NEED_PROGRAM(xmllint, "xmllint");
    // xmllint knows no prefixes, so the expressions have none.
    const std::string text = "<p:r xmlns:p='v'><a k='1'>1<b k='2'>2</b><!--c--><b>3<a/></b></a>"
                             "<p:c k='1'><a>1</a>4<p:c/><?t 1?><b k='3'><a k='2'>12</a></b></p:c>"
                             "<b>56</b></p:r>";
    const IndexedDocument document(text);
    const TempDir folder;
    const std::string file = folder.write("document.xml", text);
    RandomXPath random(20260);
    for (int i = 0; i < 150; ++i) {
        const std::string source = random.set(2);
        const auto asked = [](const std::string& set) {
            return "concat(count(" + set + "), '|', string(" + set + "), '|', count((" + set +
                   ")/ancestor::*), '|', name((" + set + ")[last()]))";
        };
        const ProcessResult run = runProgram({xmllint, "--xpath", asked(source), file});
        ASSERT_EQ(run.exitCode, 0) << source << run.errors;
        std::string expected = run.output;
        if (expected.ends_with('\n')) {
            expected.pop_back();
        }
        EXPECT_EQ(evaluated(*document.nodes, asked(source)), "string " + expected) << source;
    }
}

} // namespace
} // namespace vantrel::test
