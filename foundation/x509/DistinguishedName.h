// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_DISTINGUISHEDNAME_H
#define FOUNDATION_X509_DISTINGUISHEDNAME_H

#include "foundation/text/byte_view.h"

#include <string_view>

namespace vantrel {

class LogBase;
class StringBuffer;
class XString;

// X.500 names as text. Read are RFC 4514 and its predecessors (quoted values, ";" between components,
// "OID." before a dotted type, any white space around separators), and the "/C=XX/CN=name" form. A
// separator that no attribute type follows belongs to the value before it, since many signers write
// values with commas unescaped. Labels are those of RFC 4514, RFC 5280 and common national usage in
// any letter case, or dotted object identifiers.
class DistinguishedName final {
public:
    DistinguishedName() = delete;

    // Appends the value of the first attribute with this label, escapes resolved; false, with `out`
    // unchanged, when the name has none. A null name counts as empty.
    static bool getDnPart(const char* dn, const char* label, StringBuffer& out, LogBase& log);

    // Appends a key that all spellings of one name share: labels unified, escapes resolved, letter
    // case (ASCII) and insignificant white space folded, the attributes of one multi-valued
    // component sorted. The components keep their order. False for text that is no name; then the
    // key is the folded text, so that equal texts still have equal keys.
    static bool toVlCanonHashKey(const char* dn, StringBuffer& out, LogBase& log);

    // `out` := the name without labels and equals signs: the values, joined by ", ".
    static void removeDnTags(const XString& dn, XString& out);

    // Appends the text of a DER Name (header included): RFC 4514 escapes, components parted by ",".
    // `mostSpecificFirst`: the order of RFC 4514, the reverse of the encoding (within a
    // multi-valued component too). False, with `out` unchanged, when it is malformed.
    static bool fromDer(ByteView name, bool mostSpecificFirst, StringBuffer& out);
    // Whether `dn` is what fromDer writes with `mostSpecificFirst` (or, where `eitherOrder`,
    // without), blanks behind the separators aside. Then both have the same key; where it is not
    // so, they may have it all the same: an empty name, and one of 16 attributes and more, is not
    // looked at.
    [[nodiscard]] static bool isSpelledOut(ByteView name, std::string_view dn, bool eitherOrder);
};

} // namespace vantrel

#endif
