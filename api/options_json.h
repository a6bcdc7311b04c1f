#ifndef API_OPTIONS_JSON_H
#define API_OPTIONS_JSON_H

#include "api/result.h"
#include "api/verify_options.h"

#include <string_view>

namespace vantrel {

/// Options written as a JSON object, for other languages and for files of settings: the long
/// options of `xmldsig verify` in camelCase, such as {"id": "sig1", "key": ["-----BEGIN PUBLIC
/// KEY-----..."]}. docs/api.md lists them. Options that may be repeated take one value or a list.
/// Keys and certificates are PEM text, base64 of DER, or {"file": "NAME"}. An empty text stands for
/// no options. The error names the option that is not known, or what it takes.
[[nodiscard]] Result<VerifyOptions> optionsFromJson(std::string_view json);

} // namespace vantrel

#endif
