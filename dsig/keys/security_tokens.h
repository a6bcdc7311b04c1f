#ifndef DSIG_KEYS_SECURITY_TOKENS_H
#define DSIG_KEYS_SECURITY_TOKENS_H

#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"

namespace vantrel {

class ClsXml;
class LogBase;

namespace dsig {

// A wsse:Reference to a BinarySecurityToken of the same document.
struct TokenReference {
    StringBuffer uri; // with its leading '#'
    StringBuffer valueType;

    [[nodiscard]] const char* id() const { return uri.getString() + 1; }
    [[nodiscard]] bool isPkiPath() const { return valueType.containsSubstring("X509PKIPathv1"); }
};

// False, with an error line, for a reference that is not to an X.509 token of this document.
[[nodiscard]] bool readTokenReference(const ClsXml& reference, TokenReference& target,
                                      LogBase& log);

// Tokens of the whole document; null when there is none.
[[nodiscard]] Ref<ClsXml> findTokenById(ClsXml& root, const char* id);
[[nodiscard]] Ref<ClsXml> findAnyToken(ClsXml& root);
[[nodiscard]] Ref<ClsXml> findX509Token(ClsXml& root);

void logTokenSearch(LogBase& log);
void logNoToken(LogBase& log);

// `content`, the base64 of a PKI path, becomes the base64 of its last certificate.
[[nodiscard]] bool takeLastOfPkiPath(StringBuffer& content, LogBase& log);

} // namespace dsig
} // namespace vantrel

#endif
