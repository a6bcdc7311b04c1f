// SPDX-License-Identifier: MIT
// Certificates and keys in DER, ours beside OpenSSL's, and look-ups in a large vault. The
// certificates are made here, so nothing has to be read; each loop goes through many different
// ones.

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/crypto/rsa/RsaVerifier.h"
#include "foundation/io/huge_pages.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/CertMgr.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/x509/pem.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace {

using vantrel::ByteView;
using vantrel::DataBuffer;
using Key = std::shared_ptr<EVP_PKEY>;

constexpr int kKeys = 8;

const std::vector<Key>& keys() {
    static const std::vector<Key> all = [] {
        std::vector<Key> made;
        for (int i = 0; i < kKeys; ++i) {
            made.emplace_back(EVP_RSA_gen(2048), EVP_PKEY_free);
        }
        return made;
    }();
    return all;
}

void addExtension(X509* certificate, int nid, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

// A certificate like those of business documents, self-signed.
std::string makeCertificate(int number) {
    const Key& key = keys()[static_cast<std::size_t>(number % kKeys)];
    const std::shared_ptr<X509> certificate(X509_new(), X509_free);
    X509_set_version(certificate.get(), 2);
    const std::shared_ptr<BIGNUM> serial(BN_new(), BN_free);
    BN_set_word(serial.get(), 0x40000000UL + static_cast<unsigned long>(number));
    BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(certificate.get()));
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 31536000L);
    X509_set_pubkey(certificate.get(), key.get());
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    const auto add = [&](const char* label, const std::string& value) {
        X509_NAME_add_entry_by_txt(name, label, MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(value.c_str()), -1, -1,
                                   0);
    };
    add("C", "XX");
    add("O", "Example Trading Company");
    add("OU", "Invoices");
    char digits[16];
    std::snprintf(digits, sizeof digits, "Signer %08d", number);
    add("CN", digits);
    X509_set_issuer_name(certificate.get(), name);
    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate.get(), NID_key_usage, "critical,digitalSignature,nonRepudiation");
    addExtension(certificate.get(), NID_subject_key_identifier, "hash");
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    unsigned char* der = nullptr;
    const int size = i2d_X509(certificate.get(), &der);
    std::string out(reinterpret_cast<const char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return out;
}

const std::vector<std::string>& certificates() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> made;
        for (int i = 0; i < 64; ++i) {
            made.push_back(makeCertificate(i));
        }
        return made;
    }();
    return all;
}

std::vector<DataBuffer> certificateBuffers() {
    std::vector<DataBuffer> all;
    for (const std::string& der : certificates()) {
        all.emplace_back(vantrel::asBytes(der));
    }
    return all;
}

void BM_CertificateWithKey_Ours(benchmark::State& state) {
    const std::vector<DataBuffer> all = certificateBuffers();
    vantrel::LogNull log;
    std::size_t next = 0;
    for (auto _ : state) {
        vantrel::VantrelX509 certificate;
        DataBuffer info;
        vantrel::ClsPublicKey* const key = vantrel::ClsPublicKey::createNewCls();
        if (!certificate.loadX509Der(all[next], log) || !certificate.get_PublicKey(info, log) ||
            !key->loadAnyDer(info, log)) {
            state.SkipWithError("not loaded");
        }
        key->decRefCount();
        next = (next + 1) % all.size();
    }
}
BENCHMARK(BM_CertificateWithKey_Ours);

void BM_CertificateWithKey_OpenSsl(benchmark::State& state) {
    std::size_t next = 0;
    for (auto _ : state) {
        const std::string& der = certificates()[next];
        const auto* at = reinterpret_cast<const unsigned char*>(der.data());
        X509* const certificate = d2i_X509(nullptr, &at, static_cast<long>(der.size()));
        benchmark::DoNotOptimize(X509_get0_pubkey(certificate));
        X509_free(certificate);
        next = (next + 1) % certificates().size();
    }
}
BENCHMARK(BM_CertificateWithKey_OpenSsl);

