#ifndef DSIG_KEYS_KEY_SOURCES_H
#define DSIG_KEYS_KEY_SOURCES_H

#include <string_view>

namespace vantrel::dsig {

// Where a candidate key came from.
struct KeySource {
    std::string_view name; // as reports name it
    bool inDocument;       // the key itself stands in the document, whoever put it there
};

namespace keysource {

inline constexpr KeySource kKeyValue{"KeyValue", true};
inline constexpr KeySource kCertificate{"X509Certificate", true};
inline constexpr KeySource kIssuerSerial{"X509IssuerSerial", false};
inline constexpr KeySource kSubjectName{"X509SubjectName", false};
inline constexpr KeySource kSubjectKeyId{"X509SKI", false};
inline constexpr KeySource kKeyIdentifier{"KeyIdentifier", false};
inline constexpr KeySource kKeyIdentifierCertificate{"KeyIdentifier", true};
inline constexpr KeySource kSecurityToken{"BinarySecurityToken", true};
inline constexpr KeySource kExplicit{"explicit", false};

} // namespace keysource
} // namespace vantrel::dsig

#endif
