// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/xpath/evaluator.h"
#include "foundation/xml/xpath/numbers.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace vantrel::xml {

namespace {

// Bytes of the character at `at`. The texts are UTF-8 that was checked, or an expression's.
std::size_t characterLength(std::string_view text, std::size_t at) noexcept {
    std::size_t end = at + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) {
        ++end;
    }
    return end - at;
}

std::size_t countCharacters(std::string_view text) noexcept {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80;
    }));
}

std::string normalizeSpace(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (!isSpace(c)) {
            out += c;
        } else if (!out.empty() && out.back() != ' ') {
            out += ' ';
        }
    }
    if (!out.empty() && out.back() == ' ') {
        out.pop_back();
    }
    return out;
}

char lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// lang() (XPath 1.0, 4.3): equal, or a sublanguage.
bool isLanguage(std::string_view value, std::string_view wanted) noexcept {
    if (value.size() < wanted.size() || wanted.empty() ||
        (value.size() > wanted.size() && value[wanted.size()] != '-')) {
        return false;
    }
    return std::equal(wanted.begin(), wanted.end(), value.begin(),
                      [](char one, char other) { return lower(one) == lower(other); });
}

} // namespace

XPathValue XPathEvaluator::call(const XPathPart& part, const XPathContext& context) {
    switch (part.function) {
    case XPathFunction::Last: return XPathValue::of(static_cast<double>(context.size));
    case XPathFunction::Position: return XPathValue::of(static_cast<double>(context.position));
    case XPathFunction::Count: {
        const XPathValue set = value(operandOf(part, 0), context);
        return XPathValue::of(set.isNodeSet() ? static_cast<double>(set.nodes->size()) : 0.0);
    }
    case XPathFunction::Id: return XPathValue::of(byId(part, context));
    case XPathFunction::Here:
        return XPathValue::of(m_hooks.here == kNoNode ? NodeList() : NodeList{m_hooks.here});
    case XPathFunction::Boolean: return XPathValue::of(boolean(operandOf(part, 0), context));
    case XPathFunction::Not: return XPathValue::of(!boolean(operandOf(part, 0), context));
    case XPathFunction::True: return XPathValue::of(true);
    case XPathFunction::False: return XPathValue::of(false);
    case XPathFunction::Lang:
        return XPathValue::of(isInLanguage(context.node, string(operandOf(part, 0), context)));
    case XPathFunction::Number:
        return XPathValue::of(part.operands == 0 ? parseXPathNumber(m_values.stringOf(context.node))
                                                 : number(operandOf(part, 0), context));
    case XPathFunction::Sum: return XPathValue::of(sum(part, context));
    case XPathFunction::Floor:
        return XPathValue::of(std::floor(number(operandOf(part, 0), context)));
    case XPathFunction::Ceiling:
        return XPathValue::of(std::ceil(number(operandOf(part, 0), context)));
    case XPathFunction::Round:
        return XPathValue::of(roundXPath(number(operandOf(part, 0), context)));
    default: return callString(part, context);
    }
}

XPathValue XPathEvaluator::callString(const XPathPart& part, const XPathContext& context) {
    switch (part.function) {
    case XPathFunction::LocalName:
    case XPathFunction::NamespaceUri:
    case XPathFunction::Name: {
        const NodeId node = nodeArgument(part, context);
        if (node == kNoNode) {
            return XPathValue::of(std::string());
        }
        const std::string_view text =
            part.function == XPathFunction::LocalName ? m_index.localName(node)
            : part.function == XPathFunction::Name    ? m_index.qualifiedName(node)
                                                      : m_index.namespaceUri(node);
        return XPathValue::of(m_budget.take(text.size()) ? std::string(text) : std::string());
    }
    case XPathFunction::String: return XPathValue::of(stringArgument(part, context));
    case XPathFunction::StringLength:
        return XPathValue::of(static_cast<double>(countCharacters(stringArgument(part, context))));
    case XPathFunction::NormalizeSpace:
        return XPathValue::of(normalizeSpace(stringArgument(part, context)));
    case XPathFunction::Concat: return XPathValue::of(concatenate(part, context));
    case XPathFunction::Substring: return XPathValue::of(substring(part, context));
    case XPathFunction::Translate: return XPathValue::of(translate(part, context));
    default: break;
    }
    const std::string text = string(operandOf(part, 0), context);
    const std::string sought = string(operandOf(part, 1), context);
    const std::size_t found = text.find(sought);
    const bool there = found != std::string::npos;
    switch (part.function) {
    case XPathFunction::StartsWith: return XPathValue::of(text.starts_with(sought));
    case XPathFunction::Contains: return XPathValue::of(there);
    case XPathFunction::SubstringBefore:
        return XPathValue::of(there ? text.substr(0, found) : std::string());
    default: return XPathValue::of(there ? text.substr(found + sought.size()) : std::string());
    }
}

