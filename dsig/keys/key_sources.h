// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KEY_SOURCES_H
#define DSIG_KEYS_KEY_SOURCES_H

#include <string_view>

namespace vantrel::dsig {

// Where a candidate key came from. The constants below are all there are.
struct KeySource {
    std::string_view name; // as reports name it
    bool inDocument;       // the key itself stands in the document, whoever put it there
};

namespace keysource {

// Carried by the document, which whoever changes it can exchange for his own.
inline constexpr KeySource kKeyValue{"KeyValue", true};
inline constexpr KeySource kCertificate{"X509Certificate", true};
// The further forms of XML Signature 1.1 and RFC 4050, and what another part of the document holds.
inline constexpr KeySource kDerEncodedKeyValue{"DEREncodedKeyValue", true};
inline constexpr KeySource kEcdsaKeyValue{"ECDSAKeyValue", true};
inline constexpr KeySource kRetrievalMethod{"RetrievalMethod", true};
inline constexpr KeySource kKeyInfoReference{"KeyInfoReference", true};
// Named by the document: the certificate is one of the caller's store.
inline constexpr KeySource kIssuerSerial{"X509IssuerSerial", false};
inline constexpr KeySource kSubjectName{"X509SubjectName", false};
inline constexpr KeySource kSubjectKeyId{"X509SKI", false};
// The last of them may name one that the document carries as well.
inline constexpr KeySource kX509Digest{"X509Digest", false};
inline constexpr KeySource kX509DigestOfCarried{"X509Digest", true};
inline constexpr KeySource kKeyName{"KeyName", false};
// WS-Security: an identifier that names a certificate of the store, and one that is a certificate
// itself. Reports give both the name of the element.
inline constexpr KeySource kKeyIdentifier{"KeyIdentifier", false};
inline constexpr KeySource kKeyIdentifierCertificate{"KeyIdentifier", true};
// A wsse:BinarySecurityToken, anywhere in the document.
inline constexpr KeySource kSecurityToken{"BinarySecurityToken", true};
// Handed over by the caller, the secret key of an HMAC included.
inline constexpr KeySource kExplicit{"explicit", false};

} // namespace keysource
} // namespace vantrel::dsig

#endif