void BM_CertificateOnly_Ours(benchmark::State& state) {
    const std::vector<DataBuffer> all = certificateBuffers();
    vantrel::LogNull log;
    std::size_t next = 0;
    for (auto _ : state) {
        vantrel::VantrelX509 certificate;
        benchmark::DoNotOptimize(certificate.loadX509Der(all[next], log));
        next = (next + 1) % all.size();
    }
}
BENCHMARK(BM_CertificateOnly_Ours);

void BM_CertificateOnly_OpenSsl(benchmark::State& state) {
    std::size_t next = 0;
    for (auto _ : state) {
        const std::string& der = certificates()[next];
        const auto* at = reinterpret_cast<const unsigned char*>(der.data());
        X509_free(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
        next = (next + 1) % certificates().size();
    }
}
BENCHMARK(BM_CertificateOnly_OpenSsl);

// A key in DER and one signature checked with it.
struct Signed {
    std::string keyDer;
    std::array<unsigned char, 32> hash{};
    std::vector<unsigned char> signature;
};

const std::vector<Signed>& signedHashes() {
    static const std::vector<Signed> all = [] {
        std::vector<Signed> made;
        for (const Key& key : keys()) {
            Signed one;
            one.hash.fill(0x5A);
            const std::shared_ptr<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new(key.get(), nullptr),
                                                        EVP_PKEY_CTX_free);
            EVP_PKEY_sign_init(context.get());
            EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING);
            EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256());
            std::size_t size = 256;
            one.signature.resize(size);
            EVP_PKEY_sign(context.get(), one.signature.data(), &size, one.hash.data(),
                          one.hash.size());
            unsigned char* der = nullptr;
            const int derSize = i2d_PUBKEY(key.get(), &der);
            one.keyDer.assign(reinterpret_cast<const char*>(der),
                              static_cast<std::size_t>(derSize));
            OPENSSL_free(der);
            made.push_back(std::move(one));
        }
        return made;
    }();
    return all;
}

void BM_VerifyFromDerKey_Ours(benchmark::State& state) {
    vantrel::LogNull log;
    std::size_t next = 0;
    for (auto _ : state) {
        const Signed& one = signedHashes()[next];
        vantrel::ClsPublicKey* const key = vantrel::ClsPublicKey::createNewCls();
        bool verified = false;
        bool wrongKey = false;
        if (!key->loadAnyDer(vantrel::asBytes(one.keyDer), log) ||
            !vantrel::RsaVerifier::verifyHashExt(
                one.signature.data(), 256, one.hash.data(), 32, vantrel::kHashSha256,
                vantrel::kPaddingPkcs1, vantrel::kHashSha256, verified, *key->key().getRsaKeyPtr(),
                0, true, wrongKey, log) ||
            !verified) {
            state.SkipWithError("not verified");
        }
        key->decRefCount();
        next = (next + 1) % signedHashes().size();
    }
}
BENCHMARK(BM_VerifyFromDerKey_Ours);

void BM_VerifyFromDerKey_OpenSsl(benchmark::State& state) {
    std::size_t next = 0;
    for (auto _ : state) {
        const Signed& one = signedHashes()[next];
        const auto* at = reinterpret_cast<const unsigned char*>(one.keyDer.data());
        EVP_PKEY* const key = d2i_PUBKEY(nullptr, &at, static_cast<long>(one.keyDer.size()));
        EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new(key, nullptr);
        EVP_PKEY_verify_init(context);
        EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING);
        EVP_PKEY_CTX_set_signature_md(context, EVP_sha256());
        if (EVP_PKEY_verify(context, one.signature.data(), one.signature.size(), one.hash.data(),
                            one.hash.size()) != 1) {
            state.SkipWithError("not verified");
        }
        EVP_PKEY_CTX_free(context);
        EVP_PKEY_free(key);
        next = (next + 1) % signedHashes().size();
    }
}
BENCHMARK(BM_VerifyFromDerKey_OpenSsl);

// 100 000 certificates that differ in serial number, name, key identifier and signature: one
// template whose bytes are changed, since nothing here looks at their signatures.
constexpr int kVaultSize = 100000;

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
}

std::string bigEndian(std::uint32_t value) {
    std::string out;
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>(value >> shift));
    }
    return out;
}

