// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_CERTIFICATE_PATH_H
#define FOUNDATION_CMS_CERTIFICATE_PATH_H

#include <cstdint>
#include <string>

namespace vantrel {

class VantrelX509;

namespace cms {

class CertificateSource;

// Whether a time-stamp authority may be believed: whether `certificate` leads to the store of
// `source` at `time` (seconds since 1970) with the purpose of time-stamping, by the rules for all
// certification paths (x509/path). The store's certificates are the anchors; those of the message
// may lie on the way. Revocation is not looked at. On failure `whyNot` says why, and of which
// certificate. May throw std::bad_alloc.
[[nodiscard]] bool leadsToStore(const VantrelX509& certificate, const CertificateSource& source,
                                std::int64_t time, std::string& whyNot);

} // namespace cms
} // namespace vantrel

#endif
