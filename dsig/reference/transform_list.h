// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_TRANSFORM_LIST_H
#define DSIG_REFERENCE_TRANSFORM_LIST_H

#include "dsig/reference/check_reference.h"
#include "dsig/report/ref_reason.h"
#include "dsig/transform/recommended_transforms.h"
#include "foundation/text/LogBase.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vantrel::dsig {

// A Transform element of the loaded document.
struct ListedTransform {
    xml::ElementId element = xml::kNoElement;
    std::string algorithm;
};

// Those of a Reference element, in their order.
[[nodiscard]] std::vector<ListedTransform> transformsOf(const xml::XmlDocument& document,
                                                        xml::ElementId reference);

// A transform that only one kind of package knows; nothing for any other.
using OwnTransform =
    std::function<std::optional<RefReason>(const ListedTransform& transform, RecommendedData&)>;

// The chain of transforms (XML Signature 1.1, 4.4.3.2) over data of any kind, octets at its end.
// Match, or why it could not be carried out; error lines say more. `own` (may be empty) is asked
// before the transforms of the recommendations. `standards` gains their codes. The work is charged
// to the document's account.
[[nodiscard]] RefReason runTransforms(const ReferenceQuery& query,
                                      const std::vector<ListedTransform>& list,
                                      const OwnTransform& own, xml::WorkBudget& budget,
                                      RecommendedData& data, CodeSet& standards, LogBase& log);

} // namespace vantrel::dsig

#endif
