// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KEY_VALUES_H
#define DSIG_KEYS_KEY_VALUES_H

#include "dsig/document/document.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

#include <vector>

namespace vantrel::dsig {

// Appends the keys of the first KeyValue of a KeyInfo: RSA, DSA, EC, each that is there. False
// after an error line where one is malformed; those before it stay. True, with nothing appended,
// where there is no KeyValue. The ECDSAKeyValue of RFC 4050 is not looked for.
// One with the text of `last` is that key again; the last one read is left there.
[[nodiscard]] bool readKeyValues(const ClsXml& keyInfo, LastKeyValue& last,
                                 std::vector<Ref<ClsPublicKey>>& keys, LogBase& log);

} // namespace vantrel::dsig

#endif
