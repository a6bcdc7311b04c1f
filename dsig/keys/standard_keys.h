// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_STANDARD_KEYS_H
#define DSIG_KEYS_STANDARD_KEYS_H

#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/key_query.h"
#include "foundation/text/LogBase.h"

#include <span>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// The keys of a KeyInfo in the further forms of the recommendations: DEREncodedKeyValue, X509Digest
// (looked up in the caller's store and in the document) and KeyInfoReference of XML Signature 1.1,
// ECDSAKeyValue of RFC 4050, RetrievalMethod within the document. They come behind all others, and
// are only asked for where those have not verified the value. What cannot be used is passed over.
// `before` are the usual candidates, those of the caller among them. No key of the result is null;
// it outlives the query.
[[nodiscard]] std::vector<CandidateKey> standardKeys(const KeyQuery& query,
                                                     std::span<const CandidateKey> before,
                                                     LogBase& log);

// The code (standards.h) of a key's source; empty for the usual ones.
[[nodiscard]] std::string_view standardOfSource(std::string_view source);

} // namespace vantrel::dsig

#endif
