// SPDX-License-Identifier: MIT
#ifndef API_READ_REPORT_H
#define API_READ_REPORT_H

#include "api/signature_info.h"
#include "api/verify_result.h"

#include <string>

// Values from the JSON objects that the verifier writes. Both say the same, since one is made from
// the other. What is not there keeps its default. False when the text is no JSON object, as when
// memory ran out.
namespace vantrel::api {

// `json` becomes a member of the result.
[[nodiscard]] bool readSignature(std::string json, SignatureResult& result);
[[nodiscard]] bool readDescription(std::string json, SignatureInfo& info);

} // namespace vantrel::api

#endif
