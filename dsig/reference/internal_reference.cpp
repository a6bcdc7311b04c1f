// SPDX-License-Identifier: MIT
#include "dsig/reference/internal_reference.h"

#include "dsig/reference/digest_comparison.h"
#include "dsig/reference/digest_input.h"
#include "dsig/reference/hash_sink.h"
#include "dsig/transform/canonicalize_step.h"
#include "dsig/transform/element_space.h"
#include "dsig/transform/nhs_prescription.h"
#include "dsig/transform/profile_steps.h"
#include "dsig/transform/signature_profile.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/canon/fragment_id.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

namespace vantrel::dsig {

namespace {

// Base64 of a digest's hexadecimal text is longer than base64 of the digest by more than this. The
// shortest digest in use has 16 bytes, 24 characters of base64; its hexadecimal text has 44.
constexpr std::uint32_t kHexDigestExcess = 8;

// Some signers write this element self-closing before they digest, and open and close it in the
// document. Only the first one of the text, and only with this prefix.
void closeDigestMethod(StringBuffer& text) {
    text.replaceFirstOccurance("></ds:DigestMethod>", "/>", false);
}

// The digest's lowercase hexadecimal text, as bytes. ZATCA's signers put base64 around the
// hexadecimal text, so that text takes the digest's place.
// `raw` := the digest itself.
void hexDigest(const StringBuffer& text, int hashAlg, DataBuffer& raw, DataBuffer& digest) {
    _vlHash::doHash(text.getString(), text.getSize(), hashAlg, raw);
    StringBuffer hex;
    raw.encodeDB("hex_lower", hex);
    digest.append(hex);
}

// What was digested in fact, for the report. It replaces what describeTarget said: the URI names an
// element, but a transform may have cut the text down further.
void reportCoverage(const Document& document, Coverage coverage, ReferenceResult& result) {
    result.covers = coverage.wholeDocument                ? "document"
                    : coverage.elements.all().size() == 1 ? "element"
                                                          : "elements";
    result.coveredElements = std::move(coverage.elements);
    result.coverageKnown = coverage.known;
    result.excluded = std::move(coverage.excluded);
    if (coverage.wholeDocument || result.excluded.empty()) {
        return;
    }
    // What was cut off with all around it lies outside.
    std::erase_if(result.excluded, [&](const Exclusion& exclusion) {
        const auto covered = result.coveredElements.all();
        return std::none_of(covered.begin(), covered.end(), [&](xml::ElementId element) {
            xml::TextRange range;
            return document.structure->sourceRange(element, range) &&
                   isInside(exclusion.range, range);
        });
    });
}

// One way of computing the digest. Each starts from the document anew, so a failed one leaves
// nothing behind but log lines, the leniencies that it took and its charge to the account.
struct Attempt {
    explicit Attempt(Document& document) : input(document) {}

    DigestInput input;
    StringBuffer calculated; // base64; empty when there is nothing that has a digest
    DataBuffer octets;       // that were digested, where they are wanted
    std::uint64_t octetCount = 0;
    // What was compared is the hexadecimal text of this; empty where it is the digest itself.
    DataBuffer plainDigest;
};

// The check of one internal reference: the attempts at its digest, in their order. The plain digest
// comes first, and each later attempt is tried only when those before did not match. Every attempt
// compares a digest of this document with the signed one, so none can make a wrong digest right;
// the one exception is the option of the caller at the end. Each that helps is noted as a leniency.
class InternalCheck {
public:
    InternalCheck(const ReferenceQuery& query, const DSigReference& reference,
                  const StringBuffer& fragmentId, Rules& rules, ReferenceResult& result,
                  LogBase& log) noexcept
        : m_query(query), m_reference(reference), m_fragmentId(fragmentId), m_rules(rules),
          m_result(result), m_log(log) {}

