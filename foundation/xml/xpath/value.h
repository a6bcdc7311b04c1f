// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_XPATH_VALUE_H
#define FOUNDATION_XML_XPATH_VALUE_H

#include "foundation/xml/nodes/node_index.h"
#include "foundation/xml/xpath/functions.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::xml {

// In document order, each node once.
using NodeList = std::vector<NodeId>;

// A value of XPath 1.0. Copies share their nodes.
struct XPathValue {
    XPathType type = XPathType::Boolean;
    bool boolean = false;
    double number = 0;
    std::string string;
    std::shared_ptr<const NodeList> nodes; // not null for a node-set

    [[nodiscard]] static XPathValue of(bool value) {
        XPathValue result;
        result.boolean = value;
        return result;
    }
    [[nodiscard]] static XPathValue of(double value) {
        XPathValue result;
        result.type = XPathType::Number;
        result.number = value;
        return result;
    }
    [[nodiscard]] static XPathValue of(std::string value) {
        XPathValue result;
        result.type = XPathType::String;
        result.string = std::move(value);
        return result;
    }
    [[nodiscard]] static XPathValue of(NodeList value) {
        XPathValue result;
        result.type = XPathType::NodeSet;
        result.nodes = std::make_shared<const NodeList>(std::move(value));
        return result;
    }
    [[nodiscard]] bool isNodeSet() const noexcept { return type == XPathType::NodeSet; }
};

// Conversions and comparisons over one document (XPath 1.0, 3.4 and 4). What they yield means
// nothing once the budget is used up.
class XPathValues final {
public:
    XPathValues(const NodeIndex& index, WorkBudget& budget) noexcept
        : m_index(index), m_budget(budget) {}

    [[nodiscard]] static bool toBoolean(const XPathValue& value) noexcept;
    [[nodiscard]] double toNumber(const XPathValue& value) const;
    [[nodiscard]] std::string toString(const XPathValue& value) const;
    [[nodiscard]] std::string stringOf(NodeId node) const;

    [[nodiscard]] bool equal(const XPathValue& one, const XPathValue& other) const;
    [[nodiscard]] bool notEqual(const XPathValue& one, const XPathValue& other) const;
    // one < other, or one <= other
    [[nodiscard]] bool less(const XPathValue& one, const XPathValue& other, bool orEqual) const;

private:
    [[nodiscard]] bool anyEqual(const NodeList& nodes, const std::string& text) const;
    [[nodiscard]] bool setsEqual(const NodeList& one, const NodeList& other) const;
    [[nodiscard]] bool setsDiffer(const NodeList& one, const NodeList& other) const;
    // A node-set against something else.
    [[nodiscard]] bool setEquals(const XPathValue& set, const XPathValue& other, bool wanted) const;
    [[nodiscard]] double numberOf(NodeId node) const;
    // The smallest and the largest number of a set, or of a value; NaN for a set without numbers.
    void bounds(const XPathValue& value, double& least, double& greatest) const;

    const NodeIndex& m_index;
    WorkBudget& m_budget;
};

} // namespace vantrel::xml

#endif
