// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_JOIN_URI_H
#define FOUNDATION_XML_CANON_JOIN_URI_H

#include <string>
#include <string_view>

namespace vantrel::xml {

// The function join-URI-References of Canonical XML 1.1, 2.4: RFC 3986, 5.2 for a base that may be
// relative itself. Leading "../" stay, slashes in a row become one, a last segment ".." becomes
// "../", a fragment is dropped.
[[nodiscard]] std::string joinUriReferences(std::string_view base, std::string_view reference);

} // namespace vantrel::xml

#endif
