// SPDX-License-Identifier: MIT
#include "foundation/xml/tree/ClsXml.h"

#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"
#include "tests/support/live_objects.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

Ref<ClsXml> load(std::string_view text, bool fragment = false) {
    auto handle = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    RecordingLog log;
    EXPECT_TRUE(handle->loadXml(StringBuffer(text), fragment, log)) << log.errors << text;
    return handle;
}

std::string tagOf(ClsXml* element) {
    const auto owner = Ref<ClsXml>::adopt(element);
    return owner ? owner->pathFromRoot() : "none";
}

TEST(ClsXml, GivesNormalisedValues) {
    const LiveObjectCheck check;
    forEachVector("xml/tree/values.vec", "", [](VecCase& c) {
        const std::string text = c.escaped("Text");
        const auto root = load(text);
        StringBuffer out("before");
        root->getContentSb(out);
        EXPECT_EQ(out.view(), c.escaped("Content")) << c.where();
        if (c.has("Attribute")) {
            EXPECT_TRUE(root->getAttrValue("v", out)) << c.where();
            EXPECT_EQ(out.view(), c.escaped("Attribute")) << c.where();
        }
        if (c.has("Elements")) {
            EXPECT_EQ(root->document()->elementCount(), c.integer("Elements")) << c.where();
        }
        // What is serialised means the same.
        LogNull log;
        ASSERT_TRUE(root->getXml(false, out, log));
        const auto again = load(out.view());
        StringBuffer content;
        again->getContentSb(content);
        EXPECT_EQ(content.view(), c.escaped("Content")) << c.where() << out.view();
        EXPECT_EQ(again->attributes(), root->attributes()) << c.where() << out.view();
    });
}

// Paths are followed from the root; what they lead to is named by its place.
TEST(ClsXml, FollowsPaths) {
    const LiveObjectCheck check;
    forEachVector("xml/tree/paths.vec", "paths", [](VecCase& c) {
        const auto root = load(c.escaped("Text"));
        root->put_I(static_cast<int>(c.integerOr("I", 0)));
        EXPECT_EQ(tagOf(root->findChild(c.text("Path").c_str())), c.text("Leads")) << c.where();
    });
    forEachVector("xml/tree/paths.vec", "searches", [](VecCase& c) {
        const auto root = load(c.escaped("Text"));
        std::string found;
        auto after = Ref<ClsXml>();
        for (;;) {
            ClsXml* const next = c.has("Name")
                                     ? root->searchForAttribute(after.get(), c.text("Tag").c_str(),
                                                                c.text("Name").c_str(), false,
                                                                c.text("Value").c_str())
                                     : root->searchForTag(after.get(), c.text("Tag").c_str());
            after = Ref<ClsXml>::adopt(next);
            if (!after) {
                break;
            }
            found += (found.empty() ? "" : " ") + after->pathFromRoot();
        }
        EXPECT_EQ(found, c.text("Found")) << c.where();
    });
    forEachVector("xml/tree/paths.vec", "wildcards", [](VecCase& c) {
        EXPECT_EQ(xml::matchesWildcards(c.text("Text"), c.text("Pattern"), c.boolean("IgnoreCase")),
                  c.boolean("Matches"))
            << c.where();
    });
}

// Every text over two letters against every pattern, by the definition: a star is any stretch.
TEST(ClsXml, StarsStandForAnyStretch) {
    std::vector<std::string> texts = {""};
    std::vector<std::string> patterns = {""};
    const auto grow = [](std::vector<std::string>& words, std::string_view letters) {
        for (std::size_t i = 0; i < words.size() && words[i].size() < 5; ++i) {
            for (const char letter : letters) {
                words.push_back(words[i] + letter);
            }
        }
    };
    grow(texts, "ab");
    grow(patterns, "ab*");
    for (const std::string& pattern : patterns) {
        for (const std::string& text : texts) {
            // Which beginnings of the text the pattern so far matches.
            std::vector<bool> matched(text.size() + 1);
            matched[0] = true;
            for (const char c : pattern) {
                std::vector<bool> next(matched.size());
                for (std::size_t i = 0; i < next.size(); ++i) {
                    next[i] = c == '*' ? matched[i] || (i > 0 && next[i - 1])
                                       : i > 0 && matched[i - 1] && text[i - 1] == c;
                }
                matched = next;
            }
            ASSERT_EQ(xml::matchesWildcards(text, pattern, false), matched.back())
                << text << " " << pattern;
        }
    }
}

// The short ways to names and contents, beside the ways that look at everything.
TEST(ClsXml, ReadsNamesAndContentsAlikeByBothWays) {
    std::mt19937 random(5);
    const auto pick = [&](auto... words) {
        const std::string_view all[] = {words...};
        return std::string(all[random() % sizeof...(words)]);
    };
    std::size_t plain = 0;
    for (int round = 0; round < 2000; ++round) {
        const std::string name = pick("a", "p:a", "ab", "a:a", "p:ab", "b", "pa");
        std::string inside;
        while (random() % 3 != 0) {
            inside += pick("t", "&amp;", "<x>u</x>", "\r\n", "<!--c-->", "<![CDATA[<d>]]>", "<?i?>",
                           "&#65;", "\t > ", "words");
        }
        const std::string element = inside.empty() && random() % 2 != 0
                                        ? "<" + name + " />"
                                        : "<" + name + " z='/>'>" + inside + "</" + name + ">";
        const auto root = load("<r xmlns:p='1' xmlns:a='2'>" + element + "</r>");
        const xml::XmlDocument& document = *root->document();
        for (const std::string_view pattern : {"*:a", "a", "p:a", "*:p:a", "*:", "", "*:ab"}) {
            const xml::NamePattern asked(pattern);
            EXPECT_EQ(asked.matchesAt(document.text(), document.element(1).start + 1),
                      asked.matches(name))
                << pattern << " " << name;
        }
        std::string whole;
        xml::appendElementContent(document, 1, whole);
        std::string_view view;
        if (xml::plainElementContent(document, 1, view)) {
            ++plain;
            EXPECT_EQ(view, whole) << element;
        }
    }
    EXPECT_GT(plain, 200U);
}

