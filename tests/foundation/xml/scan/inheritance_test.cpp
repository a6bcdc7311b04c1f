// SPDX-License-Identifier: MIT
// What elements inherit, by the document's tables and by a walk over their ancestors.

#include "foundation/xml/scan/inheritance.h"

#include "tests/support/bytes.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::shared_ptr<const xml::XmlDocument> parsed(const std::string& text) {
    xml::ParseFailure why;
    auto document = xml::XmlDocument::parse(StringBuffer{text}, {}, why);
    EXPECT_NE(document, nullptr) << why.message << text;
    return document;
}

// A random tree of elements that declare few prefixes over and over.
std::string randomTree(RandomBytes& random, std::size_t most) {
    std::string text = "<r>";
    std::size_t open = 1;
    for (std::size_t left = random.below(most); left > 0; --left) {
        if (open > 1 && random.below(3) == 0) {
            text += "</e>";
            --open;
            continue;
        }
        text += "<e";
        for (const char* const name :
             {"xmlns", "xmlns:a", "xmlns:b", "xmlns:xml", "xml:a", "xml:b"}) {
            if (random.below(6) == 0) {
                text += std::string(" ") + name + "='" +
                        (std::string_view(name) == "xmlns:xml" ? std::string(xml::kXmlNamespace)
                                                               : "urn:" + std::to_string(left)) +
                        "'";
            }
        }
        text += ">";
        ++open;
    }
    for (; open > 1; --open) {
        text += "</e>";
    }
    return text + "</r>";
}

TEST(Inheritance, TablesSayWhatAWalkOverTheAncestorsSays) {
    RandomBytes random(7);
    std::size_t inherited = 0;
    for (int i = 0; i < 300; ++i) {
        const auto document = parsed(randomTree(random, 120));
        const auto& namespaces = document->inheritedNamespaces();
        const auto& attributes = document->inheritedXmlAttributes();
        for (xml::ElementId element = 0; element < document->elementCount(); ++element) {
            std::map<std::string_view, std::string_view> bound;
            std::map<std::string_view, std::string_view> set;
            for (xml::ElementId at = element; at != xml::kNoElement; at = document->parent(at)) {
                xml::StartTagReader tag(document->text(), document->element(at).start);
                for (xml::Attribute attribute; tag.next(attribute);) {
                    if (attribute.isNamespaceDecl()) {
                        bound.emplace(attribute.declaredPrefix(), attribute.raw);
                    } else {
                        set.emplace(attribute.name, attribute.raw);
                    }
                }
            }
            std::vector<std::uint32_t> ranks;
            namespaces.prefixesAt(element, ranks);
            std::map<std::string_view, std::string_view> found;
            for (const std::uint32_t rank : ranks) {
                found.emplace(namespaces.prefix(rank),
                              document->namespaceName(*namespaces.nearest(rank, element)));
            }
            ASSERT_EQ(found, bound) << document->text();
            ASSERT_TRUE(std::is_sorted(ranks.begin(), ranks.end()));
            inherited += found.size();
            found.clear();
            attributes.namesAt(element, ranks);
            for (const std::uint32_t rank : ranks) {
                const xml::Attribute& source = attributes.nearest(rank, element).source;
                found.emplace(source.name, source.raw);
            }
            ASSERT_EQ(found, set) << document->text();
        }
    }
    EXPECT_GT(inherited, 10000U);
}

TEST(Inheritance, NamespacesAreFoundFarAbove) {
    std::string open = "<a:r xmlns:a='urn:far' xmlns='urn:none'><e xmlns=''>";
    std::string close = "</e></a:r>";
    for (int depth = 0; depth < 500; ++depth) {
        open += depth == 300 ? "<e xmlns:b='urn:b'>" : "<e>";
        close.insert(0, "</e>");
    }
    const auto document = parsed(open + "<b:last/>" + close);
    const xml::ElementId last = document->elementCount() - 1;
    std::string_view name;
    for (const auto& [prefix, expected] : {std::pair{"a", "urn:far"},
                                           {"b", "urn:b"},
                                           {"", ""},
                                           {"xml", xml::kXmlNamespace.data()}}) {
        EXPECT_TRUE(document->lookUpNamespace(last, prefix, name)) << prefix;
        EXPECT_EQ(name, expected) << prefix;
    }
    EXPECT_FALSE(document->lookUpNamespace(last, "c", name));
    EXPECT_FALSE(document->lookUpNamespace(200, "b", name));
}

// A table for `depth` elements that hide each other's declarations costs what they are, and a
// question about the lowest lists one name.
TEST(Inheritance, HiddenDeclarationsCostNothingBelow) {
    std::size_t before = 0;
    for (const int depth : {1000, 2000, 4000, 8000}) {
        std::string text;
        std::string close;
        for (int i = 0; i < depth; ++i) {
            text += "<e xmlns:p='urn:" + std::to_string(i) + "'>";
            close += "</e>";
        }
        const auto document = parsed(text + close);
        std::vector<xml::HandedDown> items;
        for (const xml::NamespaceDecl& declaration : document->namespaceDecls()) {
            items.push_back({declaration.element, 0});
        }
        const xml::InheritanceTable table(document->elements(), items, 1);
        EXPECT_EQ(table.groupCount(), 1U);
        EXPECT_LE(table.stepCount(), 2 * items.size());
        EXPECT_LE(table.stepCount(), before == 0 ? table.stepCount() : 2 * before);
        before = table.stepCount();
        std::vector<std::uint32_t> names;
        table.namesAt(document->elementCount() - 1, names);
        EXPECT_EQ(names.size(), 1U);
        EXPECT_EQ(table.nearest(0, document->elementCount() - 1), items.size() - 1);
    }
}

} // namespace
} // namespace vantrel::test
