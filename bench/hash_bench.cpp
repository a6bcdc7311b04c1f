// SPDX-License-Identifier: MIT
// Hash algorithms beside OpenSSL's: every kernel over long input, and the short messages of small
// documents. "openssl" lines measure the peer with the same message.
#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/mac/Hmac.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"

#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

namespace {

using vantrel::crypto::Hasher;
using vantrel::crypto::HashKernel;

struct Algorithm {
    int id;
    const char* peerName;
};
constexpr Algorithm kAlgorithms[] = {
    {vantrel::kHashSha1, "SHA1"},         {vantrel::kHashSha256, "SHA256"},
    {vantrel::kHashSha384, "SHA384"},     {vantrel::kHashSha512, "SHA512"},
    {vantrel::kHashMd5, "MD5"},           {vantrel::kHashRipemd160, "RIPEMD160"},
    {vantrel::kHashSha224, "SHA224"},     {vantrel::kHashSha3_256, "SHA3-256"},
    {vantrel::kHashSha3_512, "SHA3-512"},
};

std::vector<std::uint8_t> randomBytes(std::size_t count) {
    std::mt19937_64 random(1);
    std::vector<std::uint8_t> bytes(count);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

void setBytes(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(size));
}

void hashOurs(benchmark::State& state, int id, const HashKernel* kernel, std::size_t size) {
    const std::vector<std::uint8_t> data = randomBytes(size);
    std::uint8_t digest[vantrel::crypto::kMaxDigestSize];
    for (auto _ : state) {
        Hasher hasher = kernel != nullptr ? Hasher(id, *kernel) : Hasher(id);
        hasher.update(data);
        hasher.final(digest);
        benchmark::DoNotOptimize(digest);
    }
    setBytes(state, size);
}

void hashPeer(benchmark::State& state, const EVP_MD* digestType, std::size_t size) {
    const std::vector<std::uint8_t> data = randomBytes(size);
    std::uint8_t digest[EVP_MAX_MD_SIZE];
    for (auto _ : state) {
        EVP_Digest(data.data(), data.size(), digest, nullptr, digestType, nullptr);
        benchmark::DoNotOptimize(digest);
    }
    setBytes(state, size);
}

void hmacOurs(benchmark::State& state, int id, std::size_t size) {
    const std::vector<std::uint8_t> data = randomBytes(size);
    vantrel::DataBuffer code;
    vantrel::LogNull log;
    for (auto _ : state) {
        code.clear();
        if (!vantrel::Hmac::doHMAC(data.data(), static_cast<int>(size), "0123456789abcdef", 16, id,
                                   code, log)) {
            state.SkipWithError("doHMAC failed");
            break;
        }
    }
}

void hmacPeer(benchmark::State& state, const EVP_MD* digestType, std::size_t size) {
    const std::vector<std::uint8_t> data = randomBytes(size);
    std::uint8_t code[EVP_MAX_MD_SIZE];
    for (auto _ : state) {
        HMAC(digestType, "0123456789abcdef", 16, data.data(), data.size(), code, nullptr);
        benchmark::DoNotOptimize(code);
    }
}

void registerHash(const Algorithm& algorithm, std::size_t size) {
    const EVP_MD* const peer = EVP_get_digestbyname(algorithm.peerName);
    const std::string name = std::string("hash/") + algorithm.peerName + "/" + std::to_string(size);
    benchmark::RegisterBenchmark((name + "/openssl").c_str(),
                                 [=](benchmark::State& state) { hashPeer(state, peer, size); });
    if (size <= 1024) {
        benchmark::RegisterBenchmark((name + "/chosen").c_str(), [=](benchmark::State& state) {
            hashOurs(state, algorithm.id, nullptr, size);
        });
        return;
    }
    for (const HashKernel& kernel : vantrel::crypto::hashKernels(algorithm.id)) {
        if (vantrel::cpu::supports(kernel.needs)) {
            benchmark::RegisterBenchmark((name + "/" + std::string(kernel.name)).c_str(),
                                         [=, &kernel](benchmark::State& state) {
                                             hashOurs(state, algorithm.id, &kernel, size);
                                         });
        }
    }
}

void registerHmac(const Algorithm& algorithm, std::size_t size) {
    const EVP_MD* const peer = EVP_get_digestbyname(algorithm.peerName);
    const std::string name = std::string("hmac/") + algorithm.peerName + "/" + std::to_string(size);
    benchmark::RegisterBenchmark((name + "/openssl").c_str(),
                                 [=](benchmark::State& state) { hmacPeer(state, peer, size); });
    benchmark::RegisterBenchmark((name + "/ours").c_str(), [=](benchmark::State& state) {
        hmacOurs(state, algorithm.id, size);
    });
}

const bool kRegistered = [] {
    for (const Algorithm& algorithm : kAlgorithms) {
        for (const std::size_t size : {std::size_t{64}, std::size_t{1024}, std::size_t{65536}}) {
            registerHash(algorithm, size);
        }
        registerHmac(algorithm, 64);
    }
    return true;
}();

} // namespace
