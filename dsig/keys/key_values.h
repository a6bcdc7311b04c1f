#ifndef DSIG_KEYS_KEY_VALUES_H
#define DSIG_KEYS_KEY_VALUES_H

#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

#include <vector>

namespace vantrel::dsig {

// Appends the keys of the first KeyValue of a KeyInfo: RSA, DSA, EC, each that is there. False
// after an error line where one is malformed; those before it stay. True, with nothing appended,
// where there is no KeyValue. The ECDSAKeyValue of RFC 4050 is not looked for.
[[nodiscard]] bool readKeyValues(const ClsXml& keyInfo, std::vector<Ref<ClsPublicKey>>& keys,
                                 LogBase& log);

} // namespace vantrel::dsig

#endif
