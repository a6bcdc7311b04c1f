// SPDX-License-Identifier: MIT
#include "dsig/reference/transform_list.h"

#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/values.h"

namespace vantrel::dsig {

namespace {

std::string algorithmOf(const xml::XmlDocument& document, xml::ElementId element) {
    xml::StartTagReader tag(document.text(), document.element(element).start);
    std::string value;
    for (xml::Attribute attribute; tag.next(attribute);) {
        if (attribute.name == "Algorithm") {
            xml::appendAttributeValue(attribute.raw, xml::AttributeType::Cdata, value);
        }
    }
    return value;
}

} // namespace

std::vector<ListedTransform> transformsOf(const xml::XmlDocument& document,
                                          xml::ElementId reference) {
    std::vector<ListedTransform> found;
    const auto isDsig = [&](xml::ElementId element, std::string_view local) {
        return document.localName(element) == local &&
               document.namespaceUri(element) == xml::kXmlDsigNamespace;
    };
    for (xml::ElementId list = document.firstChild(reference); list != xml::kNoElement;
         list = document.nextChild(reference, list)) {
        for (xml::ElementId child = isDsig(list, "Transforms") ? document.firstChild(list)
                                                               : xml::kNoElement;
             child != xml::kNoElement; child = document.nextChild(list, child)) {
            if (isDsig(child, "Transform")) {
                found.push_back({child, algorithmOf(document, child)});
            }
        }
    }
    return found;
}

RefReason runTransforms(const ReferenceQuery& query, const std::vector<ListedTransform>& list,
                        const OwnTransform& own, xml::WorkBudget& budget, RecommendedData& data,
                        CodeSet& standards, LogBase& log) {
    WorkAccount& account = query.document->account;
    if (!account.takeTransforms(list.size(), log)) {
        return RefReason::LimitPassed;
    }
    const auto contextOf = [&](xml::ElementId transform) {
        return RecommendedContext{*query.document->structure,
                                  transform,
                                  query.selection.element(),
                                  account,
                                  budget,
                                  standards};
    };
    RefReason outcome = RefReason::Match;
    for (const ListedTransform& transform : list) {
        log.logText("transformAlgorithm", transform.algorithm);
        const std::optional<RefReason> byOwn = own ? own(transform, data) : std::nullopt;
        outcome = byOwn ? *byOwn
                        : recommendedTransform(transform.algorithm, contextOf(transform.element),
                                               data, log);
        if (outcome != RefReason::Match) {
            break;
        }
    }
    if (outcome == RefReason::Match) {
        outcome = recommendedEnd(contextOf(xml::kNoElement), data, log);
    }
    return account.takeSteps(budget.taken(), !budget.passed(), log) ? outcome
                                                                    : RefReason::LimitPassed;
}

} // namespace vantrel::dsig
