// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/xml/canon/join_uri.h"
#include "foundation/xml/canon/node_set_canon.h"
#include "tests/foundation/xml/nodes/xpath_support.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"

#include <vector>

namespace vantrel::test {
namespace {

using json::JsonValue;

std::string canonicalNodes(const xml::NodeIndex& nodes, const xml::NodeBits& set,
                           const xml::NodeSetRequest& request) {
    StringBuffer out;
    xml::StringBufferSink sink(out, 1U << 24);
    xml::WorkBudget budget(kPlenty);
    EXPECT_TRUE(xml::canonicalizeNodes(nodes, set, request, budget, sink));
    return std::string(out.view());
}

// The nodes for which a boolean expression holds, asked for all at once and one by one: both ways
// must agree.
xml::NodeBits filtered(const xml::NodeIndex& nodes, const std::string& source,
                       const Namespaces& namespaces) {
    xml::NodeBits set(nodes.size(), true);
    std::string why;
    const auto expression = compileXPath(source, namespaces, why);
    EXPECT_TRUE(expression) << source << ": " << why;
    if (!expression) {
        return set;
    }
    xml::WorkBudget budget(kPlenty);
    const xml::XPathHooks hooks;
    xml::XPathEvaluator evaluator(*expression, nodes, hooks, budget);
    EXPECT_TRUE(evaluator.filter(set)) << source;
    for (xml::NodeId node = 0; node < nodes.size(); ++node) {
        const auto value = evaluator.evaluate({node});
        EXPECT_EQ(value && xml::XPathValues::toBoolean(*value), set.contains(node))
            << source << " at " << pathOf(nodes, node);
    }
    return set;
}

xml::NodeBits selected(const xml::NodeIndex& nodes, const std::string& source,
                       const Namespaces& namespaces) {
    xml::NodeBits set(nodes.size());
    std::string why;
    const auto expression = compileXPath(source, namespaces, why);
    EXPECT_TRUE(expression) << source << ": " << why;
    if (expression) {
        xml::WorkBudget budget(kPlenty);
        const xml::XPathHooks hooks;
        const auto value = xml::XPathEvaluator(*expression, nodes, hooks, budget).evaluate({});
        EXPECT_TRUE(value && value->isNodeSet()) << source;
        for (const xml::NodeId node : *value->nodes) {
            set.add(node);
        }
    }
    return set;
}

void checkCanonicalForms(const std::string& folder, int least) {
    int count = 0;
    const JsonValue manifest = readJson(folder + "/manifest.json");
    for (const JsonValue& entry : manifest.find("entries")->elements()) {
        const IndexedDocument document(readText(folder + "/" + textOf(entry, "input")));
        const std::string expected = readText(folder + "/" + textOf(entry, "expected"));
        ASSERT_NE(document.nodes, nullptr);
        const std::string method = textOf(entry, "method");
        xml::NodeSetRequest request;
        request.method = method == "exclusive" ? xml::NodeSetMethod::Exclusive
                         : method == "c14n11"  ? xml::NodeSetMethod::Inclusive11
                                               : xml::NodeSetMethod::Inclusive;
        request.withComments = entry.find("with_comments")->kind() == JsonValue::Kind::True;
        std::vector<std::string_view> prefixes;
        for (const JsonValue& prefix : entry.find("prefixes")->elements()) {
            prefixes.push_back(prefix.text());
        }
        request.prefixes = prefixes;
        const Namespaces namespaces = namespacesOf(entry);
        xml::NodeBits set(document.nodes->size(), true);
        if (const std::string xpath = textOf(entry, "xpath"); !xpath.empty()) {
            set = selected(*document.nodes, xpath, namespaces);
            EXPECT_EQ(canonicalNodes(*document.nodes, set, request), expected)
                << textOf(entry, "expected") << " of " << xpath;
        }
        if (const std::string filter = textOf(entry, "filter"); !filter.empty()) {
            set = filtered(*document.nodes, filter, namespaces);
        }
        EXPECT_EQ(canonicalNodes(*document.nodes, set, request), expected)
            << textOf(entry, "expected") << " filtered";
        ++count;
    }
    EXPECT_GE(count, least);
}

TEST(NodeSetCorpus, CanonicalXml10AndExclusive) {
    VANTREL_NEED_CORPUS(folder, "w3c/c14n-nodeset");
    checkCanonicalForms(folder, 183);
}

TEST(NodeSetCorpus, CanonicalXml11) {
    VANTREL_NEED_CORPUS(folder, "w3c/c14n11");
    checkCanonicalForms(folder, 84);
}

TEST(NodeSetCorpus, XPathTransforms) {
    VANTREL_NEED_CORPUS(folder, "w3c/xpath");
    int count = 0;
    const JsonValue manifest = readJson(folder + "/manifest.json");
    for (const JsonValue& file : manifest.find("files")->elements()) {
        const JsonValue suite = readJson(folder + "/" + textOf(file, "file"));
        const IndexedDocument document(readText(folder + "/" + textOf(suite, "document")));
        ASSERT_NE(document.nodes, nullptr);
        for (const JsonValue& entry : suite.find("cases")->elements()) {
            const std::string source = textOf(entry, "transform");
            if (source.empty()) {
                continue;
            }
            const xml::NodeBits set = filtered(*document.nodes, source, namespacesOf(suite));
            const std::string octets = canonicalNodes(*document.nodes, set, {.withComments = true});
            DataBuffer digest;
            _vlHash::doHash(octets.data(), static_cast<std::uint32_t>(octets.size()), kHashSha256,
                            digest);
            StringBuffer hex;
            digest.encodeDB("hex_lower", hex);
            EXPECT_EQ(hex.view(), textOf(entry, "sha256")) << source;
            ++count;
        }
    }
    EXPECT_GE(count, 963);
}

} // namespace
} // namespace vantrel::test
