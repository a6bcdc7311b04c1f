// SPDX-License-Identifier: MIT
#ifndef API_FOREIGN_BYTES_H
#define API_FOREIGN_BYTES_H

#include "api/result.h"
#include "foundation/text/DataBuffer.h"

#include <string_view>

// Bytes that are something else than was asked for, and what they are: files of keys and
// certificates are easily taken for each other.
namespace vantrel::api {

// Why there is no certificate in them; `otherwise` where nothing better is known.
[[nodiscard]] Error notACertificate(std::string_view bytes, std::string_view otherwise);
// Why there is no revocation list in them.
[[nodiscard]] Error notARevocationList(std::string_view bytes);

// What the bytes are as DER, where they are base64 of it; else false, as for PEM and for DER
// itself.
[[nodiscard]] bool decodeDer(std::string_view bytes, DataBuffer& der);

} // namespace vantrel::api

#endif
