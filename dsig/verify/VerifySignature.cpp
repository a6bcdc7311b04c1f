// The verification of the selected signature: the steps in their order.

#include "dsig/document/document.h"
#include "dsig/document/locate_signature.h"
#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/key_report.h"
#include "dsig/keys/key_sources.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/verify/reference_pass.h"
#include "dsig/verify/report_steps.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/try_keys.h"
#include "dsig/verify/verify_run.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

bool ClsXmlDSig::VerifySignature(bool verifyReferenceDigests) {
    return MethodFrame::run(*this, "VerifySignature", [&](MethodFrame& frame) {
        beginReport();
        if (!verifyReferenceDigests) {
            m_state->report.accommodations.add(dsig::accommodation::kReferencesUnchecked);
            if (document() != nullptr) {
                dsig::describeUncheckedReferences(*document(), selection(), m_state->report);
            }
        }
        bool summarise = false;
        m_state->report.valid = verifySelected(verifyReferenceDigests, summarise, m_log);
        finishReport();
        return summarise ? frame.finish(m_state->report.valid)
                         : frame.result(m_state->report.valid);
    });
}

// `summarise`: the outcome is to be recorded as the method's success or failure; a verification
// that ends before a signature value is looked at leaves no such record.
bool ClsXmlDSig::verifySelected(bool verifyReferenceDigests, bool& summarise, LogBase& log) {
    keepRules(logRulesByOptions(log));
    log.LogDataLong("verifyReferenceDigests", verifyReferenceDigests ? 1 : 0);
    log.LogDataLong("selector", m_selector);
    if (m_signatures.getSize() == 0) {
        log.LogError("There are no signatures.");
        return false;
    }
    dsig::VerifyRun run;
    selectedSignatureId(run.signatureId, log);
    log.LogDataSb("SignatureId", run.signatureId);
    if (get_NumReferences() == 0) {
        log.LogError("There are no references.");
        return false;
    }
    if (verifyReferenceDigests) {
        dsig::Rules inForce = rules();
        const dsig::Selection selected = selection();
        const dsig::ReferencePassQuery query{document(), selected, &m_externalData,
                                             m_externalRefDirs, m_ignoreExternalRefs};
        const bool allCount = dsig::checkAllReferences(query, inForce, m_state->report, log);
        keepRules(inForce);
        m_refFailReason = dsig::publicCode(m_state->report.references.back().reason);
        if (!allCount) {
            summarise = true;
            return false;
        }
    }
    if (!parseFirstReference(run.firstReference, log)) {
        return false;
    }
    if (!dsig::locateSelectedSignature(selection(), run.firstReference.m_digestValue, run.locator,
                                       log) ||
        !timeStampPass(run, log) || !canonicalizeSignedInfo(run, log) ||
        !readSignatureValue(run, log) || !hashSignedInfo(run, log) || !gatherKeys(run, log)) {
        return false;
    }
    verifyValue(run, summarise, log);
    return run.verified;
}

bool ClsXmlDSig::parseFirstReference(DSigReference& first, LogBase& log) {
    const Ref<ClsXml> reference = Ref<ClsXml>::adopt(getReference(0, log));
    if (!reference) {
        log.LogError("No Reference at index 0");
        return false;
    }
    return first.parseReference(*reference, log);
}

bool ClsXmlDSig::canonicalizeSignedInfo(dsig::VerifyRun& run, LogBase& log) {
    if (!dsig::makeSignedOctets(structure(), selection(), rules(), run.locator, run.firstReference,
                                run.signedOctets, m_state->report.accommodations, log)) {
        return false;
    }
    if (run.signedOctets.isInvoiceHash()) {
        for (dsig::ReferenceReport& reference : m_state->report.references) {
            reference.isSigned = reference.index == 0;
        }
    }
    return true;
}

bool ClsXmlDSig::readSignatureValue(dsig::VerifyRun& run, LogBase& log) {
    if (!getSignatureValue(run.signatureText, log)) {
        log.LogError("Unable to find the SignatureValue element.");
        return false;
    }
    if (!ContentCoding::decodeBase64ToDb(run.signatureText.getString(), run.signatureText.getSize(),
                                         run.signature)) {
        log.LogError("Failed to decode base64 SignatureValue.");
        return false;
    }
    return true;
}

bool ClsXmlDSig::hashSignedInfo(dsig::VerifyRun& run, LogBase& log) {
    if (!getSignedInfoField("SignatureMethod", "Algorithm", run.signatureMethod, log)) {
        log.LogError("Unable to location the SignatureMethod algorithm within the SignedInfo.");
        return false;
    }
    log.LogDataSb("SignatureMethod", run.signatureMethod);
    run.hashAlg = signatureMethodToHashAlg(run.signatureMethod, log);
    if (run.hashAlg < 0) {
        log.LogError("Hash algorithm not implemented yet by Vantrel.");
        return false;
    }
    run.keyType = signatureMethodToKeyType(run.signatureMethod, log);
    if (run.keyType < 0) {
        log.LogError("Key type not implemented yet by Vantrel.");
        return false;
    }
    // A method that names no digest leaves the hash empty, and an empty hash verifies under no key.
    if (run.hashAlg == kHashNone) {
        return true;
    }
    const ByteView octets = run.signedOctets.octets();
    _vlHash::doHash(octets.data(), static_cast<std::uint32_t>(octets.size()), run.hashAlg,
                    run.hash);
    return true;
}

bool ClsXmlDSig::gatherKeys(dsig::VerifyRun& run, LogBase& log) {
    if (run.keyType == kKeyTypeHmac) {
        if (m_hmacKey.isEmpty()) {
            log.LogError("No HMAC key available to verify signature.");
            return false;
        }
        return true;
    }
    run.keys = dsig::candidateKeys(keyQuery(false), m_state->report.accommodations, log);
    m_state->report.keys = dsig::describeKeys(run.keys);
    if (run.keys.empty()) {
        log.LogError("No public key available to verify signature.");
        return false;
    }
    return true;
}

void ClsXmlDSig::verifyValue(dsig::VerifyRun& run, bool& summarise, LogBase& log) {
    summarise = true;
    if (run.keyType == kKeyTypeHmac) {
        run.verified =
            dsig::tryHmac(run.signedOctets.text, m_hmacKey, run.hashAlg, run.signatureText, log);
        reportHmacKey(run.verified);
        return;
    }
    dsig::KeyAccount& account = structure().keyAccount;
    account.begin(m_selector);
    const dsig::ValueOutcome outcome =
        dsig::tryKeys({run.signatureMethod, run.keyType, run.hashAlg, run.signedOctets, run.hash,
                       run.signature, account, m_state->limits.keyOperations},
                      run.keys, log);
    run.verified = outcome.verified;
    summarise = !outcome.endedEarly;
    if (outcome.wrongKey && !outcome.limitPassed) {
        m_state->report.reason = dsig::kWrongKeyLine;
    }
    if (outcome.usedIndex >= 0) {
        m_state->report.keys[static_cast<std::size_t>(outcome.usedIndex)].used = true;
    }
}

void ClsXmlDSig::reportHmacKey(bool used) {
    dsig::KeyReport key;
    key.source = dsig::keysource::kExplicit.name;
    key.type = "HMAC";
    key.bits = static_cast<int>(m_hmacKey.getSize()) * 8;
    key.used = used;
    m_state->report.keys = {key};
}

} // namespace vantrel
