// SPDX-License-Identifier: MIT
// Signature verification, ours beside OpenSSL's, with the same keys and signatures in one run.
// "Ready" is a key that was used before (ours has its tables then), "Once" a key that is loaded
// and used a single time from the same numbers.

#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/dsa/DsaVerifier.h"
#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/crypto/rsa/RsaVerifier.h"
#include "foundation/text/LogBase.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Key = std::shared_ptr<EVP_PKEY>;

struct Case {
    std::string name;
    Key key;
    Bytes hash;
    Bytes signature;
};

Bytes number(const Key& key, const char* name) {
    BIGNUM* value = nullptr;
    EVP_PKEY_get_bn_param(key.get(), name, &value);
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(value)));
    BN_bn2bin(value, bytes.data());
    BN_free(value);
    return bytes;
}

std::shared_ptr<EVP_PKEY_CTX> context(const Key& key) {
    return {EVP_PKEY_CTX_new(key.get(), nullptr), EVP_PKEY_CTX_free};
}

Case sign(std::string name, EVP_PKEY* raw, std::size_t hashSize) {
    Case result{std::move(name), Key(raw, EVP_PKEY_free), Bytes(hashSize, 0x5a), {}};
    const auto ctx = context(result.key);
    EVP_PKEY_sign_init(ctx.get());
    if (EVP_PKEY_base_id(raw) == EVP_PKEY_RSA) {
        EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_PKCS1_PADDING);
        EVP_PKEY_CTX_set_signature_md(ctx.get(), EVP_sha256());
    }
    std::size_t size = 0;
    EVP_PKEY_sign(ctx.get(), nullptr, &size, result.hash.data(), hashSize);
    result.signature.resize(size);
    EVP_PKEY_sign(ctx.get(), result.signature.data(), &size, result.hash.data(), hashSize);
    result.signature.resize(size);
    return result;
}

Case dsaCase() {
    EVP_PKEY* parameters = nullptr;
    std::shared_ptr<EVP_PKEY_CTX> ctx(EVP_PKEY_CTX_new_id(EVP_PKEY_DSA, nullptr),
                                      EVP_PKEY_CTX_free);
    EVP_PKEY_paramgen_init(ctx.get());
    EVP_PKEY_CTX_set_dsa_paramgen_bits(ctx.get(), 2048);
    EVP_PKEY_CTX_set_dsa_paramgen_q_bits(ctx.get(), 256);
    EVP_PKEY_paramgen(ctx.get(), &parameters);
    const Key owner(parameters, EVP_PKEY_free);
    const auto generator = context(owner);
    EVP_PKEY* key = nullptr;
    EVP_PKEY_keygen_init(generator.get());
    EVP_PKEY_keygen(generator.get(), &key);
    return sign("DSA-2048", key, 32);
}

void theirs(benchmark::State& state, const Case& item) {
    const auto ctx = context(item.key);
    EVP_PKEY_verify_init(ctx.get());
    if (EVP_PKEY_base_id(item.key.get()) == EVP_PKEY_RSA) {
        EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_PKCS1_PADDING);
        EVP_PKEY_CTX_set_signature_md(ctx.get(), EVP_sha256());
    }
    for (auto _ : state) {
        if (EVP_PKEY_verify(ctx.get(), item.signature.data(), item.signature.size(),
                            item.hash.data(), item.hash.size()) != 1) {
            state.SkipWithError("not verified");
        }
    }
}

// Runs `load` once or before each verification.
template <class Load, class Verify>
void ours(benchmark::State& state, bool once, const Load& load, const Verify& verify) {
    if (!load() || !verify() || !verify() || !verify()) {
        state.SkipWithError("not verified");
        return;
    }
    for (auto _ : state) {
        if ((once && !load()) || !verify()) {
            state.SkipWithError("not verified");
        }
    }
}

vantrel::LogNull& nullLog() {
    static vantrel::LogNull log;
    return log;
}

