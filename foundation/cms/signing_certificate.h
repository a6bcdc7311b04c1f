// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_SIGNING_CERTIFICATE_H
#define FOUNDATION_CMS_SIGNING_CERTIFICATE_H

#include "foundation/text/byte_view.h"

namespace vantrel {

class VantrelX509;

namespace cms {

// The signing-certificate attributes (RFC 5035): a signer says by the hash of his certificate
// which one he means, under his own signature. The first certificate in the list is the signer's;
// those behind it, which may restrict the path, are not looked at.

// Whether the first certificate that a signing-certificate attribute names is `certificate`: by its
// hash and, where the attribute gives them, by issuer and serial number. `attribute` is the
// attribute's value, with header. False also when it is malformed or its hash is not known.
[[nodiscard]] bool namesCertificate(ByteView attribute, const VantrelX509& certificate);   // SHA-1
[[nodiscard]] bool namesCertificateV2(ByteView attribute, const VantrelX509& certificate); // any

} // namespace cms
} // namespace vantrel

#endif
