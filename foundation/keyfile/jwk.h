// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_KEYFILE_JWK_H
#define FOUNDATION_KEYFILE_JWK_H

#include "foundation/keyfile/key_file.h"

namespace vantrel::keyfile {

// Appends the keys of a JWK or of a JWK set (RFC 7517; parameters of RFC 7518, 6.2 and 6.3, curve
// secp256k1 of RFC 8812). False, with `keys` unchanged and `fault` filled, when there is none. Of a
// set, keys that cannot be used are passed over beside one that can. May throw std::bad_alloc.
[[nodiscard]] bool loadJwk(std::string_view json, std::vector<Ref<ClsPublicKey>>& keys,
                           KeyFileFault& fault);

} // namespace vantrel::keyfile

#endif
