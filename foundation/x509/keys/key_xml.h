// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_KEYS_KEY_XML_H
#define FOUNDATION_X509_KEYS_KEY_XML_H

#include <string_view>

namespace vantrel {

class _vlPublicKey;

namespace x509 {

// Loads a public key from one element: an RSAKeyValue or DSAKeyValue (XML Signature 1.0, 4.4.2), an
// ECKeyValue with a named curve or explicit parameters that equal those of a known curve (XML
// Signature 1.1, 4.5.2.3), or an ECDSAKeyValue (RFC 4050), also inside an ECKeyValue. KeyInfo and
// KeyValue elements around it are allowed; prefixes need not be declared. On failure the key is
// left empty and `whyNot` is a short text of static lifetime. May throw std::bad_alloc.
[[nodiscard]] bool loadKeyXml(std::string_view xml, _vlPublicKey& key, std::string_view& whyNot);

} // namespace x509

} // namespace vantrel

#endif
