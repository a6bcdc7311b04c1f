// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/node_set_canon.h"

#include "foundation/xml/canon/canon_output.h"
#include "foundation/xml/canon/escape.h"
#include "foundation/xml/canon/join_uri.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>
#include <limits>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vantrel::xml {

namespace {

constexpr std::string_view kXmlPrefixText = "xml";
constexpr std::size_t kWhole = std::numeric_limits<std::size_t>::max();

// Character data whose references are resolved (Canonical XML 1.0, 2.3).
void putText(std::string_view text, CanonOutput& out) {
    std::size_t done = 0;
    for (std::size_t at = text.find_first_of("&<>\r"); at != text.npos;
         at = text.find_first_of("&<>\r", done)) {
        out.put(text.substr(done, at - done));
        switch (text[at]) {
        case '&': out.put("&amp;"); break;
        case '<': out.put("&lt;"); break;
        case '>': out.put("&gt;"); break;
        default: out.put("&#xD;"); break;
        }
        done = at + 1;
    }
    out.put(text.substr(done));
}

// An attribute that an element writes: its own, an inherited one or one with a new value.
struct WrittenAttribute {
    std::string_view space;
    std::string_view local;
    std::string_view name;
    std::string value;
};

struct WrittenNamespace {
    std::string_view prefix;
    std::string_view value;
};

// One walk over the nodes of a set. An open element is on a stack with the nearest element of the
// set that holds it, since that decides which declarations are there already.
class NodeSetWriter final {
public:
    NodeSetWriter(const NodeIndex& index, const NodeBits& set, const NodeSetRequest& request,
                  WorkBudget& budget, CanonSink& sink)
        : m_index(index), m_set(set), m_request(request), m_budget(budget),
          m_out(index.document().text(), sink) {
        for (const std::string_view prefix : request.prefixes) {
            m_listed.insert(prefix == "#default" ? std::string_view() : prefix);
        }
    }

    bool run() {
        const NodeId root = m_index.ofElement(0);
        for (NodeId at = 1; at < m_index.size() && !m_out.refused();) {
            while (!m_open.empty() && at >= m_index[m_open.back().node].next) {
                closeElement();
            }
            const Node& node = m_index[at];
            // Nothing of the subtree is in the set.
            if (nextMember(at) >= node.next) {
                at = node.next;
                continue;
            }
            if (!m_budget.take(1)) {
                return false;
            }
            if (node.kind == NodeKind::Element) {
                openElement(at);
                at = node.content;
                continue;
            }
            if (m_set.contains(at)) {
                putLeaf(at, node.parent == 0, at < root);
            }
            ++at;
        }
        while (!m_open.empty()) {
            closeElement();
        }
        return m_out.finish() && !m_budget.passed();
    }

private:
    struct OpenElement {
        NodeId node;
        NodeId output; // the nearest element of the set, itself included; kNoNode without one
        std::size_t undo;
    };
    struct Undo {
        std::string_view prefix;
        std::string_view value;
    };

    // Asked for ascending nodes: each part of the set is looked through once.
    [[nodiscard]] NodeId nextMember(NodeId at) {
        if (m_member < at) {
            m_member = m_set.next(at);
        }
        return m_member;
    }

    [[nodiscard]] std::string valueOf(NodeId node) {
        std::string value;
        static_cast<void>(m_index.appendValue(node, value, kWhole, m_budget));
        return value;
    }

    // Comments and instructions outside the root element stand on lines of their own.
    void putLeaf(NodeId node, bool outside, bool beforeRoot) {
        const NodeKind kind = m_index[node].kind;
        if (kind == NodeKind::Comment && !m_request.withComments) {
            return;
        }
        if (outside && !beforeRoot) {
            m_out.put('\n');
        }
        const std::string value = valueOf(node);
        switch (kind) {
        case NodeKind::Text: putText(value, m_out); break;
        case NodeKind::Comment:
            m_out.put("<!--");
            m_out.put(value);
            m_out.put("-->");
            break;
        default:
            m_out.put("<?");
            m_out.put(m_index.localName(node));
            if (!value.empty()) {
                m_out.put(' ');
                m_out.put(value);
            }
            m_out.put("?>");
            break;
        }
        if (outside && beforeRoot) {
            m_out.put('\n');
        }
    }

