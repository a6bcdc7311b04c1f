// SPDX-License-Identifier: MIT
#include "foundation/xml/nodes/node_index.h"
#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/start_tag.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
// Steps that a node counts for: it takes memory as long as the work lasts.
constexpr std::uint32_t kNodeCost = 8;

} // namespace

// Goes once over the text of a document and puts its nodes in a row.
class NodeIndexBuilder final {
public:
    NodeIndexBuilder(NodeIndex& index, WorkBudget& budget)
        : m_index(index), m_document(*index.m_document), m_budget(budget) {}

    [[nodiscard]] bool build() {
        m_index.m_names.push_back({0, {}});
        m_index.m_nameNumbers.emplace_back();
        m_index.m_spaces.emplace_back();
        m_index.m_spaceNumbers.emplace(std::string(), 0U);
        m_declaredSpaces.assign(m_document.namespaceDecls().size(), NodeIndex::kNoName);
        m_xmlSpace = spaceNumber(kXmlNamespace);
        m_index.m_elements.reserve(m_document.elementCount());
        m_index.m_nodes.reserve(std::size_t{m_document.elementCount()} * 3 + 16);
        return m_budget.take(1) && readAll();
    }

private:
    [[nodiscard]] bool readAll() {
        add(NodeKind::Root, kNoNode, 0, 0);
        m_index.m_nodes[0].content = 1;
        const std::string_view text = m_document.text();
        const TextRange declaration = m_document.xmlDeclRange();
        std::uint32_t begin = declaration.end();
        if (declaration.empty()) {
            begin = text.starts_with(kByteOrderMark)
                        ? static_cast<std::uint32_t>(kByteOrderMark.size())
                        : 0;
        }
        ContentReader reader(text, begin, static_cast<std::uint32_t>(text.size()));
        ContentPiece piece;
        for (ContentKind kind = reader.next(piece); kind != ContentKind::End;
             kind = reader.next(piece)) {
            if (!take(kind, piece, reader)) {
                return false;
            }
        }
        closeText(begin);
        m_index.m_nodes[0].next = m_index.size();
        m_index.m_nodes.shrink();
        return true;
    }

    // False when the budget is used up.
    [[nodiscard]] bool take(ContentKind kind, const ContentPiece& piece, ContentReader& reader) {
        switch (kind) {
        case ContentKind::Text:
        case ContentKind::Cdata:
            // White space around the root element is no node.
            if (m_open != 0) {
                noteText(piece);
            }
            return true;
        case ContentKind::Doctype: reader.skipTo(m_document.doctypeRange().end()); return true;
        case ContentKind::EndTag:
            closeText(piece.start);
            close();
            return true;
        case ContentKind::Comment:
        case ContentKind::ProcessingInstruction: {
            closeText(piece.start);
            const bool comment = kind == ContentKind::Comment;
            const NodeId node =
                addChild(comment ? NodeKind::Comment : NodeKind::ProcessingInstruction, piece.start,
                         piece.end);
            if (!comment) {
                m_index.m_nodes[node].name = nameNumber(0, targetOf(piece.body));
            }
            return m_budget.take(1);
        }
        case ContentKind::StartTag: closeText(piece.start); return openElement(piece.start, reader);
        case ContentKind::End: break;
        }
        return true;
    }

    static std::string_view targetOf(std::string_view body) {
        std::size_t end = 0;
        while (end < body.size() && !isSpace(body[end])) {
            ++end;
        }
        return body.substr(0, end);
    }

    void noteText(const ContentPiece& piece) {
        if (!m_inText) {
            m_inText = true;
            m_textStart = piece.start;
            m_textIsEmpty = true;
        }
        m_textIsEmpty = m_textIsEmpty && piece.body.empty();
    }

    // A run of empty CDATA sections is no text node.
    void closeText(std::uint32_t end) {
        if (m_inText && !m_textIsEmpty) {
            m_index.m_texts.push_back(addChild(NodeKind::Text, m_textStart, end));
        }
        m_inText = false;
    }

    NodeId add(NodeKind kind, NodeId parent, std::uint32_t start, std::uint32_t end) {
        const NodeId node = m_index.size();
        m_index.m_nodes.push_back({parent, node + 1, kNoNode, node + 1, start, end, 0, kind});
        return node;
    }

