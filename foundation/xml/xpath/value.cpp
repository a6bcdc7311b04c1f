// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/value.h"

#include "foundation/xml/xpath/numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <unordered_set>

namespace vantrel::xml {

namespace {

constexpr std::size_t kWhole = std::numeric_limits<std::size_t>::max();

using StringSet = std::unordered_set<std::string, StringHash, std::equal_to<>>;

} // namespace

bool XPathValues::toBoolean(const XPathValue& value) noexcept {
    switch (value.type) {
    case XPathType::NodeSet: return !value.nodes->empty();
    case XPathType::Number: return value.number != 0 && !std::isnan(value.number);
    case XPathType::String: return !value.string.empty();
    case XPathType::Boolean: break;
    }
    return value.boolean;
}

double XPathValues::toNumber(const XPathValue& value) const {
    switch (value.type) {
    case XPathType::NodeSet: return parseXPathNumber(toString(value));
    case XPathType::Number: return value.number;
    case XPathType::String: return parseXPathNumber(value.string);
    case XPathType::Boolean: break;
    }
    return value.boolean ? 1 : 0;
}

std::string XPathValues::toString(const XPathValue& value) const {
    switch (value.type) {
    case XPathType::NodeSet:
        return value.nodes->empty() ? std::string() : stringOf(value.nodes->front());
    case XPathType::Number: {
        std::string text;
        appendXPathNumber(value.number, text);
        return text;
    }
    case XPathType::String:
        return m_budget.take(value.string.size()) ? value.string : std::string();
    case XPathType::Boolean: break;
    }
    return value.boolean ? "true" : "false";
}

std::string XPathValues::stringOf(NodeId node) const {
    std::string text;
    static_cast<void>(m_index.appendValue(node, text, kWhole, m_budget));
    return text;
}

double XPathValues::numberOf(NodeId node) const { return parseXPathNumber(stringOf(node)); }

// Values are read no further than it takes to see that they differ, since in a deep document every
// element's value may be most of the text.
bool XPathValues::anyEqual(const NodeList& nodes, const std::string& text) const {
    std::string value;
    for (const NodeId node : nodes) {
        value.clear();
        if (!m_index.appendValue(node, value, text.size(), m_budget)) {
            return false;
        }
        if (value == text) {
            return true;
        }
    }
    return false;
}

bool XPathValues::setsEqual(const NodeList& one, const NodeList& other) const {
    const bool oneIsLess = one.size() < other.size();
    StringSet known;
    for (const NodeId node : oneIsLess ? one : other) {
        known.insert(stringOf(node));
        if (m_budget.passed()) {
            return false;
        }
    }
    const NodeList& rest = oneIsLess ? other : one;
    return !known.empty() && std::any_of(rest.begin(), rest.end(), [&](NodeId node) {
        return !m_budget.passed() && known.contains(stringOf(node));
    });
}

// Some string of one set is not some string of the other: unless all of them are the same one.
bool XPathValues::setsDiffer(const NodeList& one, const NodeList& other) const {
    if (one.empty() || other.empty()) {
        return false;
    }
    const std::string first = stringOf(one.front());
    const auto differs = [&](NodeId node) {
        std::string value;
        return m_index.appendValue(node, value, first.size(), m_budget) && value != first;
    };
    return std::any_of(one.begin(), one.end(), differs) ||
           std::any_of(other.begin(), other.end(), differs);
}

bool XPathValues::setEquals(const XPathValue& set, const XPathValue& other, bool wanted) const {
    switch (other.type) {
    case XPathType::Boolean: return (toBoolean(set) == other.boolean) == wanted;
    case XPathType::Number:
        return std::any_of(set.nodes->begin(), set.nodes->end(), [&](NodeId node) {
            return (numberOf(node) == other.number) == wanted && !m_budget.passed();
        });
    default: break;
    }
    if (wanted) {
        return anyEqual(*set.nodes, other.string);
    }
    return std::any_of(set.nodes->begin(), set.nodes->end(), [&](NodeId node) {
        std::string value;
        return m_index.appendValue(node, value, other.string.size(), m_budget) &&
               value != other.string;
    });
}

bool XPathValues::equal(const XPathValue& one, const XPathValue& other) const {
    if (one.isNodeSet() && other.isNodeSet()) {
        return setsEqual(*one.nodes, *other.nodes);
    }
    if (one.isNodeSet() || other.isNodeSet()) {
        return one.isNodeSet() ? setEquals(one, other, true) : setEquals(other, one, true);
    }
    if (one.type == XPathType::Boolean || other.type == XPathType::Boolean) {
        return toBoolean(one) == toBoolean(other);
    }
    if (one.type == XPathType::Number || other.type == XPathType::Number) {
        return toNumber(one) == toNumber(other);
    }
    return one.string == other.string;
}

bool XPathValues::notEqual(const XPathValue& one, const XPathValue& other) const {
    if (one.isNodeSet() && other.isNodeSet()) {
        return setsDiffer(*one.nodes, *other.nodes);
    }
    if (one.isNodeSet() || other.isNodeSet()) {
        return one.isNodeSet() ? setEquals(one, other, false) : setEquals(other, one, false);
    }
    return !equal(one, other);
}

void XPathValues::bounds(const XPathValue& value, double& least, double& greatest) const {
    if (!value.isNodeSet()) {
        least = greatest = toNumber(value);
        return;
    }
    least = greatest = std::numeric_limits<double>::quiet_NaN();
    for (const NodeId node : *value.nodes) {
        const double number = numberOf(node);
        // fmin and fmax pass over what is no number.
        least = std::fmin(least, number);
        greatest = std::fmax(greatest, number);
        if (m_budget.passed()) {
            return;
        }
    }
}

bool XPathValues::less(const XPathValue& one, const XPathValue& other, bool orEqual) const {
    // Against a boolean a node-set is one as well (XPath 1.0, 3.4).
    const bool asBooleans = one.type == XPathType::Boolean || other.type == XPathType::Boolean;
    double least = 0;
    double greatest = 0;
    double unused = 0;
    bounds(asBooleans && one.isNodeSet() ? XPathValue::of(toBoolean(one)) : one, least, unused);
    bounds(asBooleans && other.isNodeSet() ? XPathValue::of(toBoolean(other)) : other, unused,
           greatest);
    return orEqual ? least <= greatest : least < greatest;
}

} // namespace vantrel::xml
