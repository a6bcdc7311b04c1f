// SPDX-License-Identifier: MIT
#ifndef API_SIGNATURE_INFO_H
#define API_SIGNATURE_INFO_H

#include "api/verify_result.h"

#include <string>
#include <vector>

namespace vantrel {

/// What a reference says of itself.
struct ReferenceInfo {
    std::string uri; ///< as written
    bool external = false;
    std::vector<std::string> transforms; ///< their identifiers, in order
    std::string digestMethod;
    std::string digestValue; ///< as stored
};

/// What a signature says of itself, nothing verified: none of it may be relied on.
struct SignatureInfo {
    int index = 0;
    std::string id;
    std::string path;
    std::string profile;
    std::string signatureMethod;
    std::string canonicalizationMethod;
    std::vector<ReferenceInfo> references;
    std::vector<KeyResult> keys; ///< that KeyInfo yields
    bool timestamp = false;      ///< whether an encapsulated time-stamp is there
    std::string json;            ///< the same as a JSON object, as `xmldsig info --json` writes it
};

} // namespace vantrel

#endif
