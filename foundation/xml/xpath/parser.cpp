// SPDX-License-Identifier: MIT
#include "foundation/xml/xpath/parser.h"

#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/xpath/numbers.h"

#include <algorithm>
#include <utility>

namespace vantrel::xml {

namespace {

struct ChainOperator {
    std::string_view spelling;
    XPathSign sign;
};
struct ChainLevel {
    XPathOp op;
    XPathType type;
    ChainOperator operators[4];
};

// From the weakest binding to the strongest (XPath 1.0, 3.4 and 3.5).
constexpr ChainLevel kLevels[] = {
    {XPathOp::Or, XPathType::Boolean, {{"or", XPathSign::None}}},
    {XPathOp::And, XPathType::Boolean, {{"and", XPathSign::None}}},
    {XPathOp::Equality, XPathType::Boolean, {{"=", XPathSign::Equal}, {"!=", XPathSign::NotEqual}}},
    {XPathOp::Relational,
     XPathType::Boolean,
     {{"<", XPathSign::Less},
      {"<=", XPathSign::LessEqual},
      {">", XPathSign::Greater},
      {">=", XPathSign::GreaterEqual}}},
    {XPathOp::Additive, XPathType::Number, {{"+", XPathSign::Plus}, {"-", XPathSign::Minus}}},
    {XPathOp::Multiplicative,
     XPathType::Number,
     {{"*", XPathSign::Times}, {"div", XPathSign::Divide}, {"mod", XPathSign::Modulo}}},
};

const ChainOperator* findOperator(const ChainLevel& level, const XPathToken& token) noexcept {
    for (const ChainOperator& candidate : level.operators) {
        if (!candidate.spelling.empty() && token.isOperator(candidate.spelling)) {
            return &candidate;
        }
    }
    return nullptr;
}

struct AxisName {
    std::string_view name;
    XPathAxis axis;
};
constexpr AxisName kAxes[] = {
    {"ancestor", XPathAxis::Ancestor},
    {"ancestor-or-self", XPathAxis::AncestorOrSelf},
    {"attribute", XPathAxis::Attribute},
    {"child", XPathAxis::Child},
    {"descendant", XPathAxis::Descendant},
    {"descendant-or-self", XPathAxis::DescendantOrSelf},
    {"following", XPathAxis::Following},
    {"following-sibling", XPathAxis::FollowingSibling},
    {"namespace", XPathAxis::Namespace},
    {"parent", XPathAxis::Parent},
    {"preceding", XPathAxis::Preceding},
    {"preceding-sibling", XPathAxis::PrecedingSibling},
    {"self", XPathAxis::Self},
};

struct NodeType {
    std::string_view name;
    XPathTest test;
};
constexpr NodeType kNodeTypes[] = {
    {"node", XPathTest::Node},
    {"text", XPathTest::Text},
    {"comment", XPathTest::Comment},
    {"processing-instruction", XPathTest::Instruction},
};

const NodeType* findNodeType(std::string_view name) noexcept {
    const auto* const found =
        std::find_if(std::begin(kNodeTypes), std::end(kNodeTypes),
                     [name](const NodeType& type) { return type.name == name; });
    return found == std::end(kNodeTypes) ? nullptr : found;
}

bool isEverything(const XPathStep& step) noexcept {
    return step.axis == XPathAxis::DescendantOrSelf && step.test == XPathTest::Node &&
           step.predicates == 0;
}

// "//name" is short for two steps, which are one where no predicate counts positions.
void joinDescendants(std::vector<XPathStep>& steps) {
    std::vector<XPathStep> joined;
    for (const XPathStep& step : steps) {
        const bool child = step.axis == XPathAxis::Child && !step.positional;
        if (child && !joined.empty() && isEverything(joined.back())) {
            joined.back() = step;
            joined.back().axis = XPathAxis::Descendant;
        } else {
            joined.push_back(step);
        }
    }
    steps.swap(joined);
}

} // namespace

std::optional<XPathExpression> XPathExpression::compile(std::string_view source,
                                                        const XPathNamespaces& namespaces,
                                                        std::string& why) {
    XPathExpression expression;
    if (source.size() > kMaxXPathSize) {
        why = "The XPath expression is too long.";
        return std::nullopt;
    }
    if (!XPathParser(source, namespaces).parse(expression, why)) {
        return std::nullopt;
    }
    return expression;
}

bool XPathParser::parse(XPathExpression& out, std::string& why) {
    m_out.m_texts.emplace_back();
    advance();
    const Part top = parseExpression();
    if (top != kNoPart && m_token.kind != XPathTokenKind::End) {
        fail("The XPath expression goes on behind its end.");
    }
    if (!m_why.empty()) {
        why = m_why;
        return false;
    }
    m_out.m_top = top;
    out = std::move(m_out);
    return true;
}

bool XPathParser::fail(std::string_view message) {
    if (m_why.empty()) {
        m_why = message;
    }
    return false;
}

bool XPathParser::enter() {
    if (m_nesting == kMaxXPathNesting) {
        return fail("The XPath expression is nested too deeply.");
    }
    ++m_nesting;
    return true;
}

XPathParser::Part XPathParser::add(XPathOp op, XPathType type,
                                   std::span<const XPathOperand> operands) {
    XPathPart part;
    part.op = op;
    part.type = type;
    part.constant = true;
    part.firstOperand = static_cast<std::uint32_t>(m_out.m_operands.size());
    part.operands = static_cast<std::uint32_t>(operands.size());
    // The operands of a filter behind the first are predicates, with contexts of their own.
    const std::size_t own = op == XPathOp::Filter ? 1 : operands.size();
    for (std::size_t i = 0; i < own; ++i) {
        const XPathPart& operand = m_out.m_parts[operands[i].part];
        part.constant = part.constant && operand.constant;
        part.positional = part.positional || operand.positional;
    }
    m_out.m_operands.insert(m_out.m_operands.end(), operands.begin(), operands.end());
    m_out.m_parts.push_back(part);
    return static_cast<Part>(m_out.m_parts.size() - 1);
}

std::uint32_t XPathParser::addText(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    m_out.m_texts.emplace_back(text);
    return static_cast<std::uint32_t>(m_out.m_texts.size() - 1);
}

XPathParser::Part XPathParser::parseExpression() {
    if (!enter()) {
        return kNoPart;
    }
    const Part part = parseChain(0);
    leave();
    return part;
}

XPathParser::Part XPathParser::parseChain(std::uint32_t level) {
    if (level == std::size(kLevels)) {
        return parseUnary();
    }
    const ChainLevel& chain = kLevels[level];
    const Part first = parseChain(level + 1);
    std::vector<XPathOperand> operands;
    while (m_why.empty()) {
        const ChainOperator* const found = findOperator(chain, m_token);
        if (found == nullptr) {
            break;
        }
        if (operands.empty()) {
            operands.push_back({first, XPathSign::None});
        }
        advance();
        operands.push_back({parseChain(level + 1), found->sign});
    }
    if (!m_why.empty()) {
        return kNoPart;
    }
    return operands.empty() ? first : add(chain.op, chain.type, operands);
}

XPathParser::Part XPathParser::parseUnary() {
    bool any = false;
    bool negative = false;
    for (; m_token.isSymbol("-"); advance()) {
        any = true;
        negative = !negative;
    }
    const Part inner = parseUnion();
    if (inner == kNoPart || !any) {
        return inner;
    }
    // Two signs leave the number, but a number it becomes.
    const XPathOperand operands[] = {{inner, negative ? XPathSign::Minus : XPathSign::Plus}};
    return add(XPathOp::Negate, XPathType::Number, operands);
}

XPathParser::Part XPathParser::parseUnion() {
    const Part first = parsePath();
    std::vector<XPathOperand> operands;
    while (m_why.empty() && m_token.isSymbol("|")) {
        if (operands.empty()) {
            operands.push_back({first, XPathSign::None});
        }
        advance();
        operands.push_back({parsePath(), XPathSign::None});
    }
    if (!m_why.empty()) {
        return kNoPart;
    }
    if (operands.empty()) {
        return first;
    }
    for (const XPathOperand& operand : operands) {
        if (!isNodeSet(operand.part)) {
            return failPart("A union of something that is no node-set.");
        }
    }
    return add(XPathOp::Union, XPathType::NodeSet, operands);
}

bool XPathParser::startsStep() const noexcept {
    switch (m_token.kind) {
    case XPathTokenKind::Name:
    case XPathTokenKind::Axis: return true;
    case XPathTokenKind::Function: return findNodeType(m_token.text) != nullptr;
    case XPathTokenKind::Symbol:
        return m_token.text == "@" || m_token.text == "." || m_token.text == "..";
    default: return false;
    }
}

XPathParser::Part XPathParser::parsePath() {
    if (startsStep() || m_token.isSymbol("/") || m_token.isSymbol("//")) {
        return parseLocation(kNoPart);
    }
    Part start = parsePrimary();
    if (start == kNoPart) {
        return kNoPart;
    }
    if (m_token.isSymbol("[")) {
        if (!isNodeSet(start)) {
            return failPart("A predicate of something that is no node-set.");
        }
        std::vector<XPathOperand> operands = {{start, XPathSign::None}};
        if (!parsePredicates(operands)) {
            return kNoPart;
        }
        start = add(XPathOp::Filter, XPathType::NodeSet, operands);
    }
    if (!m_token.isSymbol("/") && !m_token.isSymbol("//")) {
        return start;
    }
    if (!isNodeSet(start)) {
        return failPart("A path from something that is no node-set.");
    }
    return parseLocation(start);
}

// A location path; `start` is what it goes on from, or kNoPart.
XPathParser::Part XPathParser::parseLocation(Part start) {
    std::vector<XPathStep> steps;
    const bool absolute = start == kNoPart && (m_token.isSymbol("/") || m_token.isSymbol("//"));
    if (absolute && m_token.isSymbol("/")) {
        advance();
        if (!startsStep()) {
            return addPath(start, true, steps);
        }
    }
    if (!parseSteps(steps)) {
        return kNoPart;
    }
    return addPath(start, absolute, steps);
}

XPathParser::Part XPathParser::addPath(Part start, bool absolute, std::vector<XPathStep>& steps) {
    joinDescendants(steps);
    const XPathOperand operands[] = {{start, XPathSign::None}};
    const Part part =
        add(XPathOp::Path, XPathType::NodeSet, std::span(operands).first(start == kNoPart ? 0 : 1));
    XPathPart& path = m_out.m_parts[part];
    path.absolute = absolute;
    path.constant = absolute || (start != kNoPart && path.constant);
    path.firstStep = static_cast<std::uint32_t>(m_out.m_steps.size());
    path.steps = static_cast<std::uint32_t>(steps.size());
    m_out.m_steps.insert(m_out.m_steps.end(), steps.begin(), steps.end());
    return part;
}

bool XPathParser::parseSteps(std::vector<XPathStep>& steps) {
    // A path that goes on begins with its slash.
    bool slash = m_token.isSymbol("/") || m_token.isSymbol("//");
    do {
        if (slash) {
            if (m_token.isSymbol("//")) {
                XPathStep everything;
                everything.axis = XPathAxis::DescendantOrSelf;
                steps.push_back(everything);
            }
            advance();
        }
        XPathStep step;
        if (!parseStep(step)) {
            return false;
        }
        steps.push_back(step);
        slash = m_token.isSymbol("/") || m_token.isSymbol("//");
    } while (slash);
    return true;
}

bool XPathParser::parseStep(XPathStep& step) {
    if (m_token.isSymbol(".") || m_token.isSymbol("..")) {
        step.axis = m_token.text == "." ? XPathAxis::Self : XPathAxis::Parent;
        advance();
        return true;
    }
    if (m_token.isSymbol("@")) {
        step.axis = XPathAxis::Attribute;
        advance();
    } else if (m_token.kind == XPathTokenKind::Axis) {
        const auto* const found =
            std::find_if(std::begin(kAxes), std::end(kAxes), [this](const AxisName& candidate) {
                return candidate.name == m_token.text;
            });
        if (found == std::end(kAxes)) {
            return fail("Unknown axis in the XPath expression.");
        }
        step.axis = found->axis;
        advance();
        advance(); // "::"
    }
    return parseNodeTest(step) && attachPredicates(step);
}

bool XPathParser::parseNodeTest(XPathStep& step) {
    if (m_token.kind == XPathTokenKind::Function) {
        return parseNodeType(step);
    }
    if (m_token.kind != XPathTokenKind::Name) {
        return fail("A step of the XPath expression has no node test.");
    }
    return parseNameTest(step);
}

bool XPathParser::parseNodeType(XPathStep& step) {
    const NodeType* const type = findNodeType(m_token.text);
    if (type == nullptr) {
        return fail("A step of the XPath expression has no node test.");
    }
    step.test = type->test;
    advance();
    advance(); // "("
    if (step.test == XPathTest::Instruction && m_token.kind == XPathTokenKind::Literal) {
        step.test = XPathTest::InstructionOf;
        step.local = addText(m_token.text);
        advance();
    }
    if (!m_token.isSymbol(")")) {
        return fail("A node type of the XPath expression is not closed.");
    }
    advance();
    return true;
}

bool XPathParser::parseNameTest(XPathStep& step) {
    const std::string_view name = m_token.text;
    const std::size_t colon = name.find(':');
    if (colon != name.npos) {
        const std::string_view prefix = name.substr(0, colon);
        // Bound by definition (Namespaces in XML 1.0, 3).
        const std::optional<std::string> space =
            prefix == "xml" ? std::string(kXmlNamespace) : m_namespaces(prefix);
        if (!space) {
            return fail("A prefix of the XPath expression is not declared.");
        }
        step.space = addText(*space);
    }
    const std::string_view local = colon == name.npos ? name : name.substr(colon + 1);
    if (local == "*") {
        step.test = colon == name.npos ? XPathTest::AnyName : XPathTest::AnyInSpace;
    } else {
        step.test = XPathTest::Name;
        step.local = addText(local);
    }
    advance();
    return true;
}

// Appends predicates, as long as there are any.
bool XPathParser::parsePredicates(std::vector<XPathOperand>& predicates) {
    while (m_token.isSymbol("[")) {
        advance();
        const Part part = parseExpression();
        if (part == kNoPart) {
            return false;
        }
        if (!m_token.isSymbol("]")) {
            return fail("A predicate of the XPath expression is not closed.");
        }
        advance();
        predicates.push_back({part, XPathSign::None});
    }
    return true;
}

bool XPathParser::attachPredicates(XPathStep& step) {
    std::vector<XPathOperand> predicates;
    if (!parsePredicates(predicates)) {
        return false;
    }
    step.firstPredicate = static_cast<std::uint32_t>(m_out.m_operands.size());
    step.predicates = static_cast<std::uint32_t>(predicates.size());
    m_out.m_operands.insert(m_out.m_operands.end(), predicates.begin(), predicates.end());
    for (const XPathOperand& predicate : predicates) {
        const XPathPart& part = m_out.m_parts[predicate.part];
        // A number as a predicate is a position (XPath 1.0, 2.4).
        step.positional = step.positional || part.positional || part.type == XPathType::Number;
    }
    return true;
}

XPathParser::Part XPathParser::parsePrimary() {
    switch (m_token.kind) {
    case XPathTokenKind::Literal: {
        const Part part = add(XPathOp::Literal, XPathType::String, {});
        m_out.m_parts[part].text = addText(m_token.text);
        advance();
        return part;
    }
    case XPathTokenKind::Number: {
        const Part part = add(XPathOp::Number, XPathType::Number, {});
        m_out.m_parts[part].number = parseXPathNumber(m_token.text);
        advance();
        return part;
    }
    case XPathTokenKind::Function: return parseCall();
    case XPathTokenKind::Variable:
        return failPart("A variable in the XPath expression; there are none.");
    default: break;
    }
    if (!m_token.isSymbol("(")) {
        return failPart("The XPath expression lacks an operand.");
    }
    advance();
    const Part inner = parseExpression();
    if (inner != kNoPart && !m_token.isSymbol(")")) {
        return failPart("A parenthesis of the XPath expression is not closed.");
    }
    advance();
    return inner;
}

XPathParser::Part XPathParser::parseCall() {
    const XPathSignature* const signature = findXPathFunction(m_token.text);
    if (signature == nullptr) {
        return failPart("Unknown function in the XPath expression.");
    }
    advance();
    advance(); // "("
    std::vector<XPathOperand> arguments;
    while (!m_token.isSymbol(")")) {
        if (!arguments.empty()) {
            if (!m_token.isSymbol(",")) {
                return failPart("The arguments of a function of the XPath expression do not end.");
            }
            advance();
        }
        const Part argument = parseExpression();
        if (argument == kNoPart) {
            return kNoPart;
        }
        if (signature->nodeSets && !isNodeSet(argument)) {
            return failPart("A function of the XPath expression needs a node-set.");
        }
        arguments.push_back({argument, XPathSign::None});
    }
    advance();
    if (arguments.size() < signature->least || arguments.size() > signature->most) {
        return failPart("A function of the XPath expression has too few or too many arguments.");
    }
    const Part part = add(XPathOp::Call, signature->result, arguments);
    XPathPart& call = m_out.m_parts[part];
    call.function = signature->function;
    if (signature->ofContext && (arguments.empty() || call.function == XPathFunction::Lang)) {
        call.constant = false;
    }
    if (call.function == XPathFunction::Position || call.function == XPathFunction::Last) {
        call.positional = true;
    }
    return part;
}

} // namespace vantrel::xml
