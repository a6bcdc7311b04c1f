// SPDX-License-Identifier: MIT
#include "foundation/cms/names.h"

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/oids.h"

namespace vantrel::cms {

namespace {

// The key by which the store finds names, so that message and store are compared alike.
bool canonicalKey(ByteView name, StringBuffer& key) {
    LogNull quiet;
    StringBuffer text;
    return DistinguishedName::fromDer(name, true, text) &&
           DistinguishedName::toVlCanonHashKey(text.getString(), key, quiet);
}

} // namespace

bool sameName(ByteView a, ByteView b) {
    if (x509::sameBytes(a, b)) {
        return true;
    }
    StringBuffer keyA;
    StringBuffer keyB;
    return canonicalKey(a, keyA) && canonicalKey(b, keyB) && keyA.equals(keyB);
}

} // namespace vantrel::cms
