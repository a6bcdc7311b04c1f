// SPDX-License-Identifier: MIT
// The digest of a reference to a part of a package. Without transforms the part is streamed into
// the hash, so that its size does not matter to memory; with them it is held as a whole, within a
// limit. A part is digested as it is stored: unlike references into the document, nothing is
// implied (XML Signature 1.1, 4.4.3.2: octets stay octets).

#include "dsig/document/child_elements.h"
#include "dsig/document/standards.h"
#include "dsig/package/package.h"
#include "dsig/package/relationships.h"
#include "dsig/reference/check_reference.h"
#include "dsig/reference/digest_comparison.h"
#include "dsig/reference/transform_list.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/zip/zip_reader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace vantrel::dsig {

namespace {

// ECMA-376, part 2, 13.2.4.24: over the octets of a part. `isWhole` becomes false where it leaves
// relationships out.
RefReason keepRelationships(const ClsXml& transform, RecommendedData& data, bool& isWhole,
                            LogBase& log) {
    // Behind a transform that made nodes of the part it has nothing to work on.
    if (data.isNodes()) {
        log.LogError("The relationship transform is not the first of its list.");
        return RefReason::TransformFailed;
    }
    DataBuffer kept;
    bool allKept = false;
    const RefReason outcome = transformRelationships(transform, data.octets(), kept, allKept, log);
    isWhole = isWhole && allKept;
    data.becomeOctets(std::move(kept));
    return outcome;
}

} // namespace

RefReason Package::digestWhole(const zip::ZipMember& member, int hashAlg, ReferenceResult& result,
                               bool keepOctets, DataBuffer& digest, LogBase& log) {
    result.found.edit().isWhole = true;
    // Whoever searches in them would not search in more; what is not kept costs no memory.
    keepOctets = keepOctets && member.size <= m_limits.packageXmlOctets;
    Digest& kept = m_digests[{indexOf(member), hashAlg}];
    if (kept.digest.isEmpty() || keepOctets) {
        zip::ZipReader reader(m_archive, member);
        crypto::Hasher hasher(hashAlg);
        ByteView piece;
        do {
            if (!reader.next(piece)) {
                log.LogError("A part of the package is damaged.");
                log.logText("partFault", reader.fault());
                return RefReason::ExternalUnreadable;
            }
            hasher.update(piece);
            if (keepOctets && !result.octets.append(piece)) {
                return RefReason::ExternalUnreadable;
            }
        } while (!piece.empty());
        std::array<std::uint8_t, crypto::kMaxDigestSize> bytes{};
        kept.digest = DataBuffer(ByteView(hasher.final(bytes)));
        kept.octets = member.size;
    }
    result.octetCount = kept.octets;
    digest = kept.digest;
    return RefReason::Match;
}

// The part is held as a whole, and the work on it is charged to the account of the signature's
// document: unlike a plain digest, each of these is computed anew.
RefReason Package::digestTransformed(const ReferenceQuery& query, const DSigReference& reference,
                                     const zip::ZipMember& member, ReferenceResult& result,
                                     DataBuffer& digest, LogBase& log) {
    WorkAccount& account = query.document->account;
    const std::vector<ListedTransform> list =
        transformsOf(*query.document->structure, reference.m_element);
    if (!account.takeOctets(member.size, log)) {
        return RefReason::LimitPassed;
    }
    DataBuffer octets;
    std::string fault;
    if (!readXml(indexOf(member), octets, fault)) {
        log.LogError("A part of the package cannot be transformed.");
        log.logText("partFault", fault);
        return RefReason::ExternalUnreadable;
    }
    // What an expression leaves of a part is not told: the part then does not count as covered.
    bool isWhole = std::ranges::all_of(
        list, [](const ListedTransform& one) { return !selectsNodes(one.algorithm); });
    RecommendedData data(std::move(octets));
    const OwnTransform own = [&](const ListedTransform& transform,
                                 RecommendedData& before) -> std::optional<RefReason> {
        // What this way reads beyond the usual rules, the caller may not want.
        if (selectsNodes(transform.algorithm) && !standardsApply(log)) {
            return RefReason::UnsupportedTransform;
        }
        // The whole identifier: nothing that only resembles it has these rules.
        if (transform.algorithm != kRelationshipTransform) {
            return std::nullopt;
        }
        const Ref<ClsXml> element = handleOn(*query.selection.signature, transform.element);
        return keepRelationships(*element, before, isWhole, log);
    };
    xml::WorkBudget budget(account.stepsLeft());
    CodeSet standards;
    const RefReason outcome = runTransforms(query, list, own, budget, data, standards, log);
    result.found.edit().isWhole = isWhole;
    if (outcome != RefReason::Match) {
        return outcome;
    }
    if (!standards.codes().empty()) {
        result.standards = std::move(standards);
    }
    result.octetCount = data.octets().getSize();
    _vlHash::doHash(data.octets().getData2(), data.octets().getSize(), reference.getHashAlg(),
                    digest);
    if (query.keepOctets) {
        result.octets = data.octets();
    }
    return RefReason::Match;
}

void Package::check(const ReferenceQuery& query, const DSigReference& reference,
                    const StringBuffer& uri, ReferenceResult& result, LogBase& log) {
    const LogContextExitor context(log, "verifyPartReference");
    result.covers = "external";
    result.found.edit().isPart = true;
    // What the package lacks is not looked for anywhere else, least of all on the disk.
    const zip::ZipMember* member = nullptr;
    const bool isOfType = resolve(uri.view(), member, log);
    if (member == nullptr) {
        log.LogError("The package has no such part.");
        result.reason = RefReason::ExternalMissing;
        result.dataMissing = true;
        return;
    }
    result.found.edit().name = member->name;
    result.found.edit().part = indexOf(*member);
    if (!isOfType) {
        log.LogError("The part has another content type than the one that was signed.");
        result.reason = RefReason::OtherContentType;
        return;
    }
    DataBuffer digest;
    result.reason =
        reference.m_transforms.isEmpty()
            ? digestWhole(*member, reference.getHashAlg(), result, query.keepOctets, digest, log)
            : digestTransformed(query, reference, *member, result, digest, log);
    if (result.reason != RefReason::Match) {
        return;
    }
    compareDigest(digest, reference, result, log);
}

} // namespace vantrel::dsig
