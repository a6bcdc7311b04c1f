// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_RECOMMENDED_TRANSFORMS_H
#define DSIG_TRANSFORM_RECOMMENDED_TRANSFORMS_H

#include "dsig/document/work_account.h"
#include "dsig/report/codes.h"
#include "dsig/report/coverage.h"
#include "dsig/report/ref_reason.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/nodes/node_index.h"
#include "foundation/xml/scan/xml_document.h"

#include <memory>
#include <string_view>

// Transforms exactly as the recommendations have them, over octets and sets of nodes. What the
// working text (working_text.h) does by search and removal is not used here: this is the second
// way, for references whose digest the first did not find.
namespace vantrel::dsig {

// What one transform hands to the next (XML Signature 1.1, 4.4.3.2): octets, or nodes of a
// document. One that needs the other form gets it: octets are parsed, nodes canonicalized.
class RecommendedData final {
public:
    // Octets from outside of the document.
    explicit RecommendedData(DataBuffer octets) : m_octets(std::move(octets)) {}
    // All nodes of the loaded document.
    explicit RecommendedData(std::shared_ptr<const xml::NodeIndex> loaded)
        : m_index(std::move(loaded)), m_nodes(m_index->size(), true), m_ofLoaded(true) {}

    [[nodiscard]] bool isNodes() const noexcept { return m_index != nullptr; }
    // The nodes are those of the loaded document.
    [[nodiscard]] bool ofLoaded() const noexcept { return isNodes() && m_ofLoaded; }
    [[nodiscard]] const xml::NodeIndex& index() const noexcept { return *m_index; }
    [[nodiscard]] xml::NodeBits& nodes() noexcept { return m_nodes; }
    [[nodiscard]] const DataBuffer& octets() const noexcept { return m_octets; }

    // What the digest covers of the loaded document, known from when its nodes became octets; null
    // where it does not come from there.
    [[nodiscard]] const Coverage* coverage() const noexcept { return m_coverage.get(); }

    // What is left out from now on, and by what; the code is of static storage.
    void leaveOut(std::string_view why) noexcept;
    void leaveOutSignature(xml::ElementId signature);
    // False after an error line where the octets are no XML, or a limit is passed.
    [[nodiscard]] bool parse(WorkAccount& account, xml::WorkBudget& budget, LogBase& log);
    // The same without the nodes: for whoever takes the document as a whole. Null after an error
    // line; the octets are gone.
    [[nodiscard]] std::shared_ptr<const xml::XmlDocument> takeDocument(WorkAccount& account,
                                                                       LogBase& log);
    void becomeOctets(DataBuffer octets);
    // Something was made of the nodes that no coverage can tell.
    void coverageIsLost();

private:
    DataBuffer m_octets;
    std::shared_ptr<const xml::NodeIndex> m_index; // null: octets
    xml::NodeBits m_nodes;
    bool m_ofLoaded = false;
    xml::ElementId m_signature = xml::kNoElement;
    std::string_view m_why = exclusion::kXPath;
    std::unique_ptr<Coverage> m_coverage;
};

// Where a transform stands and what it may use.
struct RecommendedContext {
    const xml::XmlDocument& document; // the loaded one
    xml::ElementId transform;         // the Transform element in it; kNoElement for an implied one
    xml::ElementId signature;         // the one that is verified
    WorkAccount& account;
    xml::WorkBudget& budget;
    CodeSet& standards; // gains the code of each construct beyond the usual ones
};

// Carries out one transform, by its whole identifier. Match, or why it is not carried out:
// UnsupportedTransform, NotCanonicalized or TransformFailed; error lines say more. The data is then
// of no use.
[[nodiscard]] RefReason recommendedTransform(std::string_view algorithm,
                                             const RecommendedContext& context,
                                             RecommendedData& data, LogBase& log);
// Canonical XML 1.0 without comments, where nodes are left at the end (XML Signature 1.1, 4.4.3.2).
[[nodiscard]] RefReason recommendedEnd(const RecommendedContext& context, RecommendedData& data,
                                       LogBase& log);
// Whether the transform of this identifier takes some nodes out and leaves others.
[[nodiscard]] bool selectsNodes(std::string_view algorithm) noexcept;

} // namespace vantrel::dsig

#endif