const std::string& keyIdOfFirst() {
    static const std::string id = [] {
        vantrel::LogNull log;
        vantrel::VantrelX509 certificate;
        ByteView bytes;
        if (!certificate.loadX509Der(DataBuffer(vantrel::asBytes(certificates()[0])), log) ||
            !certificate.subjectKeyId(bytes)) {
            std::abort();
        }
        return std::string(vantrel::asText(bytes));
    }();
    return id;
}

std::string vaultKeyId(std::uint32_t number) {
    return bigEndian(number) + keyIdOfFirst().substr(4);
}

std::string vaultCertificate(int number) {
    const std::string& first = certificates()[0];
    std::string der = first;
    char digits[16];
    std::snprintf(digits, sizeof digits, "Signer %08d", number);
    replaceAll(der, "Signer 00000000", digits);
    replaceAll(der, bigEndian(0x40000000U),
               bigEndian(0x40000000U + static_cast<std::uint32_t>(number)));
    replaceAll(der, keyIdOfFirst(), vaultKeyId(static_cast<std::uint32_t>(number)));
    const std::string end = bigEndian(static_cast<std::uint32_t>(number)); // of its signature
    der.replace(der.size() - end.size(), end.size(), end);
    return der;
}

const std::string& bundle() {
    static const std::string pem = [] {
        vantrel::io::useHugePages(); // as the tool and the library's users have it
        std::string text;
        for (int i = 0; i < kVaultSize; ++i) {
            vantrel::StringBuffer base64;
            const std::string der = vaultCertificate(i);
            vantrel::ContentCoding::encodeBase64(der.data(), static_cast<std::uint32_t>(der.size()),
                                                 base64);
            text += "-----BEGIN CERTIFICATE-----\n";
            for (std::size_t at = 0; at < base64.getSize(); at += 64) {
                text += base64.view().substr(at, 64);
                text += '\n';
            }
            text += "-----END CERTIFICATE-----\n";
        }
        return text;
    }();
    return pem;
}

struct Vault {
    vantrel::CertMgr manager;
    vantrel::SystemCerts store;
};

Vault& vault() {
    static Vault* const filled = [] {
        static Vault made;
        vantrel::LogNull log;
        std::uint32_t added = 0;
        made.manager.addPem(bundle(), added, log);
        made.store.addCertVault(made.manager, log);
        return &made;
    }();
    return *filled;
}

