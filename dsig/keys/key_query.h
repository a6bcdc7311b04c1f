// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KEY_QUERY_H
#define DSIG_KEYS_KEY_QUERY_H

#include "dsig/document/document.h"
#include "dsig/document/selection.h"
#include "dsig/keys/named_keys.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <span>

namespace vantrel::dsig {

// The signature whose keys or certificates are wanted, and where they may come from. Everything in
// it is borrowed. A query serves one operation: the next call of the caller's may select another
// signature or set other keys.
struct KeyQuery {
    Document* document = nullptr; // null when no signature is selected
    Selection selection;
    int numSignatures = 0;        // of the document
    SystemCerts* store = nullptr; // where certificates are looked up by name; null for none

    // Keys that the caller handed over, null for none: for the signature's index, and for all
    // in their order.
    ClsPublicKey* keyOfSignature = nullptr;
    std::span<const Ref<ClsPublicKey>> keysForAll;
    // Of these only the keys that KeyInfo names; null for none.
    const NamedKeys* namedKeys = nullptr;
    bool keyInfoOnly = false; // they are not asked for
    // They alone are candidates: KeyInfo is not looked at. Without effect beside keyInfoOnly.
    bool callerKeysOnly = false;
};

} // namespace vantrel::dsig

#endif
