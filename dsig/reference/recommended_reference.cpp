// SPDX-License-Identifier: MIT
#include "dsig/reference/recommended_reference.h"

#include "dsig/document/signed_info.h"
#include "dsig/document/standards.h"
#include "dsig/reference/digest_comparison.h"
#include "dsig/reference/external_name.h"
#include "dsig/reference/external_reference.h"
#include "dsig/reference/reference_target.h"
#include "dsig/reference/transform_list.h"
#include "dsig/report/causes.h"
#include "dsig/transform/xpointer.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/xml/canon/fragment_id.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::dsig {

namespace {

using xml::ElementId;
using xml::kNoElement;
using xml::NodeBits;
using xml::NodeId;

// The transforms that the usual way carries out as the recommendations have them, and may be asked
// of any document that was changed: another attempt would only repeat the work.
bool isUsual(const ListedTransform& transform) {
    const std::string_view name = transform.algorithm;
    return name == "http://www.w3.org/2000/09/xmldsig#enveloped-signature" ||
           name == "http://www.w3.org/TR/2001/REC-xml-c14n-20010315" ||
           name == "http://www.w3.org/2001/10/xml-exc-c14n#";
}

// One reference on its way from its URI to its digest.
class RecommendedReference {
public:
    RecommendedReference(const ReferenceQuery& query, ElementId element,
                         const DSigReference& reference, LogBase& quiet)
        : m_query(query), m_document(*query.document->structure), m_reference(reference),
          m_target(targetOf(reference.m_uri)), m_transforms(transformsOf(m_document, element)),
          m_budget(query.document->account.stepsLeft()), m_log(quiet) {}

    [[nodiscard]] bool mayDiffer() const {
        if (m_target.kind == ReferenceTarget::Kind::External) {
            return !m_transforms.empty();
        }
        for (const ListedTransform& transform : m_transforms) {
            if (!isUsual(transform)) {
                return true;
            }
        }
        return isPointer(m_target.text.view());
    }

    // `log` is told of a limit; of the rest it is of no interest why it failed.
    [[nodiscard]] bool run(ReferenceResult& result, LogBase& log) {
        if (!dereference()) {
            WorkAccount& account = m_query.document->account;
            static_cast<void>(account.takeSteps(m_budget.taken(), !m_budget.passed(), log));
            return false;
        }
        const RefReason outcome =
            runTransforms(m_query, m_transforms, {}, m_budget, *m_data, m_standards, m_log);
        if (outcome != RefReason::Match) {
            return false;
        }
        const DataBuffer& octets = m_data->octets();
        DataBuffer digest;
        _vlHash::doHash(octets.getData2(), octets.getSize(), m_reference.getHashAlg(), digest);
        StringBuffer calculated;
        digest.encodeDB("base64", calculated);
        // Here no octets at all are what an expression may leave; the coverage says so.
        const bool matched = isStoredDigest(calculated, m_reference, m_log);
        // A digest that the usual way computed stands, unless that was of untransformed data.
        if (matched || publicCode(result.reason) != publicCode(RefReason::Mismatch) ||
            m_target.kind == ReferenceTarget::Kind::External) {
            fill(calculated, matched ? RefReason::Match : RefReason::Mismatch, result);
        }
        return matched;
    }

private:
    static bool isPointer(std::string_view fragment) {
        return fragment.starts_with("xpointer(") || fragment.starts_with("xmlns(");
    }

    // XML Signature 1.1, 4.4.3.2 and 4.4.3.3
    [[nodiscard]] bool dereference() {
        if (m_target.kind == ReferenceTarget::Kind::External) {
            DataBuffer octets;
            if (!readExternalData(m_query, m_target.text, octets, m_log)) {
                return false;
            }
            m_standards.add(standard::kExternalTransforms);
            m_data.emplace(std::move(octets));
            return true;
        }
        ElementId element = kNoElement;
        const std::string_view fragment = m_target.text.view();
        const xml::FragmentTarget found = xml::resolveFragment(m_document, fragment, element);
        // Of a pointer may be found what is no Id.
        if (found == xml::FragmentTarget::NotUnique ||
            (found == xml::FragmentTarget::NotFound && !isPointer(fragment))) {
            return false;
        }
        if (!m_query.document->account.takeOctets(m_document.text().size(), m_log)) {
            return false;
        }
        auto index = m_query.document->nodes(m_budget);
        if (index == nullptr) {
            return false;
        }
        m_data.emplace(std::move(index));
        if (found == xml::FragmentTarget::Element) {
            const NodeId top = m_data->index().ofElement(element);
            NodeBits subtree(m_data->index().size());
            subtree.addRange(top, m_data->index()[top].next);
            m_data->nodes() = std::move(subtree);
        } else if (found == xml::FragmentTarget::NotFound &&
                   !selectByXPointer(percentDecoded(fragment), m_data->index(), m_budget,
                                     m_data->nodes(), m_log)) {
            return false;
        }
        ElementId withThatId = kNoElement;
        const bool pointer =
            isPointer(fragment) && m_document.findById(fragment, withThatId) == xml::IdMatch::None;
        if (pointer) {
            m_standards.add(standard::kXPointer);
        } else {
            leaveOutComments();
        }
        return true;
    }

