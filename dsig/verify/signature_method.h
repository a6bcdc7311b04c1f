#ifndef DSIG_VERIFY_SIGNATURE_METHOD_H
#define DSIG_VERIFY_SIGNATURE_METHOD_H

namespace vantrel {

class LogBase;
class StringBuffer;

// Key types of signature methods. EdDSA has none: its methods are of an unknown type.
inline constexpr int kKeyTypeUnknown = -1;
inline constexpr int kKeyTypeRsa = 1;
inline constexpr int kKeyTypeDsa = 2;
inline constexpr int kKeyTypeEcdsa = 3;
inline constexpr int kKeyTypeHmac = 4;

// The hash that a signature method's identifier names (hash_ids.h); 0 when it names none, -1 when
// it names one that is not supported. Pure functions of the text; nothing is logged.
[[nodiscard]] int signatureMethodToHashAlg(const StringBuffer& algorithmUri, LogBase& log);
// The key type that it names, kKeyTypeUnknown when it names none.
[[nodiscard]] int signatureMethodToKeyType(const StringBuffer& algorithmUri, LogBase& log);

} // namespace vantrel

#endif
