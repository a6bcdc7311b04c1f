// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_EXTERNAL_NAME_H
#define DSIG_REFERENCE_EXTERNAL_NAME_H

#include <string>
#include <string_view>

namespace vantrel::dsig {

// Without escapes, "%20" being the octet 20 (RFC 3986, 2.1). A "%" without two digits stays.
[[nodiscard]] std::string percentDecoded(std::string_view uri);

// The name below a folder, or in a package, that an external URI means: a "/" in front stands for
// the folder itself, and escapes are resolved, so that a name may come out that leads elsewhere:
// whoever opens it looks at the name, not at the URI.
[[nodiscard]] std::string nameOfUri(std::string_view uri);

} // namespace vantrel::dsig

#endif
