// SPDX-License-Identifier: MIT
#ifndef API_TRUST_DATA_H
#define API_TRUST_DATA_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/path/path_material.h"

#include <memory>
#include <vector>

// What TrustAnchors and RevocationLists hold. Apart from these, since their users need nothing of
// it. The views and pointers belong to the material, which policies keep alive on their own.
namespace vantrel::api {

struct AnchorData {
    std::shared_ptr<const x509::PathMaterial> owner;
    std::vector<const VantrelX509*> certificates;
};

struct RevocationData {
    std::shared_ptr<const x509::PathMaterial> owner;
    std::vector<ByteView> lists; // CertificateLists in DER
};

} // namespace vantrel::api

#endif
