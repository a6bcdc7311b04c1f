// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_FINGERPRINT_H
#define DSIG_DOCUMENT_FINGERPRINT_H

#include "foundation/text/byte_view.h"

#include <string>

namespace vantrel::dsig {

// The lower-case hexadecimal SHA-256 of the octets: how reports name files, keys and certificates.
[[nodiscard]] std::string sha256Text(ByteView octets);

} // namespace vantrel::dsig

#endif
