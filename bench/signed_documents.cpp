// SPDX-License-Identifier: MIT
#include "bench/signed_documents.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <xmlsec/crypto.h>
#include <xmlsec/openssl/app.h>
#include <xmlsec/openssl/crypto.h>
#include <xmlsec/openssl/evp.h>
#include <xmlsec/openssl/x509.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>
#include <xmlsec/xmltree.h>

namespace vantrel::bench {

namespace {

const char* const kDsig = "http://www.w3.org/2000/09/xmldsig#";
const char* const kInclusive = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
const char* const kExclusive = "http://www.w3.org/2001/10/xml-exc-c14n#";
const std::string kSecret = "thirty-two octets that are secret";
const std::string kOpen = "<Invoice xmlns=\"urn:oasis:Invoice-2\" xmlns:cac=\"urn:oasis:cac-2\" "
                          "xmlns:cbc=\"urn:oasis:cbc-2\">\n";

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "the peer could not %s\n", what);
    std::abort();
}

EVP_PKEY* keyOf(SignedBy kind) {
    static const std::array<EVP_PKEY*, 3> keys = {EVP_RSA_gen(2048), EVP_EC_gen("P-256"),
                                                  EVP_EC_gen("P-384")};
    return keys.at(static_cast<std::size_t>(kind));
}

// A certificate that the key signs itself, as DER.
std::string certificateOf(SignedBy kind) {
    EVP_PKEY* const key = keyOf(kind);
    X509* const certificate = X509_new();
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 4711);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
    X509_set_pubkey(certificate, key);
    X509_NAME* const name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Signer"), -1, -1, 0);
    X509_set_issuer_name(certificate, name);
    X509_sign(certificate, key, EVP_sha256());
    unsigned char* der = nullptr;
    const int size = i2d_X509(certificate, &der);
    std::string text(reinterpret_cast<const char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    X509_free(certificate);
    return text;
}

xmlSecKeyPtr peerKey(const Signing& signing) {
    const xmlSecKeyPtr key = xmlSecKeyCreate();
    if (signing.key == SignedBy::Hmac) {
        const xmlSecKeyDataPtr data = xmlSecKeyDataCreate(xmlSecOpenSSLKeyDataHmacId);
        xmlSecOpenSSLKeyDataHmacSet(data, reinterpret_cast<const xmlSecByte*>(kSecret.data()),
                                    static_cast<xmlSecSize>(kSecret.size()));
        xmlSecKeySetValue(key, data);
        return key;
    }
    EVP_PKEY_up_ref(keyOf(signing.key));
    xmlSecKeySetValue(key, xmlSecOpenSSLEvpKeyAdopt(keyOf(signing.key)));
    return key;
}

void addCertificate(xmlSecKeyPtr key, SignedBy kind) {
    const std::string der = certificateOf(kind);
    if (xmlSecOpenSSLAppKeyCertLoadMemory(key, reinterpret_cast<const xmlSecByte*>(der.data()),
                                          static_cast<xmlSecSize>(der.size()),
                                          xmlSecKeyDataFormatDer) != 0) {
        fail("take the certificate");
    }
}

void startPeer() {
    static const bool started = [] {
        xmlInitParser();
        return xmlSecInit() == 0 && xmlSecCryptoAppInit(nullptr) == 0 && xmlSecCryptoInit() == 0;
    }();
    if (!started) {
        fail("start");
    }
}

// What finds the keys of KeyInfo; given once, as a server would.
xmlSecKeysMngrPtr keysManager() {
    static const xmlSecKeysMngrPtr manager = [] {
        const xmlSecKeysMngrPtr made = xmlSecKeysMngrCreate();
        if (made == nullptr || xmlSecCryptoAppDefaultKeysMngrInit(made) != 0) {
            fail("make a keys manager");
        }
        return made;
    }();
    return manager;
}

class PeerDocument {
public:
    explicit PeerDocument(const std::string& text)
        : m_document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                   XML_PARSE_HUGE)) {
        addIds(xmlDocGetRootElement(m_document));
    }
    PeerDocument(const PeerDocument&) = delete;
    PeerDocument& operator=(const PeerDocument&) = delete;
    ~PeerDocument() { xmlFreeDoc(m_document); }

    // False when one fails.
    bool sign(const Signing& signing) { return forEachSignature(signing, true); }
    bool verify(const Signing& signing) { return forEachSignature(signing, false); }

    std::string text() const {
        xmlChar* bytes = nullptr;
        int size = 0;
        xmlDocDumpMemory(m_document, &bytes, &size);
        std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
        xmlFree(bytes);
        return text;
    }

