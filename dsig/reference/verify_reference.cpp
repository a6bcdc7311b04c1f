// The digest of one reference: dispatch on its URI, and the retry with another attribute order.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/loaded_structure.h"
#include "dsig/reference/DSigReference.h"
#include "foundation/log/LogContextExitor.h"
#include "foundation/log/MethodFrame.h"
#include "foundation/xml/tree/ClsXml.h"

#include <new>

namespace vantrel {

namespace {

constexpr int kReasonMismatch = 1;
constexpr int kReasonNoReference = 3;
constexpr int kReasonOther = 99;

} // namespace

bool ClsXmlDSig::VerifyReferenceDigest(int index) {
    MethodFrame frame(*this, "VerifyReferenceDigest");
    frame.begin();
    try {
        beginReport();
        logOptionsAndSetZatca(m_log);
        ExtPtrArraySb dirs;
        splitRefDirs(dirs);
        bool externalMissing = false;
        const bool ok = verifyReferenceDigest(index, externalMissing, dirs, m_log);
        m_report.valid = ok;
        finishReport();
        return frame.finish(ok);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

void ClsXmlDSig::logOptionsAndSetZatca(LogBase& log) {
    log.LogDataSb("uncommonOptions", m_log.options());
    setZatcaFromOptions(m_log.options(), log);
}

bool ClsXmlDSig::verifyReferenceDigest(int index, bool& externalMissing, ExtPtrArraySb& dirs,
                                       LogBase& log) {
    const LogContextExitor context(log, "verifyReferenceDigest");
    const bool ok = verifyReferenceDigest2(index, externalMissing, dirs, log) ||
                    retryReferenceDigest(index, externalMissing, dirs, log);
    if (!ok && selectedSignature() != nullptr) {
        structure().account.noteFailedReference();
    }
    dsig::ReferenceReport& report = m_report.reference(index);
    report.checked = true;
    report.matched = ok;
    report.reason = m_refFailReason;
    report.dataMissing = externalMissing;
    return ok;
}

bool ClsXmlDSig::retryReferenceDigest(int index, bool& externalMissing, ExtPtrArraySb& dirs,
                                      LogBase& log) {
    log.LogDataLong("invalidDigestReason", m_refFailReason);
    if (m_refFailReason != kReasonMismatch || !structure().account.takeRetry(log)) {
        return false;
    }
    if (m_duplicateAttrSortBug) {
        log.LogInfo(
            "Retry without duplication of common XML canonicalization attribute sorting bug...");
        m_duplicateAttrSortBug = false;
        return verifyReferenceDigest2(index, externalMissing, dirs, log);
    }
    if (m_noAttrSortRetry) {
        return false;
    }
    log.LogInfo("Retry with duplication of common XML canonicalization attribute sorting bug...");
    m_duplicateAttrSortBug = true;
    if (!verifyReferenceDigest2(index, externalMissing, dirs, log)) {
        return false;
    }
    log.LogInfo("This signature was produced by software having the attribute sorting bug.");
    return true;
}

bool ClsXmlDSig::verifyReferenceDigest2(int index, bool& externalMissing, ExtPtrArraySb& dirs,
                                        LogBase& log) {
    const LogContextExitor context(log, "verifyReferenceDigest_inner");
    externalMissing = false;
    m_refFailReason = kReasonOther;
    StringBuffer signatureId;
    selectedSignatureId(signatureId, log);
    log.LogDataSb("selectedSignatureId", signatureId);
    log.LogDataLong("index", index);

    dsig::ReferenceReport& report = m_report.reference(index);
    const Ref<ClsXml> element = Ref<ClsXml>::adopt(getReference(index, log));
    if (!element) {
        log.LogError("No Reference at index");
        m_refFailReason = kReasonNoReference;
        return false;
    }
    DSigReference ref;
    ref.parseReference(*element, log);
    report.describe(ref.m_uri, ref.m_digestMethod);
    if (!ref.digestMethodIsKnown()) {
        report.accommodations.add(dsig::accommodation::kDigestUnknownSha1);
    }

    StringBuffer uri = ref.m_uri;
    uri.trim2();
    if (uri.beginsWith("#")) {
        uri.removeChunk(0, 1);
        log.LogDataSb("sameDocumentUri", uri);
        return verifyInternalReference(index, uri, ref, log);
    }
    if (uri.isEmpty()) {
        if (!m_cmaStpDocument) {
            log.LogInfo("URI is the entire XML document.");
        }
        return verifyInternalReference(index, uri, ref, log);
    }
    return verifyExternalReference(uri, index, ref, externalMissing, dirs, log);
}

} // namespace vantrel