    NodeId addChild(NodeKind kind, std::uint32_t start, std::uint32_t end) {
        const NodeId node = add(kind, m_open, start, end);
        m_index.m_nodes[node].previous = m_lastChild;
        m_lastChild = node;
        return node;
    }

    void close() {
        Node& element = m_index.m_nodes[m_open];
        element.next = m_index.size();
        m_lastChild = m_open;
        m_open = element.parent;
    }

    [[nodiscard]] bool openElement(std::uint32_t start, ContentReader& reader) {
        const auto element = static_cast<ElementId>(m_index.m_elements.size());
        const NodeId node = addChild(NodeKind::Element, element, 0);
        m_index.m_elements.push_back(node);
        addNamespaces(node, element);
        StartTagReader tag(m_document.text(), start);
        const std::string_view name = tag.name();
        m_index.m_nodes[node].name = nameNumber(spaceOf(tag.prefix()), tag.localName());
        addAttributes(node, tag);
        if (m_document.hasAttributeDefaults()) {
            addDefaults(node, name);
        }
        m_index.m_nodes[node].content = m_index.size();
        m_index.m_nodes[node].next = m_index.size();
        m_open = node;
        m_lastChild = kNoNode;
        if (tag.selfClosing()) {
            close();
        }
        reader.skipTo(tag.end());
        return m_budget.take(std::uint64_t{kNodeCost} * (m_index.size() - node));
    }

    void addAttributes(NodeId node, StartTagReader& tag) {
        const bool typed = m_document.hasAttributeTypes();
        for (Attribute attribute; tag.next(attribute);) {
            if (attribute.isNamespaceDecl()) {
                continue;
            }
            const AttributeType type =
                typed ? m_document.documentType()->attributeType(tag.name(), attribute.name)
                      : AttributeType::Cdata;
            addAttribute(node, {attribute, type, false});
        }
    }

    void addAttribute(NodeId node, const TypedAttribute& attribute) {
        const NodeId added = add(NodeKind::Attribute, node,
                                 static_cast<std::uint32_t>(m_index.m_attributes.size()), 0);
        m_index.m_attributes.push_back(attribute);
        const std::string_view prefix = attribute.source.prefix();
        m_index.m_nodes[added].name =
            nameNumber(prefix.empty() ? 0 : spaceOf(prefix), attribute.source.localName());
    }

    // Attributes that the document type adds (XML 1.0, 3.3.2); declarations among them are
    // namespaces of the document already.
    void addDefaults(NodeId node, std::string_view element) {
        std::vector<std::string_view> present;
        for (NodeId at = m_index.size(); at-- > node + 1;) {
            if (m_index.m_nodes[at].kind != NodeKind::Attribute) {
                break;
            }
            present.push_back(m_index.attribute(at).source.name);
        }
        std::sort(present.begin(), present.end());
        for (const DeclaredAttribute& declared :
             m_document.documentType()->declaredAttributes(element)) {
            TypedAttribute added;
            added.source.name = declared.name;
            added.source.raw = declared.value;
            added.type = declared.type;
            added.isNormalised = true;
            const std::size_t colon = declared.name.find(':');
            added.source.prefixLength =
                colon == std::string::npos ? 0 : static_cast<std::uint32_t>(colon);
            if (declared.hasDefault && !added.source.isNamespaceDecl() &&
                !std::binary_search(present.begin(), present.end(), added.source.name)) {
                addAttribute(node, added);
            }
        }
    }

    // The namespace nodes of the parent, as changed by the element's own declarations. They stand
    // in the order of their prefixes, the default namespace first.
    void addNamespaces(NodeId node, ElementId element) {
        m_scope.clear();
        if (m_open == 0) {
            m_scope.push_back({"xml", NodeIndex::kNoName});
        } else {
            for (NodeId at = m_open + 1;
                 at < m_index.size() && m_index.m_nodes[at].kind == NodeKind::Namespace; ++at) {
                m_scope.push_back({m_index.localName(at), m_index.m_nodes[at].start});
            }
        }
        const auto declarations = m_document.namespaceDecls();
        bool changed = false;
        for (; m_nextDeclaration < declarations.size() &&
               declarations[m_nextDeclaration].element == element;
             ++m_nextDeclaration) {
            declare(m_document.prefixText(declarations[m_nextDeclaration].prefixId),
                    m_nextDeclaration);
            changed = true;
        }
        if (changed) {
            mergeDeclared();
        }
        for (const Bound& bound : m_scope) {
            const NodeId added = add(NodeKind::Namespace, node, bound.declaration, 0);
            m_index.m_nodes[added].name = nameNumber(0, bound.prefix);
        }
    }

