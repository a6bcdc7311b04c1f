// SPDX-License-Identifier: MIT
#include "dsig/transform/xpointer.h"

#include "foundation/text/strings.h"
#include "foundation/xml/xpath/evaluator.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace vantrel::dsig {

namespace {

struct PointerPart {
    std::string_view scheme;
    std::string data; // without escapes
};

// Takes one part off the front: Scheme "(" data ")", where parentheses inside the data are balanced
// or stand behind "^", which also stands for itself behind another. False where there is none.
bool nextPart(std::string_view& rest, PointerPart& part) {
    rest = text::trimmed(rest);
    const std::size_t open = rest.find('(');
    if (open == std::string_view::npos || open == 0) {
        return false;
    }
    part.scheme = rest.substr(0, open);
    part.data.clear();
    std::size_t depth = 1;
    for (std::size_t i = open + 1; i < rest.size(); ++i) {
        char c = rest[i];
        if (c == '^') {
            if (++i == rest.size()) {
                return false;
            }
            c = rest[i];
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && --depth == 0) {
            rest.remove_prefix(i + 1);
            return true;
        }
        part.data += c;
    }
    return false;
}

using PointerNamespaces = std::map<std::string, std::string, std::less<>>;

// XPointer xmlns() Scheme, 3: a prefix and a name, which counts for the parts behind it.
bool declare(std::string_view data, PointerNamespaces& namespaces) {
    const std::size_t sign = data.find('=');
    if (sign == std::string_view::npos) {
        return false;
    }
    const std::string_view prefix = text::trimmed(data.substr(0, sign));
    namespaces.insert_or_assign(std::string(prefix),
                                std::string(text::trimmed(data.substr(sign + 1))));
    return true;
}

std::optional<xml::XPathExpression> compilePart(const std::string& expression,
                                                const PointerNamespaces& namespaces, LogBase& log) {
    std::string why;
    auto compiled = xml::XPathExpression::compile(
        expression,
        [&](std::string_view prefix) -> std::optional<std::string> {
            const auto found = namespaces.find(prefix);
            return found != namespaces.end() ? std::optional(found->second) : std::nullopt;
        },
        why);
    if (!compiled) {
        log.LogError(why.c_str());
    }
    return compiled;
}

} // namespace

xml::NodeBits subtreesOf(const xml::NodeIndex& index, const xml::NodeList& roots) {
    xml::NodeBits nodes(index.size());
    xml::NodeId done = 0;
    for (const xml::NodeId root : roots) {
        if (index[root].next > done) {
            nodes.addRange(root, index[root].next);
            done = index[root].next;
        }
    }
    return nodes;
}

bool selectByXPointer(std::string_view pointer, const xml::NodeIndex& index,
                      xml::WorkBudget& budget, xml::NodeBits& nodes, LogBase& log) {
    PointerNamespaces namespaces;
    PointerPart part;
    while (nextPart(pointer, part)) {
        if (part.scheme == "xmlns" && !declare(part.data, namespaces)) {
            return false;
        }
        if (part.scheme != "xpointer") {
            continue;
        }
        const auto expression = compilePart(part.data, namespaces, log);
        if (!expression || expression->calls(xml::XPathFunction::Here)) {
            return false;
        }
        const xml::XPathHooks hooks;
        const auto value = xml::XPathEvaluator(*expression, index, hooks, budget).evaluate({});
        if (!value || !value->isNodeSet()) {
            return false;
        }
        if (!value->nodes->empty()) {
            nodes = subtreesOf(index, *value->nodes);
            return true;
        }
    }
    return false;
}

} // namespace vantrel::dsig