private:
    void addIds(xmlNodePtr node) {
        for (; node != nullptr; node = node->next) {
            if (const xmlAttrPtr id = xmlHasProp(node, BAD_CAST "Id"); id != nullptr) {
                xmlChar* const value = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(id));
                xmlAddID(nullptr, m_document, value, id);
                xmlFree(value);
            }
            if (node->type == XML_ELEMENT_NODE) {
                addIds(node->children);
            }
        }
    }

    bool forEachSignature(const Signing& signing, bool isSigning) {
        bool ok = true;
        for (xmlNodePtr node = nextSignature(xmlDocGetRootElement(m_document)); node != nullptr;
             node = nextSignature(node->next)) {
            const bool fromCertificate = signing.withCertificate && !isSigning;
            const xmlSecDSigCtxPtr context =
                xmlSecDSigCtxCreate(fromCertificate ? keysManager() : nullptr);
            if (fromCertificate) {
                // Ours looks at no path either unless it is asked to.
                context->keyInfoReadCtx.flags |= XMLSEC_KEYINFO_FLAGS_X509DATA_DONT_VERIFY_CERTS;
            } else {
                context->signKey = peerKey(signing);
            }
            if (isSigning && signing.withCertificate) {
                addCertificate(context->signKey, signing.key);
            }
            const int done =
                isSigning ? xmlSecDSigCtxSign(context, node) : xmlSecDSigCtxVerify(context, node);
            ok = done == 0 && context->status == xmlSecDSigStatusSucceeded && ok;
            xmlSecDSigCtxDestroy(context);
        }
        return ok;
    }

    static xmlNodePtr nextSignature(xmlNodePtr node) {
        for (; node != nullptr; node = node->next) {
            if (const xmlNodePtr found = xmlSecFindNode(node, xmlSecNodeSignature, xmlSecDSigNs)) {
                return found;
            }
        }
        return nullptr;
    }

    xmlDocPtr m_document;
};

// One line of an invoice; with an Id unless that is empty.
std::string invoiceLine(std::size_t number, const std::string& id, std::mt19937& random) {
    return "  <cac:InvoiceLine" + (id.empty() ? "" : " Id=\"" + id + '"') + "><cbc:ID>" +
           std::to_string(number) + "</cbc:ID><cbc:Amount currencyID=\"" +
           (random() % 3 != 0 ? "EUR" : "USD") + "\">" + std::to_string(random() % 100000) +
           ".00</cbc:Amount><cac:Item><cbc:Name>Part " + std::to_string(random()) +
           " &amp; more</cbc:Name></cac:Item></cac:InvoiceLine>\n";
}

std::string linesOfSize(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string text;
    for (std::size_t i = 0; text.size() < size; ++i) {
        text += invoiceLine(i, "", random);
    }
    return text;
}

std::string idOf(std::size_t number) { return "i" + std::to_string(number); }

std::string linesWithIds(std::size_t count) {
    std::mt19937 random(7);
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += invoiceLine(i, idOf(i), random);
    }
    return text;
}

std::string methodOf(SignedBy key) {
    constexpr std::array<const char*, 4> kNames = {"rsa-sha256", "ecdsa-sha256", "ecdsa-sha384",
                                                   "hmac-sha256"};
    return std::string("http://www.w3.org/2001/04/xmldsig-more#") +
           kNames.at(static_cast<std::size_t>(key));
}

std::string signature(const Signing& signing, const std::string& references,
                      const std::string& keyInfo) {
    return std::string("<Signature xmlns=\"") + kDsig +
           "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" +
           (signing.exclusive ? kExclusive : kInclusive) + "\"/><SignatureMethod Algorithm=\"" +
           methodOf(signing.key) + "\"/>" + references + "</SignedInfo><SignatureValue/>" +
           keyInfo + "</Signature>";
}

std::string reference(const std::string& uri, bool enveloped, bool exclusive) {
    return "<Reference URI=\"" + uri + "\"><Transforms>" +
           (enveloped ? std::string("<Transform Algorithm=\"") + kDsig + "enveloped-signature\"/>"
                      : std::string()) +
           "<Transform Algorithm=\"" + (exclusive ? kExclusive : kInclusive) +
           "\"/></Transforms><DigestMethod "
           "Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/><DigestValue/></Reference>";
}

constexpr Signing kExclusiveRsa = {SignedBy::Rsa2048, true, false};

std::string signedByPeer(const std::string& unsignedText, const Signing& signing) {
    startPeer();
    PeerDocument peer(unsignedText);
    if (!peer.sign(signing)) {
        fail("sign");
    }
    return peer.text();
}

} // namespace

std::string envelopedDocument(std::size_t size, const Signing& signing, unsigned seed) {
    const std::string keyInfo =
        signing.withCertificate ? "<KeyInfo><X509Data><X509Certificate/></X509Data></KeyInfo>" : "";
    return signedByPeer(kOpen + linesOfSize(size, seed) +
                            signature(signing, reference("", true, signing.exclusive), keyInfo) +
                            "</Invoice>",
                        signing);
}

std::string manyReferences(std::size_t count) {
    std::string references;
    for (std::size_t i = 0; i < count; ++i) {
        references += reference("#" + idOf(i), false, true);
    }
    return signedByPeer(kOpen + linesWithIds(count) + signature(kExclusiveRsa, references, "") +
                            "</Invoice>",
                        kExclusiveRsa);
}

// A key can be handed over for the first two hundred signatures only, so each brings its own.
std::string manySignatures(std::size_t count) {
    std::string signatures;
    for (std::size_t i = 0; i < count; ++i) {
        signatures += signature(kExclusiveRsa, reference("#" + idOf(i), false, true),
                                "<KeyInfo><KeyValue/></KeyInfo>");
    }
    return signedByPeer(kOpen + linesWithIds(count) + signatures + "</Invoice>", kExclusiveRsa);
}

std::string publicKeyDer(SignedBy key) {
    unsigned char* der = nullptr;
    const int size = i2d_PUBKEY(keyOf(key), &der);
    std::string text(reinterpret_cast<const char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return text;
}

std::string hmacSecret() { return kSecret; }

bool peerVerifies(const std::string& text, const Signing& signing) {
    startPeer();
    return PeerDocument(text).verify(signing);
}

} // namespace vantrel::bench
