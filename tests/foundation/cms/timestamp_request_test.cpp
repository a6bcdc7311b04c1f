// SPDX-License-Identifier: MIT
// Requests for time-stamps, answered by a real authority (openssl ts) that a test server puts on
// the loopback interface, and by authorities that lie.

#include "foundation/crypto/hash/hasher.h"
#include "foundation/io/ClsHttp.h"
#include "foundation/json/ClsJsonObject.h"
#include "tests/foundation/cms/cms_support.h"
#include "tests/support/loopback_server.h"
#include "tests/support/test_authority.h"

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::test {

namespace {

struct Received {
    bool got = false;
    Bytes token;
    std::string errors;
};

Received request(const std::string& options, const std::string& data, ClsHttp* http) {
    Received received;
    RecordingLog log;
    ClsJsonObject json;
    EXPECT_TRUE(json.load(options, log)) << options;
    _clsCades cades;
    if (http != nullptr) {
        cades.setTsaHttpObj(*http, log);
    }
    DataBuffer token;
    received.got =
        Pkcs7SignedData::getTimestampToken(json, DataBuffer(asBytes(data)), cades, token, log);
    received.token.assign(token.view().begin(), token.view().end());
    received.errors = log.errors;
    return received;
}

std::string optionsFor(const std::string& url, const std::string& more = "") {
    return R"({"tsaUrl":")" + url + "\"" + more + "}";
}

// A transport that hands the query to a function and sends back what that returns.
void answerWith(ClsHttp& http, std::function<Bytes(const Bytes&)> answer) {
    http.SetTransport([answer = std::move(answer)](const HttpRequest& request) {
        HttpResponse response;
        response.status = 200;
        response.contentType = "application/timestamp-reply";
        response.body.append(answer(Bytes(request.body.begin(), request.body.end())));
        return response;
    });
}

bool hasError(const Received& received, std::string_view text) {
    return !received.got && received.token.empty() &&
           received.errors.find(text) != std::string::npos;
}

} // namespace

TEST(TimestampRequest, TokensOfARealAuthorityAreTakenAndVerify) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    authority.issue("root", "", kRootExtensions);
    authority.issue("tsarsa", "root", kTsaExtensions, "rsa");
    authority.issue("tsaec", "root", kTsaExtensions, "ec384");
    Store store({authority.file("root.pem")});
    Store signers({authority.file("tsarsa.pem"), authority.file("tsaec.pem")});

    std::string name;
    std::string signedWith;
    const LoopbackServer server([&](const Peer& peer, const std::string& post) {
        EXPECT_NE(post.find("Content-Type: application/timestamp-query\r\n"), std::string::npos);
        const Bytes query = bytesOf(post.substr(post.find("\r\n\r\n") + 4));
        const std::string reply = textOf(authority.answer(name, "root", query, signedWith));
        peer.send("HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\n"
                  "Content-Length: " +
                  std::to_string(reply.size()) + "\r\n\r\n" + reply);
    });
    const std::string data = "what is time-stamped";
    writeFile(authority.file("data.bin"), data);
    for (const char* const signer : {"tsarsa", "tsaec"}) {
        for (const char* const hash : {"sha1", "sha256", "SHA-384", "sha512"}) {
            for (const bool withCertificate : {true, false}) {
                name = signer;
                signedWith = std::string_view(hash) == "SHA-384" ? "sha384" : hash;
                SCOPED_TRACE(name + " " + hash + (withCertificate ? " certificate" : ""));
                const Received received =
                    request(optionsFor(server.url("/tsa"),
                                       std::string(",\"hashAlgorithm\":\"") + hash +
                                           "\",\"policyOid\":\"1.2.3.4.5\",\"requestCert\":" +
                                           (withCertificate ? "true" : "false")),
                            data, nullptr);
                ASSERT_TRUE(received.got) << received.errors;

                Pkcs7SignedData token;
                ASSERT_EQ(verifyMessage(token, received.token, store.get(),
                                        R"({"requireTrustedTsa":true})")
                              .verified,
                          withCertificate);
                const Outcome outcome = verifyMessage(token, received.token, signers.get());
                ASSERT_TRUE(outcome.verified) << outcome.errors;
                EXPECT_EQ(token.signerSubject().view(), "CN=" + name + ",O=Test,C=XX");
                EXPECT_EQ(token.tstInfo().accuracyMicros, 1500000);
                EXPECT_TRUE(token.tstInfo().ordering && token.tstInfo().hasNonce);
                EXPECT_FALSE(token.tstInfo().tsa.empty());

                writeFile(authority.file("token.tst"), textOf(received.token));
                std::vector<std::string> check = {
                    "ts",        "-verify", "-data",    "data.bin",   "-in",        "token.tst",
                    "-token_in", "-CAfile", "root.pem", "-untrusted", name + ".pem"};
                EXPECT_NE(authority.run(check).find("Verification: OK"), std::string::npos);
            }
        }
    }
}