    void leaveOutComments() {
        NodeBits& nodes = m_data->nodes();
        bool any = false;
        for (NodeId node = nodes.next(0); node != xml::kNoNode; node = nodes.next(node + 1)) {
            if (m_data->index()[node].kind == xml::NodeKind::Comment) {
                nodes.remove(node);
                any = true;
            }
        }
        if (any && asksForComments()) {
            m_standards.add(standard::kCommentFree);
        }
    }

    // Where no transform would write comments, it makes no difference that they are not there.
    [[nodiscard]] bool asksForComments() const {
        for (const ListedTransform& transform : m_transforms) {
            if (transform.algorithm.ends_with("WithComments")) {
                return true;
            }
        }
        return false;
    }

    // Whatever is left out lies in what is covered (node_coverage.h).
    static void reportCoverage(Coverage coverage, ReferenceResult& result) {
        if (result.octetCount == 0) {
            coverage.coverNothing();
        }
        result.covers = coverage.wholeDocument                ? "document"
                        : coverage.elements.all().size() == 1 ? "element"
                                                              : "elements";
        result.coveredElements = std::move(coverage.elements);
        result.coverageKnown = coverage.known;
        result.excluded = std::move(coverage.excluded);
    }

    void fill(const StringBuffer& digest, RefReason reason, ReferenceResult& result) {
        ReferenceResult found;
        found.index = result.index;
        found.checked = true;
        found.external = result.external;
        found.isSigned = result.isSigned;
        found.found = std::move(result.found);
        found.describe(m_reference.m_uri, m_reference.m_digestMethod);
        found.reason = reason;
        found.computedDigest = digest;
        found.octetCount = m_data->octets().getSize();
        if (m_query.keepOctets) {
            found.octets = m_data->octets();
        }
        if (m_data->coverage() == nullptr) {
            found.covers = "external";
        } else {
            reportCoverage(*m_data->coverage(), found);
        }
        if (m_standards.codes().empty()) {
            m_standards.add(standard::kPlainTransforms);
        }
        found.standards = m_standards;
        result = std::move(found);
    }

    const ReferenceQuery& m_query;
    const xml::XmlDocument& m_document;
    const DSigReference& m_reference;
    const ReferenceTarget m_target;
    const std::vector<ListedTransform> m_transforms;
    xml::WorkBudget m_budget;
    CodeSet m_standards;
    std::optional<RecommendedData> m_data;
    LogBase& m_log;
};

// The Reference element of the loaded document, and what it says; null for none, and for one whose
// digest method is unknown: that digest was a guess, which nothing makes better.
Ref<ClsXml> readReference(const ReferenceQuery& query, DSigReference& reference, LogBase& log) {
    Ref<ClsXml> element = referenceElement(query.document, query.selection, query.index, log);
    if (!element || element->document() != query.document->structure) {
        return {};
    }
    reference.parseReference(*element, log);
    if (!reference.digestMethodIsKnown()) {
        reference.knowStandardDigests();
    }
    return reference.digestMethodIsKnown() ? std::move(element) : Ref<ClsXml>();
}

} // namespace

bool matchesAsRecommended(const ReferenceQuery& query, ReferenceResult& result, LogBase& log) {
    if (query.document == nullptr || result.dataMissing || !standardsApply(log)) {
        return false;
    }
    // What the usual way found wrong stays the last word of the log where this way fails as well.
    LogNull quiet(log);
    DSigReference reference;
    const Ref<ClsXml> element = readReference(query, reference, quiet);
    if (!element) {
        return false;
    }
    WorkAccount& account = query.document->account;
    RecommendedReference recommended(query, element->elementId(), reference, quiet);
    if (!recommended.mayDiffer() || !account.takeRetry(quiet)) {
        return false;
    }
    account.noLimitPassed();
    if (!recommended.run(result, log)) {
        if (const std::string_view limit = account.passedLimit(); !limit.empty()) {
            result.cause = causeOfLimit(limit);
        }
        return false;
    }
    log.LogInfo("The digest is that of the transforms as the recommendations have them.");
    return true;
}

bool isDigestAsRecommended(const ReferenceQuery& query, LogBase& log) {
    DSigReference reference;
    const Ref<ClsXml> element = readReference(query, reference, log);
    ReferenceResult found;
    return element && query.document->account.takeRetry(log) &&
           RecommendedReference(query, element->elementId(), reference, log).run(found, log);
}

} // namespace vantrel::dsig
