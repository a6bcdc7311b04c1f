// SPDX-License-Identifier: MIT
// A certification path of three certificates, ours beside OpenSSL's: once with the certificates at
// hand, once from their DER. Built and validated each time; nothing is kept from one to the next
// but what the peer keeps in its parsed certificates.

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/path/path_query.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace {

using vantrel::ByteView;
using vantrel::VantrelX509;
using Key = std::shared_ptr<EVP_PKEY>;
using Peer = std::shared_ptr<X509>;
using Bytes = std::vector<std::uint8_t>;

enum Kind : int { kRsa2048, kP256 };
enum Place : std::size_t { kRoot, kMiddle, kLeaf, kPlaces };

struct Chain {
    std::array<Peer, kPlaces> peers;
    std::array<Bytes, kPlaces> der;
};

void addExtension(X509* certificate, X509* issuer, int nid, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

Peer issue(const char* name, const Key& key, const Peer& issuer, const Key& issuerKey, bool isCa) {
    Peer certificate(X509_new(), X509_free);
    X509* const made = certificate.get();
    X509* const above = issuer != nullptr ? issuer.get() : made;
    X509_set_version(made, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(made), 1);
    X509_gmtime_adj(X509_getm_notBefore(made), -3600);
    X509_gmtime_adj(X509_getm_notAfter(made), 86400);
    X509_set_pubkey(made, key.get());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "O", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Example"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    X509_set_issuer_name(made, X509_get_subject_name(above));
    addExtension(made, above, NID_basic_constraints, isCa ? "critical,CA:TRUE" : "CA:FALSE");
    addExtension(made, above, NID_key_usage,
                 isCa ? "critical,keyCertSign,cRLSign" : "critical,digitalSignature");
    addExtension(made, above, NID_subject_key_identifier, "hash");
    addExtension(made, above, NID_authority_key_identifier, "keyid");
    X509_sign(made, issuerKey.get(), EVP_sha256());
    return certificate;
}

Chain makeChain(int kind) {
    std::array<Key, kPlaces> keys;
    for (Key& key : keys) {
        key.reset(kind == kRsa2048 ? EVP_RSA_gen(2048) : EVP_EC_gen("P-256"), EVP_PKEY_free);
    }
    Chain chain;
    chain.peers[kRoot] = issue("Root", keys[kRoot], nullptr, keys[kRoot], true);
    chain.peers[kMiddle] = issue("Middle", keys[kMiddle], chain.peers[kRoot], keys[kRoot], true);
    chain.peers[kLeaf] = issue("Leaf", keys[kLeaf], chain.peers[kMiddle], keys[kMiddle], false);
    for (std::size_t i = 0; i < kPlaces; ++i) {
        unsigned char* der = nullptr;
        const int size = i2d_X509(chain.peers[i].get(), &der);
        chain.der[i].assign(der, der + size);
        OPENSSL_free(der);
    }
    return chain;
}

const Chain& chainOf(int kind) {
    static const std::array<Chain, 2> chains = {makeChain(kRsa2048), makeChain(kP256)};
    return chains[static_cast<std::size_t>(kind)];
}

bool validate(const std::array<VantrelX509, kPlaces>& certificates) {
    vantrel::x509::PathQuery query;
    query.target = &certificates[kLeaf];
    query.candidates = {&certificates[kMiddle]};
    query.anchors = {&certificates[kRoot]};
    query.time = std::time(nullptr);
    return vantrel::x509::findPath(query).trusted;
}

bool load(const Chain& chain, std::array<VantrelX509, kPlaces>& certificates) {
    vantrel::LogNull log;
    bool loaded = true;
    for (std::size_t i = 0; i < kPlaces; ++i) {
        loaded =
            certificates[i].loadX509Der(vantrel::DataBuffer(ByteView(chain.der[i])), log) && loaded;
    }
    return loaded;
}

void oursParsed(benchmark::State& state) {
    std::array<VantrelX509, kPlaces> certificates;
    bool ok = load(chainOf(static_cast<int>(state.range(0))), certificates);
    for (auto _ : state) {
        ok = validate(certificates) && ok;
    }
    if (!ok) {
        state.SkipWithError("not trusted");
    }
}

void oursFromDer(benchmark::State& state) {
    const Chain& chain = chainOf(static_cast<int>(state.range(0)));
    bool ok = true;
    for (auto _ : state) {
        std::array<VantrelX509, kPlaces> certificates;
        ok = load(chain, certificates) && validate(certificates) && ok;
    }
    if (!ok) {
        state.SkipWithError("not trusted");
    }
}

// X509_verify_cert with its defaults; it does not check the root's own signature either.
bool validatePeer(X509* root, X509* middle, X509* leaf) {
    X509_STORE* const store = X509_STORE_new();
    X509_STORE_add_cert(store, root);
    STACK_OF(X509)* const untrusted = sk_X509_new_null();
    sk_X509_push(untrusted, middle);
    X509_STORE_CTX* const context = X509_STORE_CTX_new();
    X509_STORE_CTX_init(context, store, leaf, untrusted);
    const bool ok = X509_verify_cert(context) == 1;
    X509_STORE_CTX_free(context);
    sk_X509_free(untrusted);
    X509_STORE_free(store);
    return ok;
}

void opensslParsed(benchmark::State& state) {
    const Chain& chain = chainOf(static_cast<int>(state.range(0)));
    bool ok = true;
    for (auto _ : state) {
        ok = validatePeer(chain.peers[kRoot].get(), chain.peers[kMiddle].get(),
                          chain.peers[kLeaf].get()) &&
             ok;
    }
    if (!ok) {
        state.SkipWithError("not trusted");
    }
}

void opensslFromDer(benchmark::State& state) {
    const Chain& chain = chainOf(static_cast<int>(state.range(0)));
    bool ok = true;
    for (auto _ : state) {
        std::array<Peer, kPlaces> peers;
        for (std::size_t i = 0; i < kPlaces; ++i) {
            const unsigned char* at = chain.der[i].data();
            peers[i].reset(d2i_X509(nullptr, &at, static_cast<long>(chain.der[i].size())),
                           X509_free);
        }
        ok = validatePeer(peers[kRoot].get(), peers[kMiddle].get(), peers[kLeaf].get()) && ok;
    }
    if (!ok) {
        state.SkipWithError("not trusted");
    }
}

BENCHMARK(oursParsed)->ArgName("kind")->Arg(kRsa2048)->Arg(kP256);
BENCHMARK(opensslParsed)->ArgName("kind")->Arg(kRsa2048)->Arg(kP256);
BENCHMARK(oursFromDer)->ArgName("kind")->Arg(kRsa2048)->Arg(kP256);
BENCHMARK(opensslFromDer)->ArgName("kind")->Arg(kRsa2048)->Arg(kP256);

} // namespace
