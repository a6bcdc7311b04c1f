// SPDX-License-Identifier: MIT
#include "dsig/transform/node_coverage.h"

#include <vector>

namespace vantrel::dsig {

namespace {

using xml::ElementId;
using xml::NodeId;
using xml::NodeKind;

// The elements that are in the set with everything that is theirs, by number. Child elements are
// asked for themselves.
// `outside`: so is what stands around the root element.
std::vector<bool> wholeElements(const xml::NodeIndex& index, const xml::NodeBits& nodes,
                                bool& outside) {
    std::vector<bool> whole(index.document().elementCount(), true);
    outside = nodes.contains(0);
    for (NodeId node = 1; node < index.size(); ++node) {
        const NodeKind kind = index[node].kind;
        if (nodes.contains(node) || kind == NodeKind::Comment) {
            continue;
        }
        const NodeId owner = kind == NodeKind::Element ? node : index[node].parent;
        if (owner != 0) {
            whole[index.element(owner)] = false;
        } else {
            outside = false;
        }
    }
    return whole;
}

void exclude(const xml::XmlDocument& document, ElementId element, std::string_view why,
             Coverage& coverage) {
    Exclusion exclusion;
    exclusion.element = element;
    exclusion.why = why;
    // An element that came from an entity has no place in the source.
    if (!document.sourceRange(element, exclusion.range)) {
        coverage.known = false;
    }
    coverage.excluded.push_back(exclusion);
}

// Something of the set lies in what is not called covered.
bool holdsMore(const xml::NodeIndex& index, const xml::NodeBits& nodes, const Coverage& coverage) {
    xml::NodeBits rest = nodes;
    const auto top = [&](ElementId element) { return index.ofElement(element); };
    if (coverage.wholeDocument) {
        rest = xml::NodeBits(index.size());
    }
    for (const ElementId element : coverage.elements.all()) {
        rest.removeRange(top(element), index[top(element)].next);
    }
    for (const Exclusion& exclusion : coverage.excluded) {
        const NodeId first = top(exclusion.element);
        for (NodeId node = nodes.next(first); node < index[first].next;
             node = nodes.next(node + 1)) {
            rest.add(node);
        }
    }
    for (NodeId node = rest.next(1); node != xml::kNoNode; node = rest.next(node + 1)) {
        if (index[node].kind != NodeKind::Comment) {
            return true;
        }
    }
    return false;
}

} // namespace

Coverage coverageOf(const xml::NodeIndex& index, const xml::NodeBits& nodes,
                    xml::ElementId signature, std::string_view why) {
    const xml::XmlDocument& document = index.document();
    bool outside = false;
    const std::vector<bool> whole = wholeElements(index, nodes, outside);
    Coverage coverage;
    std::vector<ElementId> covered;
    for (ElementId element = 0; element < document.elementCount();) {
        if (!whole[element]) {
            ++element;
            continue;
        }
        covered.push_back(element);
        const ElementId end = document.subtreeEnd(element);
        for (++element; element < end;) {
            if (whole[element]) {
                ++element;
                continue;
            }
            exclude(document, element, element == signature ? exclusion::kEnvelopedSignature : why,
                    coverage);
            element = document.subtreeEnd(element);
        }
    }
    coverage.wholeDocument = outside && covered.size() == 1 && covered.front() == 0;
    coverage.known = coverage.known && !covered.empty();
    if (!coverage.wholeDocument) {
        coverage.elements.assign(covered);
    }
    coverage.known = coverage.known && !holdsMore(index, nodes, coverage);
    return coverage;
}

} // namespace vantrel::dsig
