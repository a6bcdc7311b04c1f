// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_OTHER_KEYS_H
#define DSIG_EXPLAIN_OTHER_KEYS_H

#include "dsig/explain/value_goal.h"
#include "dsig/keys/key_query.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <vector>

namespace vantrel::dsig::explain {

// The keys that may have made a signature value, each once. A document may carry the certificates
// of an authority, of a time-stamp and of an earlier signer beside that of its own; KeyInfo that
// names the wrong one is a common mistake of signers.
struct KeyCollection {
    std::vector<Ref<ClsPublicKey>> owned;
    // In the order in which they are to be tried.
    std::vector<TriedKey> tried; // borrowed from `owned`

    // False when an equal key is there already. The key is taken over where it is added, and
    // released where it is not.
    bool add(Ref<ClsPublicKey> key, Deviation deviation);
};

// First those that a verification tries, then all others that the document holds or the caller
// gave, as far as their number stays small. Finding that another key made the value does not make
// that key trusted: the report says whose it is, and the caller decides.
[[nodiscard]] KeyCollection collectKeys(const KeyQuery& query);

} // namespace vantrel::dsig::explain

#endif
