// SPDX-License-Identifier: MIT
#ifndef TESTS_DSIG_TEST_ACCESS_H
#define TESTS_DSIG_TEST_ACCESS_H

#include "dsig/object/ClsXmlDSig.h"

namespace vantrel {

// The verifier's own members, for tests: the names stand for pointers to them.
struct ClsXmlDSigTestAccess {
    static dsig::Document& structure(ClsXmlDSig& verifier) { return verifier.structure(); }

    static constexpr auto selectedSignatureId = &ClsXmlDSig::selectedSignatureId;
    static constexpr auto canonicalizationMethod = &ClsXmlDSig::getCanonicalizationMethod;
    static constexpr auto signatureMethod = &ClsXmlDSig::getSignatureMethod;
    static constexpr auto signatureValue = &ClsXmlDSig::getSignatureValue;
    static constexpr auto checkSetZatca = &ClsXmlDSig::checkSetZatca;
    static constexpr auto zatcaRules = &ClsXmlDSig::m_zatcaRules;
    static constexpr auto verifyReferenceDigest = &ClsXmlDSig::verifyReferenceDigest;
    static constexpr auto verifyReferenceDigest2 = &ClsXmlDSig::verifyReferenceDigest2;
    static constexpr auto verifyInternalReference = &ClsXmlDSig::verifyInternalReference;
    static constexpr auto transformEnveloped = &ClsXmlDSig::transformEnvelopedSignature;
    static constexpr auto removeFollowing = &ClsXmlDSig::removeSignatureAndFollowingSigs;
    static constexpr auto publicKeyFromKeyInfo = &ClsXmlDSig::publicKeyFromKeyInfo;
    static constexpr auto keyByIssuer = &ClsXmlDSig::getPublicKeyByIssuerNameAndSerial;
    static constexpr auto keyBySubject = &ClsXmlDSig::getPublicKeyBySubjectName;
    static constexpr auto keyBySki = &ClsXmlDSig::getPublicKeyBySKI;
    static constexpr auto certByIssuer = &ClsXmlDSig::getCertByIssuerNameAndSerial;
    static constexpr auto certBySubject = &ClsXmlDSig::getCertBySubjectName;
    static constexpr auto certBySki = &ClsXmlDSig::getCertBySKI;
    static constexpr auto processCert = &ClsXmlDSig::processCertBase64;
    static constexpr auto checkTimestamp = &ClsXmlDSig::verifyEncapsulatedTimeStamp;
};

} // namespace vantrel

#endif