    RefReason run() {
        Attempt first(*m_query.document);
        const RefReason outcome = compute(first);
        // No other way of digesting helps where the octets could not be made.
        if (outcome != RefReason::Match) {
            return outcome;
        }
        take(first);
        if (matchesInOrderOfRules(first) || matchesByZatcaRules(first) ||
            isHexDigest(first.calculated) || matchesByProfile() || isToleratedMismatch()) {
            return RefReason::Match;
        }
        return RefReason::Mismatch;
    }

private:
    // The digest as it is, or in the second of the faulty attribute orders where the first of them
    // did not help.
    bool matchesInOrderOfRules(const Attempt& first) {
        bool equal = isStoredDigest(first.calculated, m_reference, m_log);
        if (!m_rules.emulatesAttrSort()) {
            return equal;
        }
        bool inSecondOrder = false;
        if (!equal) {
            Attempt second(*m_query.document);
            m_rules.secondAttrOrder = true;
            equal = compute(second) == RefReason::Match &&
                    isStoredDigest(second.calculated, m_reference, m_log);
            // A matter of this attempt: the next reference starts with the first order again.
            m_rules.secondAttrOrder = false;
            if (equal) {
                inSecondOrder = true;
                take(second);
            }
        }
        if (equal) {
            m_log.logText("attributeOrder", inSecondOrder ? "local name" : "prefix, local name");
            m_result.accommodations.add(accommodation::kAttrSortEmulated);
        }
        return equal;
    }

    // Builds the octets and digests them, as they come where nothing has to look at them.
    RefReason compute(Attempt& attempt) {
        const int hashAlg = m_reference.getHashAlg();
        HashSink sink(hashAlg, m_query.document->threads, m_query.document->digestAhead.get());
        // Whoever needs the octets themselves afterwards gets them as a text. What comes from an
        // entity was not there when the loaded text was searched for an authentication block.
        const bool mayHoldLau = m_rules.mayHoldLau || m_query.document->structure->isExpanded();
        const bool streamable = !m_rules.zatca && !mayHoldLau && !m_query.keepOctets;
        const RefReason outcome = build(attempt.input, streamable ? &sink : nullptr, m_log);
        if (outcome != RefReason::Match) {
            return outcome;
        }
        if (attempt.input.text.wasStreamed()) {
            std::array<std::uint8_t, crypto::kMaxDigestSize> room;
            std::array<char, 2 * crypto::kMaxDigestSize> characters;
            const std::string_view digest = text::base64In(sink.finish(room), characters);
            // Mostly it is the stored one, whose text is there.
            if (digest == m_reference.m_digestValue.view()) {
                attempt.calculated = m_reference.m_digestValue;
            } else if (!attempt.calculated.setView(digest)) {
                throw std::bad_alloc();
            }
            attempt.octetCount = sink.size();
        } else {
            DataBuffer digest;
            digestText(attempt, hashAlg, digest);
            digest.encodeDB("base64", attempt.calculated);
        }
        return RefReason::Match;
    }

    RefReason build(DigestInput& input, xml::CanonSink* sink, LogBase& log) {
        return buildDigestInput(m_query, m_reference, m_fragmentId, sink, m_rules, input,
                                m_result.accommodations, log);
    }

    // The digest of octets that were kept as a text. By the ZATCA rules that of SignedProperties is
    // taken from the octets as their signers write them, and in hexadecimal.
    void digestText(Attempt& attempt, int hashAlg, DataBuffer& digest) {
        WorkingText& text = attempt.input.text;
        if (attempt.input.base64Pending) {
            DataBuffer decoded;
            if (!decodeBase64Content(text, decoded, m_result.accommodations, m_log)) {
                return; // no digest: equal to nothing
            }
            _vlHash::doHash(decoded.getData2(), decoded.getSize(), hashAlg, digest);
            takeOctets(decoded.view(), attempt);
            return;
        }
        StringBuffer octets = text.text();
        if (octets.isEmpty()) {
            return; // equal to nothing
        }
        if (m_rules.zatca && octets.containsSubstring("SignedProperties")) {
            m_result.accommodations.add(accommodation::kZatcaRules);
            closeDigestMethod(octets);
            hexDigest(octets, hashAlg, attempt.plainDigest, digest);
        } else {
            _vlHash::doHash(octets.getString(), octets.getSize(), hashAlg, digest);
        }
        takeOctets(asBytes(octets.view()), attempt);
    }

