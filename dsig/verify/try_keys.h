// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_TRY_KEYS_H
#define DSIG_VERIFY_TRY_KEYS_H

#include "dsig/document/document.h"
#include "dsig/document/key_account.h"
#include "dsig/keys/candidate_keys.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/signed_octets.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::dsig {

// The line of the log for a key that is not the signer's, which is no error line.
inline constexpr const char* kWrongKeyLine = "Not the correct key.";

// A signature value, and what it is checked against. Everything in it is borrowed. The hash and the
// type of key are those that the method names, so nothing in a key can change them.
struct ValueQuery {
    const SignatureMethod& method;
    const SignedOctets& signedOctets;
    const DataBuffer& hash; // of them; empty when the method names no digest
    const DataBuffer& signature;
    KeyAccount& account; // begun for the signature
    // The limit of that account, for all signatures of the document together.
    std::uint64_t mostKeyOperations;
    ByteView context = {}; // EdDSA, ML-DSA
    // RSA: whose signature it is, by its index, where values may be worked out together; else null.
    Document* document = nullptr;
    int index = 0;
};

// What became of the search. Only `verified` says that the value is right; the rest is for the
// report and the log.
struct ValueOutcome {
    bool verified = false;
    int usedIndex = -1;       // of the candidate that verified; -1 for none
    bool wrongKey = false;    // the key tried last was not the signer's
    bool anyChecked = false;  // there was a key of the method's type
    bool rightKey = false;    // RSA: a key that made the value, over other octets
    bool endedEarly = false;  // the verification is over at once, without a summary
    bool limitPassed = false; // the account did not allow a check that was needed
};

// Tries the candidates in turn that are keys of the method's type. A key that is there twice is
// checked once; a check that the account does not allow ends the search.
[[nodiscard]] ValueOutcome tryKeys(const ValueQuery& query, std::span<const CandidateKey> keys,
                                   LogBase& log);

// Whether the MAC of `text` under a secret key is the one given, in base64. The whole MAC is
// compared, as text: a truncated one (HMACOutputLength) does not verify, and neither does one with
// white space inside.
[[nodiscard]] bool tryHmac(const StringBuffer& text, const DataBuffer& key, int hashAlg,
                           const StringBuffer& given, LogBase& log);
// The same as XML Signature 1.1, 6.3.1, has it: with white space inside the value, and cut to the
// first `outputLength` bits where the method says so (HMACOutputLength, 0 for none): whole octets,
// at least 80 bits and at least half the hash. `given` is the decoded value.
[[nodiscard]] bool tryStandardHmac(const StringBuffer& text, const DataBuffer& key, int hashAlg,
                                   std::size_t outputLength, ByteView given, LogBase& log);

} // namespace vantrel::dsig

#endif
