// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_NODES_NODE_INDEX_H
#define FOUNDATION_XML_NODES_NODE_INDEX_H

#include "foundation/xml/nodes/node_bits.h"
#include "foundation/xml/nodes/work_budget.h"
#include "foundation/xml/scan/inheritance.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::xml {

// The kinds of nodes of the XPath 1.0 data model (section 5).
enum class NodeKind : std::uint8_t {
    Root,
    Element,
    Attribute,
    Namespace,
    Text,
    Comment,
    ProcessingInstruction
};

// One node. Numbers are in document order: an element, its namespace nodes by prefix, its
// attributes, its content. The subtree of a node is [node, next).
struct Node {
    NodeId parent;       // kNoNode for the root
    NodeId next;         // the first node behind the subtree; may be the number of nodes
    NodeId previous;     // the sibling before, of a node that is somebody's child; or kNoNode
    NodeId content;      // of root and elements: the first node behind namespaces and attributes
    std::uint32_t start; // of texts, comments, instructions: where they stand in the text;
                         // else the number of the element, attribute or declaration
    std::uint32_t end;
    std::uint32_t name; // the number of the expanded name; 0 for nodes without one
    NodeKind kind;
};

// An expanded name: a namespace by its number (0: none) and a local part.
struct ExpandedName {
    std::uint32_t space;
    std::string_view local;
};

// The nodes of a document as XPath sees them: adjacent character data and CDATA sections are one
// text node, attribute defaults are attributes, declarations are none, every element has a
// namespace node for each prefix in scope. A flat list made in one pass; texts stay in the
// document, which the index keeps alive.
class NodeIndex final {
public:
    // Null when there are more nodes than the budget allows: namespace nodes can be many.
    [[nodiscard]] static std::unique_ptr<const NodeIndex> make(
        std::shared_ptr<const XmlDocument> document, WorkBudget& budget);

    [[nodiscard]] const XmlDocument& document() const noexcept { return *m_document; }
    [[nodiscard]] std::uint32_t size() const noexcept {
        return static_cast<std::uint32_t>(m_nodes.size());
    }
    [[nodiscard]] const Node& operator[](NodeId node) const noexcept { return m_nodes[node]; }
    [[nodiscard]] NodeId ofElement(ElementId element) const noexcept { return m_elements[element]; }
    // The element of an element node.
    [[nodiscard]] ElementId element(NodeId node) const noexcept { return m_nodes[node].start; }
    [[nodiscard]] const TypedAttribute& attribute(NodeId node) const noexcept {
        return m_attributes[m_nodes[node].start];
    }
    // A child, that is: neither attribute nor namespace node nor root.
    [[nodiscard]] bool isChild(NodeId node) const noexcept {
        const NodeKind kind = m_nodes[node].kind;
        return kind != NodeKind::Attribute && kind != NodeKind::Namespace && kind != NodeKind::Root;
    }
    // The sibling behind a child; kNoNode without one.
    [[nodiscard]] NodeId nextSibling(NodeId node) const noexcept {
        const Node& record = m_nodes[node];
        return isChild(node) && record.next < m_nodes[record.parent].next ? record.next : kNoNode;
    }
    // The first attribute of an element; its attributes end at `content`.
    [[nodiscard]] NodeId firstAttribute(NodeId element) const noexcept;

    // Names. Numbers of namespaces and names are given out at first sight; kNoName for what the
    // document does not have.
    static constexpr std::uint32_t kNoName = 0xFFFFFFFF;
    [[nodiscard]] std::uint32_t findSpace(std::string_view name) const;
    [[nodiscard]] std::uint32_t findName(std::uint32_t space, std::string_view local) const;
    [[nodiscard]] const ExpandedName& name(NodeId node) const noexcept {
        return m_names[m_nodes[node].name];
    }
    [[nodiscard]] std::string_view localName(NodeId node) const noexcept {
        return name(node).local;
    }
    // Empty for namespace nodes and instructions, as for names without a namespace.
    [[nodiscard]] std::string_view namespaceUri(NodeId node) const noexcept {
        return m_spaces[name(node).space];
    }
    // As written in the document.
    [[nodiscard]] std::string_view qualifiedName(NodeId node) const noexcept;
    // The namespace that a namespace node stands for.
    [[nodiscard]] std::string_view namespaceValue(NodeId node) const noexcept;

    // Appends the string-value (XPath 1.0, section 5), of an element as much as is needed to be
    // longer than `enough` bytes. False when the budget is used up.
    [[nodiscard]] bool appendValue(NodeId node, std::string& out, std::size_t enough,
                                   WorkBudget& budget) const;

private:
    friend class NodeIndexBuilder;
    explicit NodeIndex(std::shared_ptr<const XmlDocument> document)
        : m_document(std::move(document)) {}
    void appendOwnText(NodeId node, std::string& out) const;

    std::shared_ptr<const XmlDocument> m_document;
    GrowArray<Node> m_nodes;
    std::vector<NodeId> m_elements; // by ElementId
    GrowArray<NodeId> m_texts;      // the text nodes, in document order
    std::vector<TypedAttribute> m_attributes;
    std::vector<ExpandedName> m_names;      // 0: none
    std::vector<std::string_view> m_spaces; // 0: none
    NameMap<std::uint32_t> m_spaceNumbers;
    std::vector<std::unordered_map<std::string_view, std::uint32_t, StringHash, std::equal_to<>>>
        m_nameNumbers; // by namespace
};

} // namespace vantrel::xml

#endif
