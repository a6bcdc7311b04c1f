// SPDX-License-Identifier: MIT
#ifndef API_OPTIONS_JSON_H
#define API_OPTIONS_JSON_H

#include "api/result.h"
#include "api/verify_options.h"

#include <string_view>

namespace vantrel {

/// Options written as a JSON object, for other languages, for requests and for files of settings:
/// the long options of `xmldsig verify` in camelCase, such as {"id": "sig1", "key": ["-----BEGIN
/// PUBLIC KEY-----..."]}. docs/api.md lists them. Options that may be repeated take one value or a
/// list. Keys, certificates, anchors and revocation lists are PEM text, base64 of DER, or {"file":
/// "NAME"}. An empty text stands for no options.
///
/// An option that is named takes the place of the one in `defaults`, a list as a whole; null, false
/// and an empty list take it back. The error names the option that is not known, that stands twice
/// or has no effect, or what it takes. It never has the value of a key or a secret.
[[nodiscard]] Result<VerifyOptions> optionsFromJson(std::string_view json,
                                                    const VerifyOptions& defaults = {});

} // namespace vantrel

#endif