    void takeOctets(ByteView octets, Attempt& attempt) const {
        attempt.octetCount = octets.size();
        if (m_query.keepOctets) {
            attempt.octets.append(octets);
        }
    }

    // The result is what this attempt found.
    void take(Attempt& attempt) { take(attempt, attempt.input.text.takeCoverage()); }
    void take(Attempt& attempt, Coverage coverage) {
        // Of white space alone, decoded, there is a digest.
        if (attempt.octetCount == 0 && !attempt.calculated.isEmpty()) {
            coverage.coverNothing();
        }
        reportCoverage(*m_query.document, std::move(coverage), m_result);
        m_result.octetCount = attempt.octetCount;
        if (attempt.plainDigest.isEmpty()) {
            m_result.computedDigest = attempt.calculated;
        } else {
            m_result.computedDigest.clear();
            attempt.plainDigest.encodeDB("base64", m_result.computedDigest);
        }
        if (m_query.keepOctets) {
            m_result.octets.clear();
            m_result.octets.append(attempt.octets);
        }
    }

    // Documents of the ZATCA rules that are verified without the option are known by the length of
    // the stored digest. The rules then stay on for the rest of the work on this document. They
    // stay on when this retry fails too, and the digest that it found is what the next comparison
    // sees.
    bool matchesByZatcaRules(Attempt& first) {
        if (m_rules.zatca || first.calculated.isEmpty() ||
            first.calculated.getSize() + kHexDigestExcess >= m_reference.m_digestValue.getSize() ||
            !holdsSignedProperties(first)) {
            return false;
        }
        m_log.LogInfo("Retry with ZATCA rules...");
        Attempt retry(*m_query.document);
        WorkingText& text = retry.input.text;
        if (!preprocess(m_fragmentId, text, m_rules, m_result.accommodations, m_log)) {
            return false;
        }
        // The transforms of the reference are not run again: these signers digest the exclusive
        // canonical form of the element, whatever they list.
        const CanonicalizationChoice exclusive{.exclusive = true, .prefixList = {}};
        // A canonicalization that fails leaves the text as it is; the comparison then decides.
        static_cast<void>(canonicalizeStep(exclusive, text, m_fragmentId, nullptr, m_rules,
                                           m_result.accommodations, m_log));
        StringBuffer octets = text.text();
        closeDigestMethod(octets);
        DataBuffer digest;
        hexDigest(octets, m_reference.getHashAlg(), retry.plainDigest, digest);
        digest.encodeDB("base64", retry.calculated);
        m_log.LogDataSb("calculatedDigest2", retry.calculated);
        m_log.LogDataSb("storedRefDigest2", m_reference.m_digestValue);
        m_rules.noAttrSortRetry = true;
        m_rules.zatca = true;
        first.calculated = retry.calculated;
        if (!retry.calculated.equals(m_reference.m_digestValue)) {
            return false;
        }
        m_result.accommodations.add(accommodation::kZatcaAuto);
        takeOctets(asBytes(octets.view()), retry);
        take(retry);
        return true;
    }

    // What was streamed is made once more, as a text. That costs a second pass, but only for a
    // digest that differs and is too long.
    bool holdsSignedProperties(Attempt& first) {
        if (!first.input.text.wasStreamed()) {
            return first.input.text.text().containsSubstring("SignedProperties");
        }
        LogNull quiet(m_log);
        DigestInput again(*m_query.document);
        return build(again, nullptr, quiet) == RefReason::Match &&
               again.text.text().containsSubstring("SignedProperties");
    }

