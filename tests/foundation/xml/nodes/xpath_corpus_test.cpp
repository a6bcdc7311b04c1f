// SPDX-License-Identifier: MIT
#include "tests/foundation/xml/nodes/xpath_support.h"
#include "tests/support/corpus.h"

namespace vantrel::test {
namespace {

std::string expectedOf(const json::JsonValue& entry) {
    const std::string type = textOf(entry, "type");
    if (type == "boolean") {
        const bool value = entry.find("value")->kind() == json::JsonValue::Kind::True;
        return value ? "boolean true" : "boolean false";
    }
    if (type != "node-set") {
        return type + " " + textOf(entry, "value");
    }
    std::string text = type;
    for (const json::JsonValue& node : entry.find("nodes")->elements()) {
        text += " " + textOf(node, "path");
    }
    return text;
}

class XPathCase {
public:
    XPathCase(const xml::NodeIndex& nodes, const Namespaces& namespaces)
        : m_nodes(nodes), m_namespaces(namespaces) {}

    std::string evaluate(const std::string& source, xml::NodeId context,
                         xml::NodeId* first = nullptr) {
        std::string why;
        const auto expression = compileXPath(source, m_namespaces, why);
        if (!expression) {
            return "error ";
        }
        xml::WorkBudget budget(kPlenty);
        const xml::XPathHooks hooks;
        xml::XPathEvaluator evaluator(*expression, m_nodes, hooks, budget);
        const auto value = evaluator.evaluate({context});
        if (!value) {
            return "budget";
        }
        if (first != nullptr && value->isNodeSet() && !value->nodes->empty()) {
            *first = value->nodes->front();
        }
        return shown(m_nodes, *value);
    }

private:
    const xml::NodeIndex& m_nodes;
    const Namespaces& m_namespaces;
};

TEST(XPathCorpus, EveryExpression) {
    VANTREL_NEED_CORPUS(folder, "w3c/xpath");
    int count = 0;
    const json::JsonValue manifest = readJson(folder + "/manifest.json");
    for (const json::JsonValue& file : manifest.find("files")->elements()) {
        const json::JsonValue suite = readJson(folder + "/" + textOf(file, "file"));
        const IndexedDocument document(readText(folder + "/" + textOf(suite, "document")));
        ASSERT_NE(document.nodes, nullptr);
        const Namespaces namespaces = namespacesOf(suite);
        XPathCase cases(*document.nodes, namespaces);
        for (const json::JsonValue& entry : suite.find("cases")->elements()) {
            xml::NodeId context = 0;
            if (const std::string source = textOf(entry, "context"); !source.empty()) {
                cases.evaluate(source, 0, &context);
            }
            const std::string source = textOf(entry, "expr");
            EXPECT_EQ(cases.evaluate(source, context), expectedOf(entry))
                << textOf(file, "file") << ": " << source << " at " << textOf(entry, "context");
            ++count;
        }
    }
    EXPECT_GE(count, 1398);
}

} // namespace
} // namespace vantrel::test
