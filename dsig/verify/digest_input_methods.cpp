// The very octets that a verification hashes, for whoever wants to see them.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/verify/verify_run.h"
#include "foundation/log/ClsBinData.h"
#include "foundation/log/MethodFrame.h"

#include <new>

namespace vantrel {

bool ClsXmlDSig::DigestInput(int index, ClsBinData& out) {
    MethodFrame frame(*this, "DigestInput");
    frame.begin();
    try {
        beginReport();
        logOptionsAndSetZatca(m_log);
        ExtPtrArraySb dirs;
        splitRefDirs(dirs);
        DataBuffer octets;
        m_digestInputCopy = &octets;
        bool externalMissing = false;
        const bool matched = verifyReferenceDigest(index, externalMissing, dirs, m_log);
        m_digestInputCopy = nullptr;
        m_report.valid = matched;
        finishReport();
        return frame.finish(!octets.isEmpty() && out.data().append(octets));
    } catch (const std::bad_alloc&) {
        m_digestInputCopy = nullptr;
        return frame.outOfMemory();
    }
}

// The octets of the attempt that matched, else those of the last one.
void ClsXmlDSig::keepDigestInput(ByteView octets) {
    if (m_digestInputCopy != nullptr) {
        m_digestInputCopy->clear();
        m_digestInputCopy->append(octets);
    }
}

bool ClsXmlDSig::SignedInfoOctets(ClsBinData& out) {
    MethodFrame frame(*this, "SignedInfoOctets");
    frame.begin();
    try {
        logOptionsAndSetZatca(m_log);
        dsig::VerifyRun run;
        selectedSignatureId(run.signatureId, m_log);
        return frame.finish(parseFirstReference(run.firstReference, m_log) &&
                            locateSelectedSignature(run.signatureId,
                                                    run.firstReference.m_digestValue, run.locator,
                                                    m_log) &&
                            canonicalizeSignedInfo(run, m_log) &&
                            out.data().append(asBytes(run.canonicalSignedInfo.view())));
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

} // namespace vantrel