    // The prefix xml needs no declaration, and its namespace node is the same with one.
    void declare(std::string_view prefix, std::uint32_t declaration) {
        if (prefix != "xml") {
            m_declared.push_back({prefix, declaration});
        }
    }

    void mergeDeclared() {
        const auto byPrefix = [](const Bound& one, const Bound& other) {
            return one.prefix < other.prefix;
        };
        std::sort(m_declared.begin(), m_declared.end(), byPrefix);
        m_merged.clear();
        // Equal ones are taken from the first range, the element's own.
        std::set_union(m_declared.begin(), m_declared.end(), m_scope.begin(), m_scope.end(),
                       std::back_inserter(m_merged), byPrefix);
        // xmlns="" takes the default namespace away, and so has no node.
        std::erase_if(m_merged, [this](const Bound& bound) {
            return bound.declaration != NodeIndex::kNoName &&
                   m_document.namespaceName(m_document.namespaceDecls()[bound.declaration]).empty();
        });
        m_scope.swap(m_merged);
        m_declared.clear();
    }

    // The namespace that a prefix stands for at the element that is being opened. 0 for a
    // prefix that is not declared, which only a fragment can have.
    std::uint32_t spaceOf(std::string_view prefix) {
        const auto found = std::lower_bound(
            m_scope.begin(), m_scope.end(), prefix,
            [](const Bound& bound, std::string_view wanted) { return bound.prefix < wanted; });
        if (found == m_scope.end() || found->prefix != prefix) {
            return 0;
        }
        if (found->declaration == NodeIndex::kNoName) {
            return m_xmlSpace;
        }
        std::uint32_t& number = m_declaredSpaces[found->declaration];
        if (number == NodeIndex::kNoName) {
            number = spaceNumber(
                m_document.namespaceName(m_document.namespaceDecls()[found->declaration]));
        }
        return number;
    }

    std::uint32_t spaceNumber(std::string_view name) {
        const auto [known, added] = m_index.m_spaceNumbers.try_emplace(
            std::string(name), static_cast<std::uint32_t>(m_index.m_spaces.size()));
        if (added) {
            m_index.m_spaces.push_back(known->first);
            m_index.m_nameNumbers.emplace_back();
        }
        return known->second;
    }

    std::uint32_t nameNumber(std::uint32_t space, std::string_view local) {
        const auto [known, added] = m_index.m_nameNumbers[space].try_emplace(
            local, static_cast<std::uint32_t>(m_index.m_names.size()));
        if (added) {
            m_index.m_names.push_back({space, local});
        }
        return known->second;
    }

    struct Bound {
        std::string_view prefix;
        std::uint32_t declaration; // kNoName: that of the prefix xml
    };

    NodeIndex& m_index;
    const XmlDocument& m_document;
    WorkBudget& m_budget;
    std::vector<Bound> m_scope; // of the element that is being opened, by prefix
    std::vector<Bound> m_declared;
    std::vector<Bound> m_merged;
    std::vector<std::uint32_t> m_declaredSpaces; // by declaration
    std::uint32_t m_nextDeclaration = 0;
    std::uint32_t m_xmlSpace = 0;
    NodeId m_open = 0;            // the innermost open element, or the root
    NodeId m_lastChild = kNoNode; // of it
    bool m_inText = false;
    bool m_textIsEmpty = true;
    std::uint32_t m_textStart = 0;
};

std::unique_ptr<const NodeIndex> NodeIndex::make(std::shared_ptr<const XmlDocument> document,
                                                 WorkBudget& budget) {
    std::unique_ptr<NodeIndex> index(new NodeIndex(std::move(document)));
    if (!NodeIndexBuilder(*index, budget).build()) {
        return nullptr;
    }
    return index;
}

} // namespace vantrel::xml
