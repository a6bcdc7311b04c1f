// SPDX-License-Identifier: MIT
// Whole verifications in process, beside xmlsec where it is there. The documents are made here and
// signed by xmlsec, so both sides verify the same bytes: an enveloped signature over an
// invoice-like document of 4 KB to 16 MB, many references into one document, and many signatures in
// one document.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

#if defined(VANTREL_BENCH_XMLSEC)
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <xmlsec/crypto.h>
#include <xmlsec/openssl/evp.h>
#include <xmlsec/templates.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>
#include <xmlsec/xmltree.h>

namespace {

const char* const kDsig = "http://www.w3.org/2000/09/xmldsig#";
const char* const kInclusive = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
const char* const kExclusive = "http://www.w3.org/2001/10/xml-exc-c14n#";

EVP_PKEY* rsaKey() {
    static EVP_PKEY* const key = EVP_RSA_gen(2048);
    return key;
}

void startXmlsec() {
    static const bool started = [] {
        xmlInitParser();
        return xmlSecInit() == 0 && xmlSecCryptoAppInit(nullptr) == 0 && xmlSecCryptoInit() == 0;
    }();
    if (!started) {
        std::abort();
    }
}

// Lines of an invoice, none like the other.
std::string lines(std::size_t size, const char* element, bool withIds, std::size_t count) {
    std::mt19937 random(7);
    std::string text;
    for (std::size_t i = 0; withIds ? i < count : text.size() < size; ++i) {
        const std::string id = withIds ? " Id=\"i" + std::to_string(i) + '"' : "";
        text += "  <cac:" + std::string(element) + id + "><cbc:ID>" + std::to_string(i) +
                "</cbc:ID><cbc:Amount currencyID=\"" + (random() % 3 != 0 ? "EUR" : "USD") + "\">" +
                std::to_string(random() % 100000) + ".00</cbc:Amount><cac:Item><cbc:Name>Part " +
                std::to_string(random()) + " &amp; more</cbc:Name></cac:Item></cac:" + element +
                ">\n";
    }
    return text;
}

std::string signature(const char* c14n, const std::string& references, const char* keyInfo = "") {
    return std::string("<Signature xmlns=\"") + kDsig +
           "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" + c14n +
           "\"/><SignatureMethod "
           "Algorithm=\"http://www.w3.org/2001/04/xmldsig-more#rsa-sha256\"/>" +
           references + "</SignedInfo><SignatureValue/>" + keyInfo + "</Signature>";
}

std::string reference(const std::string& uri, bool enveloped, const char* c14n) {
    return "<Reference URI=\"" + uri + "\"><Transforms>" +
           (enveloped ? std::string("<Transform Algorithm=\"") + kDsig + "enveloped-signature\"/>"
                      : std::string()) +
           "<Transform Algorithm=\"" + c14n +
           "\"/></Transforms><DigestMethod "
           "Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/><DigestValue/></Reference>";
}

const std::string kOpen = "<Invoice xmlns=\"urn:oasis:Invoice-2\" xmlns:cac=\"urn:oasis:cac-2\" "
                          "xmlns:cbc=\"urn:oasis:cbc-2\">\n";

struct PeerDocument {
    explicit PeerDocument(const std::string& text)
        : document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                 XML_PARSE_HUGE)) {
        addIds(xmlDocGetRootElement(document));
    }
    PeerDocument(const PeerDocument&) = delete;
    PeerDocument& operator=(const PeerDocument&) = delete;
    ~PeerDocument() { xmlFreeDoc(document); }

    void addIds(xmlNodePtr node) {
        for (; node != nullptr; node = node->next) {
            if (const xmlAttrPtr id = xmlHasProp(node, BAD_CAST "Id"); id != nullptr) {
                xmlChar* const value = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(id));
                xmlAddID(nullptr, document, value, id);
                xmlFree(value);
            }
            if (node->type == XML_ELEMENT_NODE) {
                addIds(node->children);
            }
        }
    }

    // Signs, or verifies, every signature. False when one fails.
    bool process(bool sign) const {
        bool ok = true;
        for (xmlNodePtr node = nextSignature(xmlDocGetRootElement(document)); node != nullptr;
             node = nextSignature(node->next)) {
            const xmlSecDSigCtxPtr context = xmlSecDSigCtxCreate(nullptr);
            EVP_PKEY_up_ref(rsaKey());
            context->signKey = xmlSecKeyCreate();
            xmlSecKeySetValue(context->signKey, xmlSecOpenSSLEvpKeyAdopt(rsaKey()));
            if (sign) {
                ok = xmlSecDSigCtxSign(context, node) == 0 && ok;
            } else {
                ok = xmlSecDSigCtxVerify(context, node) == 0 &&
                     context->status == xmlSecDSigStatusSucceeded && ok;
            }
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

    xmlDocPtr document;
};

std::string signedByPeer(const std::string& unsignedText) {
    startXmlsec();
    const PeerDocument peer(unsignedText);
    if (!peer.process(true)) {
        std::fprintf(stderr, "the peer could not sign\n");
        std::abort();
    }
    xmlChar* bytes = nullptr;
    int size = 0;
    xmlDocDumpMemory(peer.document, &bytes, &size);
    std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    xmlFree(bytes);
    return text;
}

const std::string& enveloped(std::size_t size, bool exclusive) {
    static std::map<std::pair<std::size_t, bool>, std::string> made;
    std::string& text = made[{size, exclusive}];
    if (text.empty()) {
        const char* const c14n = exclusive ? kExclusive : kInclusive;
        text = signedByPeer(kOpen + lines(size, "InvoiceLine", false, 0) +
                            signature(c14n, reference("", true, c14n)) + "</Invoice>");
    }
    return text;
}

// Many references of one signature, or one reference in each of many signatures.
const std::string& many(std::size_t count, bool signatures) {
    static std::map<std::pair<std::size_t, bool>, std::string> made;
    std::string& text = made[{count, signatures}];
    if (text.empty()) {
        std::string references;
        std::string all;
        for (std::size_t i = 0; i < count; ++i) {
            const std::string one = reference("#i" + std::to_string(i), false, kExclusive);
            references += one;
            // A key can be handed over for the first two hundred signatures only.
            all += signatures ? signature(kExclusive, one, "<KeyInfo><KeyValue/></KeyInfo>") : "";
        }
        text = signedByPeer(kOpen + lines(0, "InvoiceLine", true, count) +
                            (signatures ? all : signature(kExclusive, references)) + "</Invoice>");
    }
    return text;
}

// The signer's key, ready for use: the peer is given it ready as well.
vantrel::ClsPublicKey& ourKey() {
    static vantrel::ClsPublicKey* const key = [] {
        unsigned char* der = nullptr;
        const int size = i2d_PUBKEY(rsaKey(), &der);
        vantrel::ClsPublicKey* const loaded = vantrel::ClsPublicKey::createNewCls();
        vantrel::LogNull log;
        if (!loaded->loadAnyDer(vantrel::ByteView(der, static_cast<std::size_t>(size)), log)) {
            std::abort();
        }
        OPENSSL_free(der);
        return loaded;
    }();
    return *key;
}

void runOurs(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        vantrel::ClsXmlDSig verifier;
        vantrel::ClsBinData data;
        data.AppendData(text.data(), static_cast<std::uint32_t>(text.size()));
        bool ok = verifier.LoadSignatureBd(data);
        for (int i = 0; i < verifier.get_NumSignatures(); ++i) {
            verifier.put_Selector(i);
            verifier.SetPublicKey(ourKey());
            ok = verifier.VerifySignature(true) && ok;
        }
        if (!ok) {
            state.SkipWithError("the document does not verify");
            return;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void runPeer(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        const PeerDocument peer(text);
        if (!peer.process(false)) {
            state.SkipWithError("the peer does not verify the document");
            return;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void envelopedOurs(benchmark::State& state) {
    runOurs(state, enveloped(static_cast<std::size_t>(state.range(0)), state.range(1) != 0));
}
void envelopedPeer(benchmark::State& state) {
    runPeer(state, enveloped(static_cast<std::size_t>(state.range(0)), state.range(1) != 0));
}
void manyOurs(benchmark::State& state) {
    runOurs(state, many(static_cast<std::size_t>(state.range(0)), state.range(1) != 0));
}
void manyPeer(benchmark::State& state) {
    runPeer(state, many(static_cast<std::size_t>(state.range(0)), state.range(1) != 0));
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"bytes", "exclusive"})->Unit(benchmark::kMicrosecond);
    for (const std::int64_t size : {4 << 10, 64 << 10, 1 << 20, 16 << 20}) {
        bench->Args({size, 0})->Args({size, 1});
    }
}
BENCHMARK(envelopedOurs)->Apply(sizes);
BENCHMARK(envelopedPeer)->Apply(sizes);
BENCHMARK(manyOurs)
    ->ArgNames({"count", "signatures"})
    ->Unit(benchmark::kMicrosecond)
    ->Args({100, 0})
    ->Args({1000, 0})
    ->Args({10000, 0})
    ->Args({100, 1})
    ->Args({1000, 1});
// The peer needs many minutes for more.
BENCHMARK(manyPeer)
    ->ArgNames({"count", "signatures"})
    ->Unit(benchmark::kMicrosecond)
    ->Args({100, 0})
    ->Args({1000, 0})
    ->Args({100, 1})
    ->Args({1000, 1});

} // namespace

#endif