void BM_LoadBundleOf100000(benchmark::State& state) {
    vantrel::LogNull log;
    bundle();
    for (auto _ : state) {
        vantrel::CertMgr manager;
        std::uint32_t added = 0;
        manager.addPem(bundle(), added, log);
        if (added != kVaultSize) {
            state.SkipWithError("not all were added");
        }
    }
    state.SetItemsProcessed(state.iterations() * kVaultSize);
}
BENCHMARK(BM_LoadBundleOf100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same text decoded and parsed, kept nowhere: what loading cannot go below.
void BM_ParseBundleOf100000(benchmark::State& state) {
    vantrel::LogNull log;
    bundle();
    for (auto _ : state) {
        vantrel::x509::PemReader reader(bundle());
        vantrel::x509::PemBlock block;
        while (reader.next(block)) {
            DataBuffer der;
            vantrel::VantrelX509 certificate;
            if (!vantrel::text::decodeBase64(block.base64, der) ||
                !certificate.loadX509Der(der, log)) {
                state.SkipWithError("not parsed");
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * kVaultSize);
}
BENCHMARK(BM_ParseBundleOf100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// The first look-up makes the index of its kind.
void BM_FirstLookUps(benchmark::State& state) {
    vantrel::LogNull log;
    bundle();
    for (auto _ : state) {
        state.PauseTiming();
        vantrel::CertMgr manager;
        vantrel::SystemCerts store;
        std::uint32_t added = 0;
        manager.addPem(bundle(), added, log);
        store.addCertVault(manager, log);
        state.ResumeTiming();
        const vantrel::XString dn("CN=nobody");
        benchmark::DoNotOptimize(store.findX509("01", "nobody", nullptr, log));
        benchmark::DoNotOptimize(store.findBySubjectDN_x509(dn, dn, true, log));
        benchmark::DoNotOptimize(
            store.findBySubjectKeyId(vantrel::StringBuffer("AAAAAAAAAAAAAAAAAAAAAAAAAAA="), log));
    }
}
BENCHMARK(BM_FirstLookUps)->Unit(benchmark::kMillisecond)->Iterations(2);

// What is asked for in turn: certificates from all over the vault, in texts that stand ready as
// those of documents do.
constexpr std::uint32_t kQueries = 4096;

std::uint32_t askedFor(std::uint32_t query) { return query * 7919U % kVaultSize; }

template <class Text> std::vector<std::string> queries(const Text& text) {
    std::vector<std::string> made;
    for (std::uint32_t i = 0; i < kQueries; ++i) {
        made.push_back(text(askedFor(i)));
    }
    return made;
}

template <class Find> void lookUp(benchmark::State& state, const Find& find) {
    vault();
    std::uint32_t query = 0;
    benchmark::DoNotOptimize(find(query)); // makes the index
    for (auto _ : state) {
        if (!find(query)) {
            state.SkipWithError("not found");
        }
        query = (query + 1) % kQueries;
    }
}

std::string issuerOf(std::uint32_t number) {
    char name[16];
    std::snprintf(name, sizeof name, "Signer %08u", number);
    return name;
}

void BM_FindByIssuerAndSerial(benchmark::State& state) {
    vantrel::LogNull log;
    const std::vector<std::string> issuers = queries(issuerOf);
    const std::vector<std::string> serials = queries([](std::uint32_t number) {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%08X", 0x40000000U + number);
        return std::string(digits);
    });
    lookUp(state, [&](std::uint32_t query) {
        return vault().store.findX509(serials[query].c_str(), issuers[query].c_str(), nullptr,
                                      log) != nullptr;
    });
}
BENCHMARK(BM_FindByIssuerAndSerial);

void BM_FindBySubject(benchmark::State& state) {
    vantrel::LogNull log;
    std::vector<vantrel::XString> names;
    for (std::uint32_t i = 0; i < kQueries; ++i) {
        const std::string name =
            "CN=" + issuerOf(askedFor(i)) + ", OU=Invoices, O=Example Trading Company, C=XX";
        names.emplace_back(name.c_str());
    }
    lookUp(state, [&](std::uint32_t query) {
        return vault().store.findBySubjectDN_x509(names[query], names[query], true, log) != nullptr;
    });
}
BENCHMARK(BM_FindBySubject);

void BM_FindByKeyId(benchmark::State& state) {
    vantrel::LogNull log;
    std::vector<vantrel::StringBuffer> ids;
    for (std::uint32_t i = 0; i < kQueries; ++i) {
        const std::string id = vaultKeyId(askedFor(i));
        vantrel::ContentCoding::encodeBase64(id.data(), static_cast<std::uint32_t>(id.size()),
                                             ids.emplace_back());
    }
    lookUp(state, [&](std::uint32_t query) {
        return vault().store.findBySubjectKeyId(ids[query], log) != nullptr;
    });
}
BENCHMARK(BM_FindByKeyId);

void BM_FindByDigest(benchmark::State& state, int hashId) {
    const std::vector<std::string> digests = queries([hashId](std::uint32_t number) {
        std::uint8_t digest[vantrel::crypto::kMaxDigestSize];
        const std::string der = vaultCertificate(static_cast<int>(number));
        return std::string(
            vantrel::asText(vantrel::crypto::hashBytes(hashId, vantrel::asBytes(der), digest)));
    });
    lookUp(state, [&](std::uint32_t query) {
        return vault().store.findByDigest(hashId, vantrel::asBytes(digests[query])) != nullptr;
    });
}
BENCHMARK_CAPTURE(BM_FindByDigest, Sha1, vantrel::kHashSha1);
BENCHMARK_CAPTURE(BM_FindByDigest, Sha256, vantrel::kHashSha256);

// Whether the very certificate of a document is among the caller's.
void BM_HoldsCertificate(benchmark::State& state) {
    const std::vector<std::string> ders =
        queries([](std::uint32_t number) { return vaultCertificate(static_cast<int>(number)); });
    lookUp(state,
           [&](std::uint32_t query) { return vault().store.holds(vantrel::asBytes(ders[query])); });
}
BENCHMARK(BM_HoldsCertificate);

} // namespace
