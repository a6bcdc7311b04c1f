#ifndef DSIG_KEYS_KEY_SOURCES_H
#define DSIG_KEYS_KEY_SOURCES_H

#include <string_view>

// Where a candidate key came from, as reports name it.
namespace vantrel::dsig::keysource {

inline constexpr std::string_view kKeyValue = "KeyValue";
inline constexpr std::string_view kCertificate = "X509Certificate";
inline constexpr std::string_view kIssuerSerial = "X509IssuerSerial";
inline constexpr std::string_view kSubjectName = "X509SubjectName";
inline constexpr std::string_view kSubjectKeyId = "X509SKI";
inline constexpr std::string_view kKeyIdentifier = "KeyIdentifier";
inline constexpr std::string_view kSecurityToken = "BinarySecurityToken";
inline constexpr std::string_view kExplicit = "explicit";

} // namespace vantrel::dsig::keysource

#endif
