// SPDX-License-Identifier: MIT
// The digest of a reference to a part of a package. Without transforms the part is streamed into
// the hash, so that its size does not matter to memory; with them it is held as a whole, within a
// limit. A part is digested as it is stored: unlike references into the document, nothing is
// implied (XML Signature 1.1, 4.4.3.2: octets stay octets).

#include "dsig/document/child_elements.h"
#include "dsig/package/package.h"
#include "dsig/package/part_xml.h"
#include "dsig/package/relationships.h"
#include "dsig/reference/check_reference.h"
#include "dsig/reference/digest_comparison.h"
#include "dsig/reference/hash_sink.h"
#include "dsig/transform/canonicalization_method.h"
#include "dsig/transform/canonicalize_step.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/encoders.h"
#include "foundation/zip/zip_reader.h"

#include <array>

namespace vantrel::dsig {

namespace {

// The chain of transforms over the octets of a part (XML Signature 1.1, 4.4.3.2). Only those that
// signers of packages use; any other ends it.
class PartTransforms {
public:
    PartTransforms(const ReferenceQuery& query, DataBuffer& octets, ReferenceResult& result,
                   LogBase& log)
        : m_query(query), m_octets(octets), m_result(result), m_log(log) {}

    RefReason run(const ClsXml& transforms) {
        m_result.found.edit().isWhole = true;
        for (const xml::ElementId child : childElements(transforms)) {
            const Ref<ClsXml> transform = handleOn(transforms, child);
            const RefReason outcome = runOne(*transform);
            if (outcome != RefReason::Match) {
                return outcome;
            }
        }
        return RefReason::Match;
    }

private:
    RefReason runOne(const ClsXml& transform) {
        StringBuffer algorithm;
        transform.getAttrValue("Algorithm", algorithm);
        m_log.LogDataSb("transformAlgorithm", algorithm);
        // The whole identifier: nothing that only resembles it has these rules.
        if (algorithm.view() == kRelationshipTransform) {
            DataBuffer kept;
            bool isWhole = false;
            const RefReason outcome =
                transformRelationships(transform, m_octets, kept, isWhole, m_log);
            m_result.found.edit().isWhole = m_result.found->isWhole && isWhole;
            m_octets = kept;
            return outcome;
        }
        if (namesInclusive(algorithm) || namesExclusive(algorithm)) {
            return canonicalize(transform, algorithm);
        }
        if (algorithm.containsSubstring("xmldsig#base64")) {
            return decode();
        }
        m_log.LogError("The transform is none that is carried out on parts of a package.");
        return RefReason::UnsupportedTransform;
    }

    // Parsed anew for each: an XML part is small beside what is digested plainly.
    RefReason canonicalize(const ClsXml& transform, const StringBuffer& algorithm) {
        const Ref<ClsXml> root = parsePart(m_octets, m_log);
        if (!root) {
            return RefReason::NotCanonicalized;
        }
        WorkingText text(root->document(), m_query.document->account);
        const RefReason outcome =
            canonicalizeStep(&transform, text, algorithm, StringBuffer(), nullptr, Rules(),
                             m_result.accommodations, m_log);
        if (outcome == RefReason::Match) {
            m_octets = DataBuffer(asBytes(text.text().view()));
        }
        return outcome;
    }

    // Strict, as base64 in documents is.
    RefReason decode() {
        DataBuffer decoded;
        if (!ContentCoding::decodeBase64ToDb(asText(m_octets.view()).data(), m_octets.getSize(),
                                             decoded)) {
            return RefReason::TransformFailed;
        }
        m_octets = decoded;
        return RefReason::Match;
    }

    const ReferenceQuery& m_query;
    DataBuffer& m_octets;
    ReferenceResult& m_result;
    LogBase& m_log;
};

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
    const ClsXml* const transforms = query.document->parsedTransforms(reference.m_transforms, log);
    if (transforms == nullptr) {
        return RefReason::Other;
    }
    if (!account.takeTransforms(childElements(*transforms).size(), log) ||
        !account.takeOctets(member.size, log)) {
        return RefReason::LimitPassed;
    }
    DataBuffer octets;
    std::string fault;
    if (!readXml(indexOf(member), octets, fault)) {
        log.LogError("A part of the package cannot be transformed.");
        log.logText("partFault", fault);
        return RefReason::ExternalUnreadable;
    }
    const RefReason outcome = PartTransforms(query, octets, result, log).run(*transforms);
    if (outcome != RefReason::Match) {
        return outcome;
    }
    result.octetCount = octets.getSize();
    _vlHash::doHash(octets.getData2(), octets.getSize(), reference.getHashAlg(), digest);
    if (query.keepOctets) {
        result.octets = octets;
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
    digest.encodeDB("base64", result.computedDigest);
    const bool equal = isStoredDigest(result.computedDigest, reference, log);
    result.reason = equal ? RefReason::Match : RefReason::Mismatch;
}

} // namespace vantrel::dsig
