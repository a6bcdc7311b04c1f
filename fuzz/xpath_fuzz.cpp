// SPDX-License-Identifier: MIT
// An XPath expression up to the first NUL, then a document. Asked for all nodes at once and one by
// one the expression says the same, within the budget; and the set of all nodes has the canonical
// form of the document, that of the nodes that are left ends like every other.

#include "foundation/xml/canon/node_set_canon.h"
#include "foundation/xml/xpath/evaluator.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

using namespace vantrel;

namespace {

constexpr std::uint64_t kSteps = 200'000;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::optional<std::string> namespaceOf(std::string_view prefix) {
    return prefix == "p" ? std::optional<std::string>("urn:p") : std::nullopt;
}

// False when the budget was used up, after which nothing is said.
bool canonicalNodes(const xml::NodeIndex& index, const xml::NodeBits& set,
                    const xml::NodeSetRequest& request, StringBuffer& out) {
    xml::WorkBudget budget(kSteps);
    xml::StringBufferSink sink(out, std::uint32_t{1} << 22);
    return xml::canonicalizeNodes(index, set, request, budget, sink);
}

void compareForms(const std::shared_ptr<const xml::XmlDocument>& document,
                  const xml::NodeIndex& index, xml::NodeSetMethod method) {
    xml::CanonRequest request;
    request.withComments = true;
    request.method = method == xml::NodeSetMethod::Exclusive ? xml::CanonMethod::Exclusive
                                                             : xml::CanonMethod::Inclusive;
    StringBuffer whole;
    xml::StringBufferSink sink(whole, std::uint32_t{1} << 22);
    const bool ok = xml::canonicalize(*document, request, sink);
    StringBuffer byNodes;
    if (ok &&
        canonicalNodes(index, xml::NodeBits(index.size(), true), {method, true, {}}, byNodes)) {
        require(whole.view() == byNodes.view());
    }
}

void compareAnswers(const xml::XPathExpression& expression, const xml::NodeIndex& index) {
    xml::WorkBudget budget(kSteps);
    xml::XPathEvaluator evaluator(expression, index, {}, budget);
    xml::NodeBits together(index.size(), true);
    if (!evaluator.filter(together)) {
        return;
    }
    for (xml::NodeId node = 0; node < index.size(); ++node) {
        xml::WorkBudget own(kSteps);
        xml::XPathEvaluator alone(expression, index, {}, own);
        xml::NodeBits one(index.size());
        one.add(node);
        if (!alone.filter(one)) {
            return;
        }
        require(one.contains(node) == together.contains(node));
    }
    StringBuffer left;
    static_cast<void>(canonicalNodes(index, together, {}, left));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 4096) {
        return 0;
    }
    const std::string_view input = asText({data, size});
    const std::string_view source = input.substr(0, input.find('\0'));
    const StringBuffer text(input.substr(std::min(source.size() + 1, size)));
    xml::ParseFailure failure;
    const auto document = xml::XmlDocument::parse(text, {}, failure);
    if (document == nullptr) {
        return 0;
    }
    xml::WorkBudget budget(kSteps);
    const auto index = xml::NodeIndex::make(document, budget);
    if (index == nullptr || index->size() > 500) {
        return 0;
    }
    compareForms(document, *index, xml::NodeSetMethod::Inclusive);
    compareForms(document, *index, xml::NodeSetMethod::Exclusive);
    std::string why;
    const auto expression = xml::XPathExpression::compile(source, namespaceOf, why);
    require(expression.has_value() == why.empty());
    if (expression) {
        compareAnswers(*expression, *index);
    }
    return 0;
}
