#include "dsig/verify/signature_method.h"

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/StringBuffer.h"

#include <span>

namespace vantrel {

namespace {

struct MethodName {
    const char* part; // case-sensitive substring of the identifier
    int meaning;
};

// Substrings, not whole identifiers: so one table serves XML Signature 1.0 and 1.1, RFC 6931 and
// the RSA-PSS identifiers alike. In both tables the first part found decides; the order matters.
constexpr MethodName kHashNames[] = {
    {"-sha256", kHashSha256},
    {"#sha256", kHashSha256},
    {"-sha1", kHashSha1},
    {"#sha1", kHashSha1},
    {"-sha384", kHashSha384},
    {"#sha384", kHashSha384},
    {"-sha512", kHashSha512},
    {"#sha512", kHashSha512},
    {"-ripemd160", kHashRipemd160},
    {"#ripemd160", kHashRipemd160},
    {"-ripemd128", kHashRipemd128},
    {"#ripemd128", kHashRipemd128},
    {"-md5", kHashMd5},
    {"#md5", kHashMd5},
    {"-md2", kHashMd2},
    {"#md2", kHashMd2},
    // Behind "#sha384", which begins with it. -1 keeps an algorithm that is named but not there
    // apart from a method that names none.
    {"#sha3", -1},
};

// "-rsa-" is that of the RSA-PSS identifiers, "sha256-rsa-MGF1" and its like (RFC 6931 2.3.10).
constexpr MethodName kKeyTypeNames[] = {
    {"#dsa-", kKeyTypeDsa}, {"#rsa-", kKeyTypeRsa},   {"-rsa-", kKeyTypeRsa},
    {"/rsa-", kKeyTypeRsa}, {"#hmac-", kKeyTypeHmac}, {"#ecdsa-", kKeyTypeEcdsa},
};

// `otherwise` where the identifier has none of the parts, as one that is empty.
int firstMatch(const StringBuffer& algorithmUri, std::span<const MethodName> names, int otherwise) {
    for (const MethodName& name : names) {
        if (algorithmUri.containsSubstring(name.part)) {
            return name.meaning;
        }
    }
    return otherwise;
}

} // namespace

int signatureMethodToHashAlg(const StringBuffer& algorithmUri, LogBase& /*log*/) {
    return firstMatch(algorithmUri, kHashNames, kHashNone);
}

int signatureMethodToKeyType(const StringBuffer& algorithmUri, LogBase& /*log*/) {
    return firstMatch(algorithmUri, kKeyTypeNames, kKeyTypeUnknown);
}

} // namespace vantrel