TEST(TimestampRequest, AnswersThatDoNotFitAreRefused) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    authority.issue("root", "", kRootExtensions);
    authority.issue("tsa", "root", kTsaExtensions);
    ClsHttp http;
    Bytes last;
    const auto genuine = [&](const Bytes& query) {
        last = authority.answer("tsa", "root", query);
        return last;
    };
    const std::string plain = optionsFor("https://tsa.example/", ",\"nonce\":false");
    const std::string withNonce = optionsFor("https://tsa.example/");
    answerWith(http, genuine);
    ASSERT_TRUE(request(plain, "data", &http).got);
    const Bytes recorded = last;

    // The same answer again is right for the same data, and for nothing else.
    answerWith(http, [&](const Bytes&) { return recorded; });
    EXPECT_TRUE(request(plain, "data", &http).got);
    EXPECT_TRUE(hasError(request(plain, "Data", &http), "not over the data that was sent"));
    EXPECT_TRUE(hasError(request(withNonce, "data", &http), "does not repeat the nonce"));
    EXPECT_TRUE(hasError(
        request(optionsFor("https://tsa.example/", ",\"nonce\":false,\"hashAlgorithm\":\"sha384\""),
                "data", &http),
        "not over the data that was sent"));
    EXPECT_TRUE(hasError(
        request(optionsFor("https://tsa.example/", ",\"nonce\":false,\"policyOid\":\"1.2.3.4.5\""),
                "data", &http),
        "under another policy"));

    // A policy that the authority does not have: it says so.
    answerWith(http, genuine);
    EXPECT_TRUE(hasError(
        request(optionsFor("https://tsa.example/", ",\"policyOid\":\"1.2.3.4.9\""), "data", &http),
        "The time-stamp authority refused the request."));

    // No certificate although one was asked for: the token cannot be checked.
    answerWith(http, [&](const Bytes& query) {
        Bytes without = query;
        without.resize(without.size() - 3); // certReq stands last
        without[1] = static_cast<std::uint8_t>(without[1] - 3);
        return genuine(without);
    });
    EXPECT_TRUE(hasError(request(withNonce, "data", &http), "The signer's certificate is neither"));

    // Cut or changed anywhere, the answer is refused or gives a token that verifies.
    for (std::size_t size = 0; size < recorded.size(); ++size) {
        answerWith(http, [&](const Bytes&) {
            return Bytes(recorded.begin(), recorded.begin() + static_cast<std::ptrdiff_t>(size));
        });
        ASSERT_FALSE(request(plain, "data", &http).got) << "cut to " << size;
    }
    for (std::size_t i = 0; i < recorded.size(); ++i) {
        answerWith(http, [&](const Bytes&) {
            Bytes changed = recorded;
            changed[i] ^= 0x01U;
            return changed;
        });
        const Received received = request(plain, "data", &http);
        ASSERT_TRUE(!received.got || verifyMessage(received.token, nullptr).verified) << i;
    }
}

TEST(TimestampRequest, OptionsAndTransportFaultsAreReported) {
    const struct {
        const char* options;
        const char* error;
    } cases[] = {
        {"{}", "The time-stamp options have no tsaUrl."},
        {R"({"tsaUrl":""})", "The time-stamp options have no tsaUrl."},
        {R"({"tsaUrl":"https://x/","hashAlgorithm":"sha3-256"})", "hashAlgorithm"},
        {R"({"tsaUrl":"https://x/","policyOid":"1.2.x"})", "policyOid"},
        {R"({"tsaUrl":"ftp://x/"})", "The URL is not usable."},
        {R"({"tsaUrl":"https://x/"})", "https: needs a transport"},
    };
    for (const auto& one : cases) {
        EXPECT_TRUE(hasError(request(one.options, "data", nullptr), one.error)) << one.options;
    }
    EXPECT_TRUE(hasError(request(optionsFor("http://x/"), "", nullptr),
                         "There is nothing to be time-stamped."));

    ClsHttp http;
    for (const auto& [answer, error] : std::vector<std::pair<const char*, const char*>>{
             {"", "is malformed"},
             {"<html>", "is malformed"},
             {"30053003020100", "sent no usable token"},        // granted, and nothing else
             {"30053003020102", "refused the request"},         // rejection
             {"3009300702010203020520", "refused the request"}, // badDataFormat
             {"300730030201000500", "sent no usable token"},
             {"300730030201003000", "are not CMS signed data"}}) {
        const std::string text = answer;
        answerWith(http, [&](const Bytes&) {
            return text.starts_with("30") ? fromHex(text) : bytesOf(text);
        });
        const Received received = request(optionsFor("https://x/"), "data", &http);
        EXPECT_TRUE(hasError(received, error)) << text << ": " << received.errors;
    }

    const LoopbackServer failing([](const Peer& peer, const std::string&) {
        peer.send("HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n");
    });
    EXPECT_TRUE(hasError(request(optionsFor(failing.url()), "data", nullptr), "HTTP status"));
    const LoopbackServer silent([](const Peer& peer, const std::string&) { peer.pause(3000); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(hasError(request(optionsFor(silent.url(), ",\"timeoutMs\":200"), "data", nullptr),
                         "The HTTP operation timed out."));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
}

} // namespace vantrel::test