std::string XPathEvaluator::stringArgument(const XPathPart& part, const XPathContext& context) {
    return part.operands == 0 ? m_values.stringOf(context.node)
                              : string(operandOf(part, 0), context);
}

// The first node of the argument, or the context node; kNoNode for an empty set.
NodeId XPathEvaluator::nodeArgument(const XPathPart& part, const XPathContext& context) {
    if (part.operands == 0) {
        return context.node;
    }
    const XPathValue set = value(operandOf(part, 0), context);
    return set.isNodeSet() && !set.nodes->empty() ? set.nodes->front() : kNoNode;
}

std::string XPathEvaluator::concatenate(const XPathPart& part, const XPathContext& context) {
    std::string out;
    for (std::uint32_t i = 0; i < part.operands && !m_budget.passed(); ++i) {
        const std::string piece = string(operandOf(part, i), context);
        // Taken as well where the piece was free, such as a name that is asked for often.
        if (m_budget.take(piece.size())) {
            out += piece;
        }
    }
    return out;
}

// XPath 1.0, 4.2: the characters whose position is at least the rounded second argument and less
// than that plus the rounded third. Positions are numbers, so NaN and infinities need no care.
std::string XPathEvaluator::substring(const XPathPart& part, const XPathContext& context) {
    const std::string text = string(operandOf(part, 0), context);
    const double first = roundXPath(number(operandOf(part, 1), context));
    const bool bounded = part.operands == 3;
    const double end = bounded ? first + roundXPath(number(operandOf(part, 2), context)) : 0;
    std::string out;
    double position = 1;
    for (std::size_t at = 0; at < text.size(); ++position) {
        const std::size_t length = characterLength(text, at);
        if (position >= first && (!bounded || position < end)) {
            out.append(text, at, length);
        }
        at += length;
    }
    return out;
}

std::string XPathEvaluator::translate(const XPathPart& part, const XPathContext& context) {
    const std::string text = string(operandOf(part, 0), context);
    const std::string from = string(operandOf(part, 1), context);
    const std::string to = string(operandOf(part, 2), context);
    // Nothing takes the place of characters beyond the end of `to`; the first place of a character
    // counts.
    std::unordered_map<std::string_view, std::string_view> places;
    std::size_t target = 0;
    for (std::size_t at = 0; at < from.size();) {
        const std::size_t length = characterLength(from, at);
        const std::size_t targetLength = target < to.size() ? characterLength(to, target) : 0;
        places.try_emplace(std::string_view(from).substr(at, length),
                           std::string_view(to).substr(target, targetLength));
        at += length;
        target += targetLength;
    }
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        const std::string_view character = std::string_view(text).substr(at, length);
        const auto place = places.find(character);
        out += place == places.end() ? character : place->second;
        at += length;
    }
    return m_budget.take(out.size()) ? out : std::string();
}

NodeList XPathEvaluator::byId(const XPathPart& part, const XPathContext& context) {
    const XPathValue ids = value(operandOf(part, 0), context);
    NodeList found;
    if (!ids.isNodeSet()) {
        addIds(m_values.toString(ids), found);
    } else {
        for (const NodeId node : *ids.nodes) {
            addIds(m_values.stringOf(node), found);
            if (m_budget.passed()) {
                break;
            }
        }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

// A list of Ids between white space.
void XPathEvaluator::addIds(std::string_view ids, NodeList& to) {
    for (std::size_t at = 0; at < ids.size();) {
        std::size_t end = at;
        while (end < ids.size() && !isSpace(ids[end])) {
            ++end;
        }
        if (end > at) {
            const std::string_view id = ids.substr(at, end - at);
            ElementId element = kNoElement;
            if (m_hooks.id) {
                element = m_hooks.id(id);
            } else if (m_index.document().findById(id, element) != IdMatch::Unique) {
                element = kNoElement;
            }
            if (element != kNoElement && !add(m_index.ofElement(element), to)) {
                return;
            }
        }
        at = end + 1;
    }
}

bool XPathEvaluator::isInLanguage(NodeId node, std::string_view language) {
    const std::uint32_t name = m_index.findName(m_index.findSpace(kXmlNamespace), "lang");
    for (NodeId at = node; at != kNoNode && name != NodeIndex::kNoName; at = m_index[at].parent) {
        for (NodeId inside = at + 1; inside < m_index[at].content; ++inside) {
            if (!m_budget.take(1)) {
                return false;
            }
            if (m_index[inside].kind == NodeKind::Attribute && m_index[inside].name == name) {
                return isLanguage(m_values.stringOf(inside), language);
            }
        }
    }
    return false;
}

double XPathEvaluator::sum(const XPathPart& part, const XPathContext& context) {
    double result = 0;
    const XPathValue set = value(operandOf(part, 0), context);
    if (!set.isNodeSet()) {
        return result; // the budget is used up
    }
    for (const NodeId node : *set.nodes) {
        result += parseXPathNumber(m_values.stringOf(node));
    }
    return result;
}

} // namespace vantrel::xml
