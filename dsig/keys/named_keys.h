// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_NAMED_KEYS_H
#define DSIG_KEYS_NAMED_KEYS_H

#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace vantrel {

class ClsXml;

namespace dsig {

// The caller's keys by the names under which signers refer to them; several may have one name, and
// are in the order in which they were given. None is null.
using NamedKeys = std::map<std::string, std::vector<Ref<ClsPublicKey>>, std::less<>>;

// The names of the KeyName elements of a KeyInfo (XML Signature 4.5.1), each once. White space is
// significant there, but signers break lines; so a name counts as it is written and trimmed.
[[nodiscard]] std::set<std::string> keyNames(const ClsXml& keyInfo);

} // namespace dsig
} // namespace vantrel

#endif
