// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_SECURITY_TOKENS_H
#define DSIG_KEYS_SECURITY_TOKENS_H

#include "foundation/text/StringBuffer.h"

#include <string_view>

namespace vantrel {

class ClsXml;
class LogBase;

namespace dsig {

// A wsse:Reference to a BinarySecurityToken of the same document. Its members mean something only
// after readTokenReference returned true: then the URI has its '#'.
struct TokenReference {
    StringBuffer uri; // with its leading '#'
    StringBuffer valueType;

    [[nodiscard]] std::string_view id() const { return uri.view().substr(1); }
    [[nodiscard]] bool isPkiPath() const { return valueType.containsSubstring("X509PKIPathv1"); }
};

// False, with an error line, for a reference that is not to an X.509 token of this document.
[[nodiscard]] bool readTokenReference(const ClsXml& reference, TokenReference& target,
                                      LogBase& log);

// The line that says that the document has no token that would do.
void logNoToken(LogBase& log);

// `content`, the base64 of a PKI path, becomes the base64 of its last certificate. False after an
// error line, `content` unchanged, for anything else.
[[nodiscard]] bool takeLastOfPkiPath(StringBuffer& content, LogBase& log);

} // namespace dsig
} // namespace vantrel

#endif