    void openElement(NodeId element) {
        const bool inSet = m_set.contains(element);
        const NodeId above = m_open.empty() ? kNoNode : m_open.back().output;
        m_open.push_back({element, inSet ? element : above, m_undo.size()});
        if (inSet) {
            m_out.put('<');
            m_out.put(m_index.qualifiedName(element));
        }
        m_namespaces.clear();
        if (m_request.method == NodeSetMethod::Exclusive) {
            if (!m_listed.empty()) {
                collectChanged(element, above, inSet);
            }
            if (inSet) {
                collectUsed(element);
            }
        } else {
            collectChanged(element, above, inSet);
        }
        putNamespaces();
        putAttributes(element, inSet);
        if (inSet) {
            m_out.put('>');
        }
    }

    void closeElement() {
        const OpenElement closed = m_open.back();
        m_open.pop_back();
        if (closed.output == closed.node) {
            m_out.put("</");
            m_out.put(m_index.qualifiedName(closed.node));
            m_out.put('>');
        }
        for (; m_undo.size() > closed.undo; m_undo.pop_back()) {
            m_rendered[m_undo.back().prefix] = m_undo.back().value;
        }
    }

    [[nodiscard]] bool isNamespace(NodeId node) const {
        return node < m_index.size() && m_index[node].kind == NodeKind::Namespace;
    }

    // Canonical XML 1.0, 2.3: namespace nodes of the set that the nearest element of the set above
    // has not, with the same prefix and value, in the set as well. Of the exclusive method this
    // concerns the listed prefixes.
    void collectChanged(NodeId element, NodeId above, bool inSet) {
        bool hasDefault = false;
        bool aboveHasDefault = false;
        NodeId other = above == kNoNode ? m_index.size() : above + 1;
        for (NodeId own = element + 1; isNamespace(own); ++own) {
            const std::string_view prefix = m_index.localName(own);
            // Both lists are in the order of prefixes.
            while (isNamespace(other) && m_index.localName(other) < prefix) {
                noteDefault(other, aboveHasDefault);
                ++other;
            }
            const bool inBoth = isNamespace(other) && m_index.localName(other) == prefix;
            if (inBoth) {
                noteDefault(other, aboveHasDefault);
            }
            if (!m_set.contains(own) || !isListed(prefix) || prefix == kXmlPrefixText) {
                continue;
            }
            hasDefault = hasDefault || prefix.empty();
            const bool there = inBoth && m_set.contains(other) && haveSameValue(own, other);
            if (!there) {
                m_namespaces.push_back({prefix, m_index.namespaceValue(own)});
            }
        }
        if (inSet && !hasDefault && aboveHasDefault && isListed({})) {
            m_namespaces.push_back({{}, {}});
        }
    }

    // Mostly the same declaration, which need not be compared.
    [[nodiscard]] bool haveSameValue(NodeId one, NodeId other) {
        if (m_index[one].start == m_index[other].start) {
            return true;
        }
        const std::string_view value = m_index.namespaceValue(one);
        return m_budget.take(value.size()) && value == m_index.namespaceValue(other);
    }

    void noteDefault(NodeId node, bool& found) const {
        found = found || (m_index.localName(node).empty() && m_set.contains(node));
    }

    [[nodiscard]] bool isListed(std::string_view prefix) const {
        return m_request.method != NodeSetMethod::Exclusive || m_listed.contains(prefix);
    }

