// SPDX-License-Identifier: MIT
#ifndef TESTS_FOUNDATION_XML_NODES_XPATH_SUPPORT_H
#define TESTS_FOUNDATION_XML_NODES_XPATH_SUPPORT_H

#include "foundation/json/json_value.h"
#include "foundation/xml/xpath/evaluator.h"
#include "foundation/xml/xpath/numbers.h"
#include "tests/support/bytes.h"

#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace vantrel::test {

inline constexpr std::uint64_t kPlenty = std::uint64_t{1} << 32;

// A document with its nodes; null nodes when it does not parse.
struct IndexedDocument {
    explicit IndexedDocument(std::string_view text) {
        StringBuffer buffer;
        buffer.setView(text);
        xml::ParseFailure why;
        if (auto document = xml::XmlDocument::parse(buffer, {}, why)) {
            nodes = xml::NodeIndex::make(std::move(document), budget);
        } else {
            ADD_FAILURE() << why.message;
        }
    }
    xml::WorkBudget budget{kPlenty};
    std::unique_ptr<const xml::NodeIndex> nodes;
};

using Namespaces = std::map<std::string, std::string, std::less<>>;

inline std::optional<xml::XPathExpression> compileXPath(std::string_view source,
                                                        const Namespaces& namespaces,
                                                        std::string& why) {
    return xml::XPathExpression::compile(
        source,
        [&](std::string_view prefix) -> std::optional<std::string> {
            const auto found = namespaces.find(prefix);
            return found == namespaces.end() ? std::nullopt : std::optional(found->second);
        },
        why);
}

// Where a node stands, as "/2/1", "/2/@{uri}name", "/2/#prefix".
inline std::string pathOf(const xml::NodeIndex& nodes, xml::NodeId node) {
    std::string path;
    while (node != 0) {
        const xml::Node& record = nodes[node];
        std::string step = "/";
        if (record.kind == xml::NodeKind::Attribute) {
            step += "@";
            if (!nodes.namespaceUri(node).empty()) {
                step += "{" + std::string(nodes.namespaceUri(node)) + "}";
            }
            step += nodes.localName(node);
        } else if (record.kind == xml::NodeKind::Namespace) {
            step += "#" + std::string(nodes.localName(node));
        } else {
            int number = 1;
            for (xml::NodeId at = record.previous; at != xml::kNoNode; at = nodes[at].previous) {
                ++number;
            }
            step += std::to_string(number);
        }
        path.insert(0, step);
        node = record.parent;
    }
    return path.empty() ? "/" : path;
}

// A value as a text: "number 3", "string abc", "boolean true", "node-set /1 /1/2".
inline std::string shown(const xml::NodeIndex& nodes, const xml::XPathValue& value) {
    switch (value.type) {
    case xml::XPathType::Boolean: return value.boolean ? "boolean true" : "boolean false";
    case xml::XPathType::String: return "string " + value.string;
    case xml::XPathType::Number: {
        std::string text = std::signbit(value.number) && value.number == 0 ? "number -" : "number ";
        xml::appendXPathNumber(value.number, text);
        return text;
    }
    case xml::XPathType::NodeSet: break;
    }
    std::string text = "node-set";
    for (const xml::NodeId node : *value.nodes) {
        text += " " + pathOf(nodes, node);
    }
    return text;
}

inline json::JsonValue readJson(const std::string& path) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    EXPECT_TRUE(json::parseJson(readText(path), value, faultAt)) << path;
    return value;
}

inline std::string textOf(const json::JsonValue& entry, std::string_view name) {
    const json::JsonValue* const value = entry.find(name);
    return value == nullptr ? "" : std::string(value->text());
}

inline Namespaces namespacesOf(const json::JsonValue& entry) {
    Namespaces namespaces;
    if (const json::JsonValue* const given = entry.find("namespaces"); given != nullptr) {
        for (const json::JsonMember& member : given->members()) {
            namespaces[member.name] = member.value.text();
        }
    }
    return namespaces;
}

} // namespace vantrel::test

#endif
