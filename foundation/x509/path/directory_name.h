// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_DIRECTORY_NAME_H
#define FOUNDATION_X509_PATH_DIRECTORY_NAME_H

#include "foundation/text/byte_view.h"

#include <string>
#include <string_view>

namespace vantrel::x509 {

// Distinguished names as certification paths compare them (RFC 5280 7.1): string types do not
// matter, values are compared as RFC 4518 prepares them (name_preparation.h says how much of it:
// letter case, white space, composed letters), and the attributes of one component are a set. A
// name becomes a key: bytes that are equal when the names are, and that begin with the key of every
// name whose subtree the name lies in. TeletexString and values that their own type does not allow
// are compared as they are encoded. (For finding certificates whose names documents spell freely
// there is name_match.h.) (This is not the order or spelling in which names are shown to people:
// see subjectText in path_report.h.)

// Appends the key of a Name (header included). False, with `key` unchanged, when it is malformed:
// such a name equals nothing, not even itself. An empty name has an empty key. Keys hold lengths
// and octets of any value; they are no text and are not for reports.
[[nodiscard]] bool appendNameKey(ByteView name, std::string& key);

// Appends the part of a key that one RelativeDistinguishedName (the contents of its SET) makes.
// False when it is malformed or empty; `key` is then unchanged.
[[nodiscard]] bool appendComponentKey(ByteView setContents, std::string& key);

// Whether a name lies in the subtree of another, both given by their keys (RFC 5280 4.2.1.10). A
// base with an empty key holds every name: the constraint "any directory name".
[[nodiscard]] inline bool isWithinSubtree(std::string_view key, std::string_view base) noexcept {
    return key.substr(0, base.size()) == base;
}

} // namespace vantrel::x509

#endif