    // Exclusive XML Canonicalization 1.0, 3: the prefixes that the element visibly uses.
    void collectUsed(NodeId element) {
        m_used.clear();
        const std::string_view name = m_index.qualifiedName(element);
        const std::size_t colon = name.find(':');
        m_used.push_back(colon == name.npos ? std::string_view() : name.substr(0, colon));
        for (NodeId at = m_index.firstAttribute(element); at < m_index[element].content; ++at) {
            const std::string_view prefix = m_index.attribute(at).source.prefix();
            if (m_set.contains(at) && !prefix.empty()) {
                m_used.push_back(prefix);
            }
        }
        std::sort(m_used.begin(), m_used.end());
        m_used.erase(std::unique(m_used.begin(), m_used.end()), m_used.end());
        NodeId node = element + 1;
        for (const std::string_view prefix : m_used) {
            while (isNamespace(node) && m_index.localName(node) < prefix) {
                ++node;
            }
            const bool there =
                isNamespace(node) && m_index.localName(node) == prefix && m_set.contains(node);
            if (prefix != kXmlPrefixText && !m_listed.contains(prefix)) {
                render(prefix, there ? m_index.namespaceValue(node) : std::string_view());
            }
        }
    }

    // An empty value is a prefix without a namespace node; only of the default namespace that is
    // written.
    void render(std::string_view prefix, std::string_view value) {
        std::string_view& rendered = m_rendered[prefix];
        if (rendered == value) {
            return;
        }
        m_undo.push_back({prefix, rendered});
        rendered = value;
        if (!value.empty() || prefix.empty()) {
            m_namespaces.push_back({prefix, value});
        }
    }

    void putNamespaces() {
        std::sort(m_namespaces.begin(), m_namespaces.end(),
                  [](const WrittenNamespace& one, const WrittenNamespace& other) {
                      return one.prefix < other.prefix;
                  });
        for (const WrittenNamespace& binding : m_namespaces) {
            m_out.put(binding.prefix.empty() ? " xmlns" : " xmlns:");
            m_out.put(binding.prefix);
            m_out.put("=\"");
            putAttributeValue(binding.value, m_out);
            m_out.put('"');
        }
    }

    void putAttributes(NodeId element, bool inSet) {
        m_attributes.clear();
        for (NodeId at = m_index.firstAttribute(element); at < m_index[element].content; ++at) {
            if (m_set.contains(at) || (inSet && isAlwaysWritten(at))) {
                m_attributes.push_back({m_index.namespaceUri(at), m_index.localName(at),
                                        m_index.qualifiedName(at), valueOf(at)});
            }
        }
        const NodeId parent = m_index[element].parent;
        const bool orphan = inSet && parent != 0 && !m_set.contains(parent);
        if (orphan && m_request.method != NodeSetMethod::Exclusive) {
            inherit(element, parent);
        }
        std::sort(m_attributes.begin(), m_attributes.end(),
                  [](const WrittenAttribute& one, const WrittenAttribute& other) {
                      return one.space != other.space ? one.space < other.space
                                                      : one.local < other.local;
                  });
        for (const WrittenAttribute& attribute : m_attributes) {
            m_out.put(' ');
            m_out.put(attribute.name);
            m_out.put("=\"");
            putAttributeValue(attribute.value, m_out);
            m_out.put('"');
        }
    }

    // The test cases of Canonical XML 1.1 have an element's own base, language and space handling
    // written though the attribute is not in the set.
    [[nodiscard]] bool isAlwaysWritten(NodeId attribute) const {
        if (m_request.method != NodeSetMethod::Inclusive11 ||
            m_index.namespaceUri(attribute) != kXmlNamespace) {
            return false;
        }
        const std::string_view local = m_index.localName(attribute);
        return local == "base" || local == "lang" || local == "space";
    }

