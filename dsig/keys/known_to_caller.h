#ifndef DSIG_KEYS_KNOWN_TO_CALLER_H
#define DSIG_KEYS_KNOWN_TO_CALLER_H

#include "foundation/text/byte_view.h"

namespace vantrel {

class SystemCerts;
class VantrelX509;
class _vlPublicKey;

// What a document carries and the caller handed over as well does not rest on the document alone.
namespace dsig {

// A number of the key in which different keys hardly ever agree; a view into it.
[[nodiscard]] ByteView distinctiveNumber(const _vlPublicKey& key) noexcept;
[[nodiscard]] bool isSameKey(const _vlPublicKey& one, const _vlPublicKey& other) noexcept;
// Whether the store (may be null) holds this very certificate.
[[nodiscard]] bool storeHolds(SystemCerts* store, const VantrelX509& cert);

} // namespace dsig
} // namespace vantrel

#endif