TEST(ClsXml, CountsAndVisitsChildren) {
    const LiveObjectCheck check;
    LogNull log;
    const auto root = load("<r><a/><p:a xmlns:p='u'><a/></p:a>text<b/><a x='1'/></r>");
    EXPECT_EQ(root->get_NumChildren(), 4);
    EXPECT_EQ(root->numChildrenHavingTagUtf8("a", log), 2);
    EXPECT_EQ(root->numChildrenHavingTagUtf8("*:a", log), 3);
    EXPECT_EQ(root->childrenWithTag("*:a"), (std::vector<xml::ElementId>{1, 2, 5}));
    EXPECT_EQ(tagOf(root->getNthChildWithTagUtf8("*:a", 2, log)), "/r/a[2]");
    EXPECT_EQ(tagOf(root->getNthChildWithTagUtf8("*:a", 3, log)), "none");
    EXPECT_EQ(tagOf(root->getNthChildWithTagUtf8("*:a", -1, log)), "none");
    const char* const children[] = {"/r/a[1]", "/r/p:a", "/r/b", "/r/a[2]", "none"};
    for (const int index : {0, 1, 2, 3, 4, 2, 0, 3}) {
        EXPECT_EQ(tagOf(root->getChild(index)), children[index]);
    }
    EXPECT_EQ(tagOf(root->getChild(-1)), "none");
    StringBuffer value("kept");
    EXPECT_FALSE(root->getChildAttrValue("a", "x", value));
    EXPECT_FALSE(root->getChildContentUtf8("b|c", value, false));
    EXPECT_EQ(value.view(), "kept");
    EXPECT_TRUE(root->getChild2(1));
    EXPECT_FALSE(root->getChild2(1));
    EXPECT_EQ(root->getTag(), "p:a");
    EXPECT_EQ(root->localName(), "a");
    EXPECT_EQ(root->namespaceUri(), "u");
    root->getTagNamespace(value);
    EXPECT_EQ(value.view(), "p");
}

TEST(ClsXml, FindsSignaturesFromAnyHandle) {
    const LiveObjectCheck check;
    LogNull log;
    const auto root =
        load("<r><a><Signature/></a><cac:Signature xmlns:cac='u'/><Signature Id='s'/></r>");
    const auto child = Ref<ClsXml>::adopt(root->getChild(0));
    ExtPtrArrayRc signatures;
    EXPECT_TRUE(child->findSignatures(signatures, log));
    ASSERT_EQ(signatures.getSize(), 2);
    EXPECT_EQ(static_cast<ClsXml*>(signatures.elementAt(0))->pathFromRoot(), "/r/a/Signature");
    EXPECT_EQ(static_cast<ClsXml*>(signatures.elementAt(1))->pathFromRoot(), "/r/Signature");
}

TEST(ClsXml, LogsOneLineForAFaultAndStaysAsItWas) {
    const LiveObjectCheck check;
    const auto handle = load("<kept/>");
    RecordingLog log;
    EXPECT_FALSE(handle->loadXml(StringBuffer("<a>\n<b></c></a>"), false, log));
    EXPECT_EQ(log.errors, "The XML is not well-formed at line 2, column 4: The end tag does not "
                          "match the start tag of b.\n");
    EXPECT_EQ(handle->getTag(), "kept");
    log.errors.clear();
    EXPECT_FALSE(handle->loadXml(StringBuffer("<p:a/>"), false, log));
    EXPECT_TRUE(handle->loadXml(StringBuffer("<p:a/>"), true, log));
}

TEST(ClsXml, AnEmptyHandleHasNothing) {
    const LiveObjectCheck check;
    LogNull log;
    const auto empty = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    StringBuffer out;
    ExtPtrArrayRc signatures;
    XString name("a");
    EXPECT_EQ(empty->getChild(0), nullptr);
    EXPECT_EQ(empty->findChild("a"), nullptr);
    EXPECT_EQ(empty->searchForTag(nullptr, "*:a"), nullptr);
    EXPECT_EQ(empty->searchForAttribute(nullptr, "a", "b", false, "*"), nullptr);
    EXPECT_EQ(empty->get_NumChildren() + empty->numChildrenHavingTagUtf8("a", log), 0);
    EXPECT_FALSE(empty->getXml(false, out, log) || empty->getAttrValue("a", out) ||
                 empty->HasAttribute(name) || empty->getChild2(0));
    EXPECT_TRUE(empty->findSignatures(signatures, log));
    empty->getContentSb(out);
    EXPECT_TRUE(out.isEmpty());
}

TEST(ClsXml, HandlesOutliveTheOneThatLoaded) {
    const LiveObjectCheck check;
    auto root = load("<r><a>text</a></r>");
    const auto child = Ref<ClsXml>::adopt(root->getChild(0));
    root.reset();
    StringBuffer out;
    child->getContentSb(out);
    EXPECT_EQ(out.view(), "text");
    std::uint32_t start = 0;
    std::uint32_t end = 0;
    EXPECT_TRUE(child->sourceRange(start, end));
    EXPECT_EQ(start, 3U);
    EXPECT_EQ(end, 14U);
}

} // namespace
} // namespace vantrel::test
