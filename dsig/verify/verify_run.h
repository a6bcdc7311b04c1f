#ifndef DSIG_VERIFY_VERIFY_RUN_H
#define DSIG_VERIFY_VERIFY_RUN_H

#include "dsig/keys/candidate_keys.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/verify/signed_octets.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/locate/XmlSigLocate.h"

#include <vector>

namespace vantrel::dsig {

// The working values of one verification of one signature.
struct VerifyRun {
    StringBuffer signatureId;
    DSigReference firstReference;
    XmlSigLocate locator; // where the Signature and its SignedInfo stand in the document
    SignedOctets signedOctets;
    StringBuffer signatureText;
    DataBuffer signature;
    StringBuffer signatureMethod;
    int hashAlg = 0;
    int keyType = 0;
    DataBuffer hash; // empty when the method names no digest
    std::vector<CandidateKey> keys;
    bool verified = false;
};

} // namespace vantrel::dsig

#endif
