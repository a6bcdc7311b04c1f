// SPDX-License-Identifier: MIT
#include "dsig/verify/signature_method.h"

#include "dsig/document/standards.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/tree/ClsXml.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <span>
#include <string_view>
#include <system_error>

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
constexpr int firstMatch(std::string_view algorithm, std::span<const MethodName> names,
                         int otherwise) {
    for (const MethodName& name : names) {
        if (algorithm.find(name.part) != algorithm.npos) {
            return name.meaning;
        }
    }
    return otherwise;
}

struct UsualMethod {
    std::string_view algorithm;
    int hashAlg = firstMatch(algorithm, kHashNames, kHashNone);
    int keyType = firstMatch(algorithm, kKeyTypeNames, kKeyTypeUnknown);
};

// What most signatures have is known without a search.
constexpr UsualMethod kUsualMethods[] = {
    {"http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"},
    {"http://www.w3.org/2001/04/xmldsig-more#rsa-sha512"},
    {"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256"},
    {"http://www.w3.org/2001/04/xmldsig-more#hmac-sha256"},
    {"http://www.w3.org/2000/09/xmldsig#rsa-sha1"},
};

static_assert(std::all_of(std::begin(kUsualMethods), std::end(kUsualMethods),
                          [](const UsualMethod& usual) {
                              return usual.hashAlg != kHashNone && usual.keyType != kKeyTypeUnknown;
                          }));

const UsualMethod* usualMethod(const StringBuffer& algorithmUri) {
    for (const UsualMethod& usual : kUsualMethods) {
        if (algorithmUri.view() == usual.algorithm) {
            return &usual;
        }
    }
    return nullptr;
}

} // namespace

int signatureMethodToHashAlg(const StringBuffer& algorithmUri, LogBase& /*log*/) {
    if (const UsualMethod* const usual = usualMethod(algorithmUri); usual != nullptr) {
        return usual->hashAlg;
    }
    return firstMatch(algorithmUri.view(), kHashNames, kHashNone);
}

int signatureMethodToKeyType(const StringBuffer& algorithmUri, LogBase& /*log*/) {
    if (const UsualMethod* const usual = usualMethod(algorithmUri); usual != nullptr) {
        return usual->keyType;
    }
    return firstMatch(algorithmUri.view(), kKeyTypeNames, kKeyTypeUnknown);
}

