#ifndef FOUNDATION_CMS_CERTIFICATE_PATH_H
#define FOUNDATION_CMS_CERTIFICATE_PATH_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel {

class LogBase;
class VantrelX509;

namespace cms {

class CertificateSource;

// Whether a time-stamp authority may be believed: the way from its certificate up to the store.

// Most issuers between a certificate and the one of the store, and most issuers tried in all. Each
// try may cost a signature verification with a key that the message brought along; certificates
// that share a name could otherwise be combined into any number of ways.
inline constexpr std::size_t kMaxPathLength = 10;
inline constexpr std::size_t kMaxIssuersTried = 40;

// Whether `certificate` leads to the store of `source`: it is in the store itself, or its signature
// was made by an authority that is, or by one whose own certificate does so in turn (RFC 5280 6.1).
// Every certificate must be valid at `time` (seconds since 1970) and have no critical extension
// that is not understood; every issuer must be an authority that may sign certificates, with no
// more authorities below it than it allows. Revocation, policies and name constraints are not
// looked at (the last make a path fail where they are critical). On failure `whyNot` is a text of
// static lifetime. May throw std::bad_alloc.
[[nodiscard]] bool leadsToStore(const VantrelX509& certificate, const CertificateSource& source,
                                std::int64_t time, std::string_view& whyNot, LogBase& log);

} // namespace cms
} // namespace vantrel

#endif