    // Canonical XML, 2.4: what comes down to an element whose parent is left out. The nearest
    // attributes of the prefix xml, but for those that the element has itself, in the set or not.
    void inherit(NodeId element, NodeId parent) {
        const bool version11 = m_request.method == NodeSetMethod::Inclusive11;
        if (version11) {
            fixBase(element);
        }
        const XmlDocument& document = m_index.document();
        if (document.elementsWithXmlAttributes().empty()) {
            return;
        }
        const InheritedXmlAttributes& inherited = document.inheritedXmlAttributes();
        m_ranks.clear();
        inherited.namesAt(m_index.element(parent), m_ranks);
        for (const std::uint32_t rank : m_ranks) {
            const TypedAttribute& attribute = inherited.nearest(rank, m_index.element(parent));
            const std::string_view local = attribute.source.localName();
            // Canonical XML 1.1 knows two that are not simply inherited.
            const bool special = version11 && (local == "id" || local == "base");
            const std::uint64_t cost =
                1 + attribute.source.raw.size() + m_index[element].content - element;
            if (!special && m_budget.take(cost) && ownXmlAttribute(element, local) == kNoNode) {
                m_attributes.push_back(
                    {kXmlNamespace, local, attribute.source.name, valueOf(attribute)});
            }
        }
    }

    static std::string valueOf(const TypedAttribute& attribute) {
        std::string value;
        if (attribute.isNormalised) {
            value = attribute.source.raw;
        } else {
            appendAttributeValue(attribute.source.raw, attribute.type, value);
        }
        return value;
    }

    // The element's own attribute of the prefix xml; kNoNode without one.
    [[nodiscard]] NodeId ownXmlAttribute(NodeId element, std::string_view local) const {
        for (NodeId at = m_index.firstAttribute(element); at < m_index[element].content; ++at) {
            if (m_index.localName(at) == local && m_index.namespaceUri(at) == kXmlNamespace) {
                return at;
            }
        }
        return kNoNode;
    }

    // Canonical XML 1.1, 2.4: the bases of the elements left out right above come together with the
    // element's own.
    void fixBase(NodeId element) {
        const NodeId own = ownXmlAttribute(element, "base");
        std::string base = own == kNoNode ? std::string() : valueOf(own);
        bool any = own != kNoNode;
        bool fixed = false;
        for (NodeId at = m_index[element].parent; at != 0 && !m_set.contains(at);
             at = m_index[at].parent) {
            const NodeId outer = ownXmlAttribute(at, "base");
            if (!m_budget.take(1 + m_index[at].content - at + base.size())) {
                return;
            }
            if (outer == kNoNode) {
                continue;
            }
            base = any ? joinUriReferences(valueOf(outer), base) : valueOf(outer);
            any = true;
            fixed = true;
        }
        if (!fixed) {
            return;
        }
        std::erase_if(m_attributes, [](const WrittenAttribute& attribute) {
            return attribute.local == "base" && attribute.space == kXmlNamespace;
        });
        if (!base.empty()) {
            m_attributes.push_back({kXmlNamespace, "base", "xml:base", std::move(base)});
        }
    }

    const NodeIndex& m_index;
    const NodeBits& m_set;
    const NodeSetRequest& m_request;
    WorkBudget& m_budget;
    CanonOutput m_out;
    NodeId m_member = 0;
    std::unordered_set<std::string_view> m_listed; // the empty prefix is the default namespace
    std::vector<OpenElement> m_open;
    // Exclusive: what the nearest element of the set that uses a prefix has for it.
    std::unordered_map<std::string_view, std::string_view> m_rendered;
    std::vector<Undo> m_undo;
    // Of the tag at hand.
    std::vector<WrittenNamespace> m_namespaces;
    std::vector<WrittenAttribute> m_attributes;
    std::vector<std::string_view> m_used;
    std::vector<std::uint32_t> m_ranks;
};

} // namespace

bool canonicalizeNodes(const NodeIndex& index, const NodeBits& set, const NodeSetRequest& request,
                       WorkBudget& budget, CanonSink& sink) {
    return sink.expect(index.document().text().size(), false) &&
           NodeSetWriter(index, set, request, budget, sink).run();
}

} // namespace vantrel::xml