std::uint32_t size32(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

void rsa(benchmark::State& state, const Case& item, bool once) {
    const Bytes n = number(item.key, OSSL_PKEY_PARAM_RSA_N);
    const Bytes e = number(item.key, OSSL_PKEY_PARAM_RSA_E);
    vantrel::RsaKeyData key;
    std::string_view whyNot;
    ours(
        state, once, [&] { return key.load(n, e, whyNot); },
        [&] {
            bool verified = false;
            bool wrongKey = false;
            return vantrel::RsaVerifier::verifyHashExt(
                       item.signature.data(), size32(item.signature), item.hash.data(),
                       size32(item.hash), vantrel::kHashSha256, vantrel::kPaddingPkcs1,
                       vantrel::kHashSha256, verified, key, 0, true, wrongKey, nullLog()) &&
                   verified;
        });
}

// The public operation alone; `count` values together, the time of one.
void recover(benchmark::State& state, const Case& item, std::size_t count) {
    vantrel::RsaKeyData key;
    std::string_view whyNot;
    const std::vector<vantrel::ByteView> values(count, item.signature);
    Bytes blocks(count * item.signature.size());
    if (!key.load(number(item.key, OSSL_PKEY_PARAM_RSA_N), number(item.key, OSSL_PKEY_PARAM_RSA_E),
                  whyNot)) {
        state.SkipWithError("no key");
        return;
    }
    while (state.KeepRunningBatch(static_cast<std::int64_t>(count))) {
        if (key.recoverEach(values, blocks).count() != count) {
            state.SkipWithError("not recovered");
        }
    }
}

void dsa(benchmark::State& state, const Case& item, bool once) {
    const Bytes p = number(item.key, OSSL_PKEY_PARAM_FFC_P);
    const Bytes q = number(item.key, OSSL_PKEY_PARAM_FFC_Q);
    const Bytes g = number(item.key, OSSL_PKEY_PARAM_FFC_G);
    const Bytes y = number(item.key, OSSL_PKEY_PARAM_PUB_KEY);
    vantrel::DsaKeyData key;
    std::string_view whyNot;
    ours(
        state, once, [&] { return key.load(p, q, g, y, whyNot); },
        [&] {
            bool verified = false;
            return vantrel::DsaVerifier::verifyHash(key, item.signature.data(),
                                                    size32(item.signature), true, item.hash.data(),
                                                    size32(item.hash), verified, nullLog()) &&
                   verified;
        });
}

void ecdsa(benchmark::State& state, const Case& item, bool once) {
    Bytes point(200);
    std::size_t size = 0;
    EVP_PKEY_get_octet_string_param(item.key.get(), OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY,
                                    point.data(), point.size(), &size);
    point.resize(size);
    const vantrel::crypto::Curve* const curve = vantrel::crypto::findCurveByName(item.name);
    vantrel::EccVerifier key;
    std::string_view whyNot;
    ours(
        state, once, [&] { return key.loadPoint(*curve, point, whyNot); },
        [&] {
            bool verified = false;
            return key.eccVerifyHash(item.signature.data(), size32(item.signature), false,
                                     item.hash.data(), size32(item.hash), verified, nullLog(), 0) &&
                   verified;
        });
}

// EdDSA signs the message itself, which is the case's hash.
Case signEdwards(const char* name) {
    Case result{name, Key(EVP_PKEY_Q_keygen(nullptr, nullptr, name), EVP_PKEY_free),
                Bytes(32, 0x5a), Bytes(200)};
    const std::shared_ptr<EVP_MD_CTX> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    std::size_t size = result.signature.size();
    EVP_DigestSignInit(ctx.get(), nullptr, nullptr, nullptr, result.key.get());
    EVP_DigestSign(ctx.get(), result.signature.data(), &size, result.hash.data(),
                   result.hash.size());
    result.signature.resize(size);
    return result;
}

void theirsEdwards(benchmark::State& state, const Case& item) {
    for (auto _ : state) {
        const std::shared_ptr<EVP_MD_CTX> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
        EVP_DigestVerifyInit(ctx.get(), nullptr, nullptr, nullptr, item.key.get());
        if (EVP_DigestVerify(ctx.get(), item.signature.data(), item.signature.size(),
                             item.hash.data(), item.hash.size()) != 1) {
            state.SkipWithError("not verified");
        }
    }
}

void edwards(benchmark::State& state, const Case& item, bool once) {
    Bytes point(57);
    std::size_t size = point.size();
    EVP_PKEY_get_raw_public_key(item.key.get(), point.data(), &size);
    point.resize(size);
    std::unique_ptr<vantrel::crypto::EdwardsKey> key;
    std::string_view whyNot;
    ours(
        state, once,
        [&] {
            key = vantrel::crypto::EdwardsKey::load(*vantrel::crypto::findEdwardsCurve(item.name),
                                                    point, whyNot);
            return key != nullptr;
        },
        [&] { return key->verify(item.hash, item.signature); });
}

template <class Ours> void registerCase(Case item, Ours function) {
    const auto shared = std::make_shared<Case>(std::move(item));
    benchmark::RegisterBenchmark((shared->name + "/OpenSSL").c_str(),
                                 [shared](benchmark::State& state) {
                                     if (vantrel::crypto::findEdwardsCurve(shared->name)) {
                                         theirsEdwards(state, *shared);
                                     } else {
                                         theirs(state, *shared);
                                     }
                                 });
    benchmark::RegisterBenchmark(
        (shared->name + "/Ready").c_str(),
        [shared, function](benchmark::State& state) { function(state, *shared, false); });
    benchmark::RegisterBenchmark(
        (shared->name + "/Once").c_str(),
        [shared, function](benchmark::State& state) { function(state, *shared, true); });
}

const bool kRegistered = [] {
    for (const unsigned bits : {2048U, 3072U, 4096U}) {
        const Case item = sign("RSA-" + std::to_string(bits), EVP_RSA_gen(bits), 32);
        registerCase(item, rsa);
        for (const std::size_t count : {1U, 5U, 8U}) {
            const std::string name = item.name + "/ValuesTogether/" + std::to_string(count);
            benchmark::RegisterBenchmark(name.c_str(), [item, count](benchmark::State& state) {
                recover(state, item, count);
            });
        }
    }
    const std::array<std::array<const char*, 2>, 5> curves = {
        {{"P-256", "P-256"},
         {"P-384", "P-384"},
         {"P-521", "P-521"},
         {"secp256k1", "secp256k1"},
         {"brainpoolP256r1", "brainpoolP256r1"}}};
    for (const auto& [name, group] : curves) {
        registerCase(sign(name, EVP_EC_gen(group), 32), ecdsa);
    }
    registerCase(dsaCase(), dsa);
    for (const char* const name : {"ED25519", "ED448"}) {
        registerCase(signEdwards(name), edwards);
    }
    return true;
}();

} // namespace