    // Some signers write the digest in hexadecimal. The hexadecimal text stands in DigestValue
    // itself, without base64 around it; letter case does not matter. The test writes its line
    // before it knows the outcome.
    bool isHexDigest(const StringBuffer& calculated) {
        if (!m_reference.m_digestValue.isHexidecimal()) {
            return false;
        }
        m_log.LogError(
            "Checking to see if the signed XML's digest is hex.  Will convert to base64 and re-compare.");
        DataBuffer stored;
        StringBuffer storedBase64;
        if (!stored.appendEncoded(m_reference.m_digestValue.getString(), "hex")) {
            return false;
        }
        stored.encodeDB("base64", storedBase64);
        m_log.LogDataSb("storedRefDigest_base64", storedBase64);
        if (calculated.isEmpty() || !storedBase64.equals(calculated)) {
            return false;
        }
        m_result.accommodations.add(accommodation::kDigestHex);
        return true;
    }

    // What signers of the signature's own profile digest in place of the plain octets.
    bool matchesByProfile() {
        switch (signatureProfile(m_query.selection)) {
        case SignatureProfile::AirPackage: return matchesWithoutSpace();
        case SignatureProfile::NhsPrescription: return matchesPrescription();
        case SignatureProfile::VietnamInvoice:
        case SignatureProfile::None: break;
        }
        return false;
    }

    bool matchesWithoutSpace() {
        Attempt retry(*m_query.document);
        if (build(retry.input, nullptr, m_log) != RefReason::Match || retry.input.base64Pending) {
            return false;
        }
        const StringBuffer octets = withoutElementSpace(retry.input.text.text().view());
        return matchesOctets(octets, retry.input.text.takeCoverage(), accommodation::kProfileSpace);
    }

    // A reference without a URI: what it means is the application's to say.
    bool matchesPrescription() {
        StringBuffer octets;
        Coverage coverage;
        return m_reference.m_uriOmitted != 0 &&
               derivePrescription(*m_query.document, m_query.selection.element(), octets, coverage,
                                  m_log) &&
               matchesOctets(octets, std::move(coverage), accommodation::kProfileDerived);
    }

    bool matchesOctets(const StringBuffer& octets, Coverage coverage, std::string_view leniency) {
        Attempt made(*m_query.document);
        DataBuffer digest;
        _vlHash::doHash(octets.getString(), octets.getSize(), m_reference.getHashAlg(), digest);
        digest.encodeDB("base64", made.calculated);
        if (!isStoredDigest(made.calculated, m_reference, m_log)) {
            return false;
        }
        m_result.accommodations.add(leniency);
        takeOctets(asBytes(octets.view()), made);
        take(made, std::move(coverage));
        return true;
    }

    // The caller's own wish, for finding out what else is wrong with a document. Nothing in a
    // document can switch it on, and the report always says that it was used.
    bool isToleratedMismatch() {
        if (!m_log.options().containsSubstring("AllowXmlDigestError")) {
            return false;
        }
        m_result.accommodations.add(accommodation::kDigestTolerated);
        return true;
    }

    const ReferenceQuery& m_query;
    const DSigReference& m_reference;
    const StringBuffer& m_fragmentId;
    Rules& m_rules;
    ReferenceResult& m_result;
    LogBase& m_log;
};

} // namespace

void describeTarget(const Document& document, const StringBuffer& fragmentId,
                    ReferenceResult& result) {
    xml::ElementId element = xml::kNoElement;
    const xml::FragmentTarget target =
        xml::resolveFragment(*document.structure, fragmentId.view(), element);
    if (target == xml::FragmentTarget::Document) {
        result.covers = "document";
        return;
    }
    // An element that is not there, or not the only one, has neither name nor path.
    result.covers = "element";
    if (target == xml::FragmentTarget::Element) {
        result.coveredElements.assign({&element, 1});
    }
}

void checkInternalReference(const ReferenceQuery& query, const DSigReference& reference,
                            const StringBuffer& fragmentId, Rules& rules, ReferenceResult& result,
                            LogBase& log) {
    const LogContextExitor context(log, "verifyInternalReference");
    describeTarget(*query.document, fragmentId, result);
    result.reason = InternalCheck(query, reference, fragmentId, rules, result, log).run();
}

} // namespace vantrel::dsig