namespace dsig {

namespace {

struct MethodIdentifier {
    std::string_view algorithm;
    SignatureMethod method;
};

constexpr MethodIdentifier rsa(std::string_view algorithm, int hash) {
    return {algorithm, {hash, kKeyTypeRsa, 0, {}, standard::kSha224}};
}
constexpr MethodIdentifier pss(std::string_view algorithm, int hash, std::string_view code) {
    return {algorithm, {hash, kKeyTypeRsa, hash, {}, code}};
}
constexpr MethodIdentifier ecdsa(std::string_view algorithm, int hash, std::string_view code) {
    return {algorithm, {hash, kKeyTypeEcdsa, 0, {}, code}};
}
constexpr MethodIdentifier eddsa(std::string_view algorithm, std::string_view curve,
                                 bool withContext, bool preHashed) {
    MethodIdentifier method{algorithm, {kHashNone, kKeyTypeEdDsa, 0, curve, standard::kEdDsa}};
    method.method.withContext = withContext;
    method.method.preHashed = preHashed;
    return method;
}
constexpr MethodIdentifier mldsa(std::string_view algorithm, std::string_view set) {
    MethodIdentifier method{algorithm, {kHashNone, kKeyTypeMlDsa, 0, set, standard::kMlDsa}};
    method.method.withContext = true;
    return method;
}

constexpr std::string_view kRsaPss = "http://www.w3.org/2007/05/xmldsig-more#rsa-pss";

// RFC 9231, 2.2 and 2.3: what the tables of substrings do not know. ML-DSA has no identifier of a
// standards body yet; these are in use.
constexpr MethodIdentifier kMethods[] = {
    rsa("http://www.w3.org/2001/04/xmldsig-more#rsa-sha224", kHashSha224),
    {"http://www.w3.org/2001/04/xmldsig-more#hmac-sha224",
     {kHashSha224, kKeyTypeHmac, 0, {}, standard::kSha224}},
    ecdsa("http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha224", kHashSha224, standard::kSha224),
    ecdsa("http://www.w3.org/2021/04/xmldsig-more#ecdsa-sha3-224", kHashSha3_224, standard::kSha3),
    ecdsa("http://www.w3.org/2021/04/xmldsig-more#ecdsa-sha3-256", kHashSha3_256, standard::kSha3),
    ecdsa("http://www.w3.org/2021/04/xmldsig-more#ecdsa-sha3-384", kHashSha3_384, standard::kSha3),
    ecdsa("http://www.w3.org/2021/04/xmldsig-more#ecdsa-sha3-512", kHashSha3_512, standard::kSha3),
    pss("http://www.w3.org/2007/05/xmldsig-more#sha224-rsa-MGF1", kHashSha224, standard::kSha224),
    pss("http://www.w3.org/2007/05/xmldsig-more#sha3-224-rsa-MGF1", kHashSha3_224, standard::kSha3),
    pss("http://www.w3.org/2007/05/xmldsig-more#sha3-256-rsa-MGF1", kHashSha3_256, standard::kSha3),
    pss("http://www.w3.org/2007/05/xmldsig-more#sha3-384-rsa-MGF1", kHashSha3_384, standard::kSha3),
    pss("http://www.w3.org/2007/05/xmldsig-more#sha3-512-rsa-MGF1", kHashSha3_512, standard::kSha3),
    pss(kRsaPss, kHashSha256, standard::kPssParams),
    eddsa("http://www.w3.org/2021/04/xmldsig-more#eddsa-ed25519", "Ed25519", false, false),
    eddsa("http://www.w3.org/2021/04/xmldsig-more#eddsa-ed25519ctx", "Ed25519", true, false),
    eddsa("http://www.w3.org/2021/04/xmldsig-more#eddsa-ed25519ph", "Ed25519", true, true),
    eddsa("http://www.w3.org/2021/04/xmldsig-more#eddsa-ed448", "Ed448", true, false),
    eddsa("http://www.w3.org/2021/04/xmldsig-more#eddsa-ed448ph", "Ed448", true, true),
    mldsa("http://www.aleksey.com/xmlsec/2025/12/xmldsig-more#ml-dsa-44", "ML-DSA-44"),
    mldsa("http://www.aleksey.com/xmlsec/2025/12/xmldsig-more#ml-dsa-65", "ML-DSA-65"),
    mldsa("http://www.aleksey.com/xmlsec/2025/12/xmldsig-more#ml-dsa-87", "ML-DSA-87"),
};

const SignatureMethod* findMethod(std::string_view algorithm) {
    for (const MethodIdentifier& known : kMethods) {
        if (known.algorithm == algorithm) {
            return &known.method;
        }
    }
    return nullptr;
}

// The digest that a DigestMethod child names; `hash` stays where there is none. False for one that
// is not known.
bool readDigestMethod(const ClsXml& parent, int& hash) {
    StringBuffer algorithm;
    if (!parent.getChildAttrValue("*:DigestMethod", "Algorithm", algorithm)) {
        return true;
    }
    hash = digestByIdentifier(algorithm.view());
    return hash != kHashNone;
}

// A number of bytes; `length` stays where there is none. False for what is no such number.
bool readSaltLength(const ClsXml& params, int& length) {
    constexpr std::uint32_t kMostDigits = 4; // more than any modulus has room for
    StringBuffer text;
    if (!params.getChildContentUtf8("*:SaltLength", text, false)) {
        return true;
    }
    text.trim2();
    const std::string_view digits = text.view();
    if (digits.size() > kMostDigits) {
        return false;
    }
    const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    return fault == std::errc() && end == digits.data() + digits.size() && length >= 0;
}

// RFC 9231, 2.3.9: what is not said is SHA-256, and the mask has the hash of the message unless it
// names its own. Of the salt no length is taken for granted: verifiers differ on what is meant
// where none is said. The trailer must be the only one that is defined.
bool readPssParams(const ClsXml& element, SignatureMethod& method) {
    const Ref<ClsXml> params = Ref<ClsXml>::adopt(element.getChildWithTagUtf8("*:RSAPSSParams"));
    if (!params) {
        return true;
    }
    if (!readDigestMethod(*params, method.hashAlg)) {
        return false;
    }
    method.mgfHashAlg = method.hashAlg;
    if (const Ref<ClsXml> mask =
            Ref<ClsXml>::adopt(params->getChildWithTagUtf8("*:MaskGenerationFunction"))) {
        StringBuffer function;
        mask->getAttrValue("Algorithm", function);
        if (!function.equals("http://www.w3.org/2007/05/xmldsig-more#MGF1") ||
            !readDigestMethod(*mask, method.mgfHashAlg)) {
            return false;
        }
    }
    if (!readSaltLength(*params, method.saltLength)) {
        return false;
    }
    StringBuffer trailer;
    params->getChildContentUtf8("*:TrailerField", trailer, false);
    trailer.trim2();
    return trailer.isEmpty() || trailer.equals("1");
}

} // namespace

bool readMethodContext(const SignatureMethod& method, const ClsXml& element, DataBuffer& context) {
    constexpr std::uint32_t kMostOctets = 255;
    const char* const name =
        method.keyType == kKeyTypeMlDsa ? "*:MLDSAContextString" : "*:EdDSAContextString";
    StringBuffer text;
    return !element.getChildContentUtf8(name, text, false) ||
           (method.withContext && text::decodeBase64(text.view(), context) &&
            context.getSize() <= kMostOctets);
}

std::string_view standardOfMethod(std::string_view algorithmUri) {
    const SignatureMethod* const known = findMethod(algorithmUri);
    return known != nullptr ? known->standard : std::string_view();
}

SignatureMethod readSignatureMethod(const StringBuffer& algorithmUri, const ClsXml* element,
                                    bool withStandards, LogBase& log) {
    SignatureMethod method;
    method.hashAlg = signatureMethodToHashAlg(algorithmUri, log);
    method.keyType = signatureMethodToKeyType(algorithmUri, log);
    if (method.hashAlg > kHashNone && method.keyType > 0) {
        // RFC 6931 2.3.9 and 2.3.10; the hash of the mask is the method's own, the salt of any
        // length.
        method.mgfHashAlg = algorithmUri.containsSubstring("MGF1") ? method.hashAlg : kHashNone;
        return method;
    }
    const SignatureMethod* const known = withStandards ? findMethod(algorithmUri.view()) : nullptr;
    if (known == nullptr) {
        return method;
    }
    SignatureMethod read = *known;
    const bool hasParams = read.standard == standard::kPssParams && element != nullptr;
    return !hasParams || readPssParams(*element, read) ? read : method;
}

} // namespace dsig
} // namespace vantrel
