// The digest of a reference into the loaded document: its transforms, the implied ones, the
// comparison, and the known ways in which signers compute digests otherwise.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/loaded_structure.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/digest_input.h"
#include "dsig/reference/hash_sink.h"
#include "dsig/transform/profile_markers.h"
#include "dsig/transform/working_text.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/text/encoders.h"

namespace vantrel {

namespace {

constexpr int kReasonMatch = 0;
constexpr int kReasonMismatch = 1;

// Base64 of a digest's hexadecimal text is longer than base64 of the digest by more than this.
constexpr std::uint32_t kHexDigestExcess = 8;

// Some signers write this element self-closing before they digest, and open and close it in the
// document.
void closeDigestMethod(StringBuffer& text) {
    text.replaceFirstOccurance("></ds:DigestMethod>", "/>", false);
}

// The digest's lowercase hexadecimal text, as bytes.
void hexDigest(const StringBuffer& text, int hashAlg, DataBuffer& digest) {
    DataBuffer raw;
    _vlHash::doHash(text.getString(), text.getSize(), hashAlg, raw);
    StringBuffer hex;
    raw.encodeDB("hex_lower", hex);
    digest.append(hex);
}

} // namespace

bool ClsXmlDSig::verifyInternalReference(int index, StringBuffer& fragmentId, DSigReference& ref,
                                         LogBase& log) {
    const LogContextExitor context(log, "verifyInternalReference");
    dsig::ReferenceReport& report = m_report.reference(index);
    m_accommodations = &report.accommodations;
    describeCoverage(fragmentId, report);
    const bool ok = compareInternalDigest(fragmentId, ref, report, log);
    m_accommodations = nullptr;
    return ok;
}

bool ClsXmlDSig::compareInternalDigest(const StringBuffer& fragmentId, DSigReference& ref,
                                       dsig::ReferenceReport& report, LogBase& log) {
    dsig::DigestInput input(structure().document, structure().account);
    StringBuffer calculated;
    m_secondAttrOrder = false;
    if (!computeDigest(fragmentId, ref, input, calculated, log)) {
        return false;
    }
    reportCoverage(input.text.coverage(), report);
    bool equal = isStoredDigest(calculated, ref, "calculatedDigest", log);
    const bool emulating = m_duplicateAttrSortBug || m_alwaysDuplicateAttrSortBug;
    if (!equal && emulating) {
        m_secondAttrOrder = true;
        dsig::DigestInput secondInput(structure().document, structure().account);
        StringBuffer secondCalculated;
        equal = computeDigest(fragmentId, ref, secondInput, secondCalculated, log) &&
                isStoredDigest(secondCalculated, ref, "calculatedDigest", log);
        if (equal) {
            reportCoverage(secondInput.text.coverage(), report);
        }
    }
    if (equal && emulating) {
        log.logText("attributeOrder", m_secondAttrOrder ? "local name" : "prefix, local name");
        report.accommodations.add(dsig::accommodation::kAttrSortEmulated);
    }
    m_secondAttrOrder = false;

    equal = equal || retryWithZatcaRules(fragmentId, ref, input, calculated, report, log) ||
            isHexDigest(calculated, ref, log) || isToleratedMismatch(log);
    m_refFailReason = equal ? kReasonMatch : kReasonMismatch;
    return equal;
}

bool ClsXmlDSig::computeDigest(const StringBuffer& fragmentId, const DSigReference& ref,
                               dsig::DigestInput& input, StringBuffer& calculated, LogBase& log) {
    dsig::HashSink sink(ref.getHashAlg());
    // Whoever needs the octets themselves afterwards gets them as a text.
    // What comes from an entity was not there when the text was searched for such a block.
    const bool mayHoldLau = m_mayHoldLau || structure().document->isExpanded();
    const bool streamable = !m_zatcaRules && !mayHoldLau && m_digestInputCopy == nullptr;
    if (!buildDigestInput(fragmentId, ref, streamable ? &sink : nullptr, input, log)) {
        return false;
    }
    DataBuffer digest;
    if (input.text.wasStreamed()) {
        sink.finish(digest);
    } else {
        digestText(ref, input, digest, log);
    }
    calculated.clear();
    digest.encodeDB("base64", calculated);
    return true;
}

void ClsXmlDSig::digestText(const DSigReference& ref, dsig::DigestInput& input, DataBuffer& digest,
                            LogBase& log) {
    const int hashAlg = ref.getHashAlg();
    if (input.base64Pending) {
        DataBuffer decoded;
        if (!base64Transform(input.text, decoded, log)) {
            return; // no digest: equal to nothing
        }
        keepDigestInput(decoded.view());
        _vlHash::doHash(decoded.getData2(), decoded.getSize(), hashAlg, digest);
        return;
    }
    if (input.text.text().isEmpty()) {
        return; // equal to nothing
    }
    if (m_zatcaRules && input.text.text().containsSubstring("SignedProperties")) {
        dsig::noteAccommodation(m_accommodations, dsig::accommodation::kZatcaRules);
        StringBuffer text = input.text.text();
        closeDigestMethod(text);
        keepDigestInput(asBytes(text.view()));
        hexDigest(text, hashAlg, digest);
        return;
    }
    const StringBuffer& text = input.text.text();
    keepDigestInput(asBytes(text.view()));
    _vlHash::doHash(text.getString(), text.getSize(), hashAlg, digest);
}

bool ClsXmlDSig::isStoredDigest(const StringBuffer& calculated, const DSigReference& ref,
                                const char* key, LogBase& log) {
    log.LogDataSb(key, calculated);
    log.LogDataSb("storedRefDigest", ref.m_digestValue);
    return !calculated.isEmpty() && calculated.equals(ref.m_digestValue);
}

// Documents of the ZATCA rules that are verified without the option are known by the length of the
// stored digest. The rules then stay on for the rest of the work on this document.
bool ClsXmlDSig::retryWithZatcaRules(const StringBuffer& fragmentId, const DSigReference& ref,
                                     dsig::DigestInput& input, StringBuffer& calculated,
                                     dsig::ReferenceReport& report, LogBase& log) {
    if (m_zatcaRules || calculated.isEmpty() ||
        calculated.getSize() + kHexDigestExcess >= ref.m_digestValue.getSize()) {
        return false;
    }
    if (input.text.wasStreamed()) {
        LogNull quiet(log);
        input = dsig::DigestInput(structure().document, structure().account);
        if (!buildDigestInput(fragmentId, ref, nullptr, input, quiet)) {
            return false;
        }
    }
    if (!input.text.text().containsSubstring("SignedProperties")) {
        return false;
    }
    log.LogInfo("Retry with ZATCA rules...");
    dsig::WorkingText text(structure().document, structure().account);
    if (!preprocessWorkingText(fragmentId, text, log)) {
        return false;
    }
    const StringBuffer algorithm("xml-exc-c14n");
    // A canonicalization that fails leaves the text as it is; the comparison then decides.
    static_cast<void>(canonicalizeWorkingText(nullptr, text, algorithm, fragmentId, nullptr, log));
    StringBuffer octets = text.text();
    closeDigestMethod(octets);
    DataBuffer digest;
    hexDigest(octets, ref.getHashAlg(), digest);
    calculated.clear();
    digest.encodeDB("base64", calculated);
    log.LogDataSb("calculatedDigest2", calculated);
    log.LogDataSb("storedRefDigest2", ref.m_digestValue);
    m_noAttrSortRetry = true;
    m_zatcaRules = true;
    if (!calculated.equals(ref.m_digestValue)) {
        return false;
    }
    dsig::noteAccommodation(m_accommodations, dsig::accommodation::kZatcaAuto);
    reportCoverage(text.coverage(), report);
    keepDigestInput(asBytes(octets.view()));
    return true;
}

// Some signers write the digest in hexadecimal.
bool ClsXmlDSig::isHexDigest(const StringBuffer& calculated, const DSigReference& ref,
                             LogBase& log) {
    if (!ref.m_digestValue.isHexidecimal()) {
        return false;
    }
    log.LogError(
        "Checking to see if the signed XML's digest is hex.  Will convert to base64 and re-compare.");
    DataBuffer stored;
    StringBuffer storedBase64;
    if (!stored.appendEncoded(ref.m_digestValue.getString(), "hex")) {
        return false;
    }
    stored.encodeDB("base64", storedBase64);
    log.LogDataSb("storedRefDigest_base64", storedBase64);
    if (calculated.isEmpty() || !storedBase64.equals(calculated)) {
        return false;
    }
    dsig::noteAccommodation(m_accommodations, dsig::accommodation::kDigestHex);
    return true;
}

bool ClsXmlDSig::isToleratedMismatch(const LogBase& log) const {
    if (!log.options().containsSubstring("AllowXmlDigestError")) {
        return false;
    }
    dsig::noteAccommodation(m_accommodations, dsig::accommodation::kDigestTolerated);
    return true;
}

} // namespace vantrel
