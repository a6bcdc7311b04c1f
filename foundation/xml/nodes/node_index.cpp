// SPDX-License-Identifier: MIT
#include "foundation/xml/nodes/node_index.h"

#include "foundation/xml/scan/content_reader.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>

namespace vantrel::xml {

NodeId NodeIndex::firstAttribute(NodeId element) const noexcept {
    NodeId at = element + 1;
    const NodeId end = m_nodes[element].content;
    while (at < end && m_nodes[at].kind == NodeKind::Namespace) {
        ++at;
    }
    return at;
}

std::uint32_t NodeIndex::findSpace(std::string_view name) const {
    const auto found = m_spaceNumbers.find(name);
    return found == m_spaceNumbers.end() ? kNoName : found->second;
}

std::uint32_t NodeIndex::findName(std::uint32_t space, std::string_view local) const {
    if (space >= m_nameNumbers.size()) {
        return kNoName;
    }
    const auto found = m_nameNumbers[space].find(local);
    return found == m_nameNumbers[space].end() ? kNoName : found->second;
}

std::string_view NodeIndex::qualifiedName(NodeId node) const noexcept {
    switch (m_nodes[node].kind) {
    case NodeKind::Element: return m_document->qualifiedName(element(node));
    case NodeKind::Attribute: return attribute(node).source.name;
    default: return localName(node);
    }
}

// The namespace node of the prefix xml has no declaration.
std::string_view NodeIndex::namespaceValue(NodeId node) const noexcept {
    const std::uint32_t declaration = m_nodes[node].start;
    return declaration == kNoName
               ? kXmlNamespace
               : m_document->namespaceName(m_document->namespaceDecls()[declaration]);
}

void NodeIndex::appendOwnText(NodeId node, std::string& out) const {
    const Node& record = m_nodes[node];
    ContentReader reader(m_document->text(), record.start, record.end);
    ContentPiece piece;
    for (ContentKind kind = reader.next(piece); kind != ContentKind::End;
         kind = reader.next(piece)) {
        switch (kind) {
        case ContentKind::Text: appendText(piece.body, out); break;
        case ContentKind::Cdata: appendCdata(piece.body, out); break;
        case ContentKind::Comment: appendLines(piece.body, out); break;
        case ContentKind::ProcessingInstruction: {
            // The data begin behind the white space that follows the target.
            std::size_t at = localName(node).size();
            while (at < piece.body.size() && isSpace(piece.body[at])) {
                ++at;
            }
            appendLines(piece.body.substr(at), out);
            break;
        }
        default: break;
        }
    }
}

bool NodeIndex::appendValue(NodeId node, std::string& out, std::size_t enough,
                            WorkBudget& budget) const {
    const Node& record = m_nodes[node];
    switch (record.kind) {
    case NodeKind::Namespace:
        out += namespaceValue(node);
        return budget.take(1 + namespaceValue(node).size());
    case NodeKind::Attribute: {
        const TypedAttribute& attribute = this->attribute(node);
        if (!budget.take(1 + attribute.source.raw.size())) {
            return false;
        }
        if (attribute.isNormalised) {
            out += attribute.source.raw;
        } else {
            appendAttributeValue(attribute.source.raw, attribute.type, out);
        }
        return true;
    }
    case NodeKind::Text:
    case NodeKind::Comment:
    case NodeKind::ProcessingInstruction:
        if (!budget.take(1 + record.end - record.start)) {
            return false;
        }
        appendOwnText(node, out);
        return true;
    case NodeKind::Root:
    case NodeKind::Element: break;
    }
    const std::size_t before = out.size();
    // The texts below stand together in the list of all; what lies between them costs nothing.
    for (const NodeId* text = std::lower_bound(m_texts.begin(), m_texts.end(), record.content);
         text != m_texts.end() && *text < record.next && out.size() - before <= enough; ++text) {
        if (!budget.take(1 + m_nodes[*text].end - m_nodes[*text].start)) {
            return false;
        }
        appendOwnText(*text, out);
    }
    return true;
}

} // namespace vantrel::xml
