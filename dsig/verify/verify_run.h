#ifndef DSIG_VERIFY_VERIFY_RUN_H
#define DSIG_VERIFY_VERIFY_RUN_H

#include "dsig/document/key_account.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/verify/signed_octets.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/arrays.h"
#include "foundation/xml/locate/XmlSigLocate.h"

#include <cstdint>

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
    ExtPtrArrayRc keys;
    KeyAccount* account = nullptr; // of the document's key operations, with its limit
    std::uint64_t mostKeyOperations = 0;
    bool verified = false;
    bool wrongKey = false; // the key tried last was not the signer's
};

// The line of the log for that, which is no error line.
inline constexpr const char* kWrongKeyLine = "Not the correct key.";

// Tries the candidate keys of the run's key type in turn, or the HMAC key, and sets `verified`. A
// key that is there twice is checked once; a check that the account does not allow ends the search.
// Returns the index of the key that verified, -1 when there is none. `endedEarly`: the verification
// is over at once, without a summary.
int tryKeys(VerifyRun& run, LogBase& log, bool& endedEarly);
bool tryHmac(VerifyRun& run, const DataBuffer& key, LogBase& log);

} // namespace vantrel::dsig

#endif
