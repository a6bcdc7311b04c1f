// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_TST_INFO_H
#define FOUNDATION_CMS_TST_INFO_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string_view>

namespace vantrel::cms {

// The content of a time-stamp token: who hashed what, and when that was shown to the authority.

// What a time-stamp authority signs (RFC 3161 2.4.2). Views point into the parsed bytes.
struct TstInfo {
    ByteView policy;                  // contents of the object identifier
    ByteView hashAlgorithm;           // the imprint's AlgorithmIdentifier, with header
    int hashId = 0;                   // the same as an identifier of hash_ids.h; 0 when unknown
    ByteView imprint;                 // the hash that was time-stamped
    ByteView serialNumber;            // contents of the INTEGER
    std::int64_t genTime = 0;         // seconds since 1970; the fraction is cut off
    ByteView genTimeText;             // as it stands in the token, with its fraction
    std::int64_t accuracyMicros = -1; // -1 when not given
    bool ordering = false;
    bool hasNonce = false;
    ByteView nonce; // contents of the INTEGER
    ByteView tsa;   // GeneralName, with its header; empty when absent
};

// Reads a TSTInfo of version 1, the only one there is. Nothing may be left over. On failure `out`
// is unchanged and `whyNot`, a text of static lifetime, says what is wrong; an imprint that has not
// the size of its algorithm is wrong too. An algorithm that is not known is no fault here: nothing
// was compared yet.
[[nodiscard]] bool parseTstInfo(ByteView der, TstInfo& out, std::string_view& whyNot);

} // namespace vantrel::cms

#endif
