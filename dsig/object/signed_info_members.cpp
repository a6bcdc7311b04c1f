// SPDX-License-Identifier: MIT
// The verifier's members that read the selected signature.

#include "dsig/document/signed_info.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/MethodFrame.h"

namespace vantrel {

// A snapshot: the steps work on the signature that was selected when the operation began.
dsig::Selection ClsXmlDSig::selection() {
    dsig::Selection selection;
    selection.index = m_selector;
    selection.signature = selectedSignature();
    if (selection.signature != nullptr) {
        selection.id = structure().idOf(*selection.signature);
    }
    return selection;
}

ClsXml* ClsXmlDSig::getReference(int index, LogBase& log) {
    return dsig::referenceElement(document(), selection(), index, log).release();
}

// The lock may be taken again by the thread that holds it: SignedInfoOctets asks here as well.
int ClsXmlDSig::get_NumReferences() {
    const CritSecExitor lock(m_critSec);
    const ClsXml* const signature = selectedSignature();
    return signature != nullptr ? dsig::numReferences(*signature) : 0;
}

int ClsXmlDSig::numReferences(const ClsXml& signature, LogBase& /*log*/) const {
    return dsig::numReferences(signature);
}

bool ClsXmlDSig::getSignedInfoField(const char* childName, const char* attrName, StringBuffer& out,
                                    LogBase& log) {
    return dsig::signedInfoField(selectedSignature(), childName, attrName, out, log);
}

bool ClsXmlDSig::getSignatureMethod(StringBuffer& outAlgorithm, LogBase& log) {
    return getSignedInfoField("SignatureMethod", "Algorithm", outAlgorithm, log);
}

bool ClsXmlDSig::getCanonicalizationMethod(StringBuffer& outAlgorithm, StringBuffer& outPrefixList,
                                           LogBase& log) {
    return dsig::canonicalizationMethod(selectedSignature(), outAlgorithm, outPrefixList, log);
}

bool ClsXmlDSig::getSignatureValue(StringBuffer& outBase64, LogBase& log) {
    return dsig::signatureValue(selectedSignature(), outBase64, log);
}

bool ClsXmlDSig::getReferenceUri(int index, StringBuffer& outUri, LogBase& log) {
    outUri.clear();
    const Ref<ClsXml> reference = Ref<ClsXml>::adopt(getReference(index, log));
    if (!reference) {
        return false;
    }
    // No URI and an empty one read alike here; DescribeSignature tells them apart.
    reference->getAttrValue("URI", outUri);
    return true;
}

bool ClsXmlDSig::ReferenceUri(int index, XString& outUri) {
    return MethodFrame::run(*this, "ReferenceUri", [&](MethodFrame& /*frame*/) {
        outUri.clear();
        return getReferenceUri(index, outUri.getUtf8Sb_rw(), m_log);
    });
}

bool ClsXmlDSig::IsReferenceExternal(int index) {
    return MethodFrame::run(*this, "IsReferenceExternal", [&](MethodFrame& /*frame*/) {
        StringBuffer uri;
        return getReferenceUri(index, uri, m_log) && !uri.isEmpty() && !uri.beginsWith("#");
    });
}

} // namespace vantrel
