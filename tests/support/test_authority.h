// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_TEST_AUTHORITY_H
#define TESTS_SUPPORT_TEST_AUTHORITY_H

#include "tests/support/bytes.h"
#include "tests/support/process.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::test {

// Certificates, time-stamps and signed messages made by the program openssl, in a folder of their
// own. Whatever the program refuses throws, which fails the test.
class TestAuthority final {
public:
    explicit TestAuthority(std::string openssl) : m_openssl(std::move(openssl)) {
        m_folder.write("empty.cnf", "[req]\ndistinguished_name = dn\n[dn]\n");
        m_folder.write("serial", "01\n");
    }

    [[nodiscard]] std::string file(const std::string& name) const { return m_folder.file(name); }

    // The text printed by a run of openssl.
    std::string run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), m_openssl);
        const ProcessResult result = runProgram(arguments, here());
        if (result.exitCode != 0) {
            throw std::runtime_error("openssl " + arguments.at(1) + ": " + result.errors);
        }
        return result.output;
    }

    // name.key and name.pem with the given lines of extensions, signed by `issuer` (or by itself).
    // `key`: "ec", "ec384", "rsa", "dsa", "ed25519" or "ed448".
    void issue(const std::string& name, const std::string& issuer, const std::string& extensions,
               const std::string& key = "ec", const std::string& subject = "",
               const std::string& days = "3650") {
        makeKey(name, key);
        run({"req", "-new", "-config", "empty.cnf", "-key", name + ".key", "-out", name + ".csr",
             "-subj", "/C=XX/O=Test/CN=" + (subject.empty() ? name : subject)});
        m_folder.write(name + ".ext", extensions);
        std::vector<std::string> sign = {"x509",  "-req",        "-in",         name + ".csr",
                                         "-out",  name + ".pem", "-extfile",    name + ".ext",
                                         "-days", days,          "-set_serial", nextSerial()};
        if (issuer.empty()) {
            sign.insert(sign.end(), {"-signkey", name + ".key"});
        } else {
            sign.insert(sign.end(), {"-CA", issuer + ".pem", "-CAkey", issuer + ".key"});
        }
        run(sign);
    }

    // The answer of the authority `name`, whose chain is `chain`, to a query (RFC 3161 2.4).
    Bytes answer(const std::string& name, const std::string& chain, const Bytes& query,
                 const std::string& digest = "sha256") {
        m_folder.write("query.tsq", textOf(query));
        m_folder.write("tsa.cnf",
                       "[tsa]\ndefault_tsa = here\n[here]\nserial = serial\n"
                       "signer_cert = " +
                           name + ".pem\nsigner_key = " + name + ".key\ncerts = " + chain +
                           ".pem\nsigner_digest = " + digest +
                           "\ndefault_policy = 1.2.3.4.1\nother_policies = 1.2.3.4.5\n"
                           "digests = sha1, sha256, sha384, sha512\n"
                           "accuracy = secs:1, millisecs:500\nclock_precision_digits = 2\n"
                           "ordering = yes\ntsa_name = yes\ness_cert_id_chain = no\n"
                           "ess_cert_id_alg = sha256\n");
        // A refusal is an answer too, but then the program's exit code is 1.
        const ProcessResult result = runProgram({m_openssl, "ts", "-reply", "-config", "tsa.cnf",
                                                 "-queryfile", "query.tsq", "-out", "reply.tsr"},
                                                here());
        static_cast<void>(result);
        return readFile(file("reply.tsr"));
    }

    // Signed data over `content` made by the signer `name`.
    Bytes sign(const std::string& name, const std::string& content,
               const std::vector<std::string>& more = {}) {
        m_folder.write("content.bin", content);
        std::vector<std::string> arguments = {"cms",    "-sign",       "-binary",  "-nodetach",
                                              "-in",    "content.bin", "-signer",  name + ".pem",
                                              "-inkey", name + ".key", "-outform", "DER",
                                              "-out",   "message.p7"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        run(arguments);
        return readFile(file("message.p7"));
    }

private:
    ProcessOptions here() const {
        ProcessOptions options;
        options.folder = m_folder.path();
        return options;
    }
    void makeKey(const std::string& name, const std::string& key) {
        const std::string out = name + ".key";
        if (key == "rsa") {
            run({"genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out", out});
        } else if (key == "dsa") {
            // One set of parameters for all keys: they may be inherited, and take long to make.
            if (!std::filesystem::exists(file("dsa.param"))) {
                run({"genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt",
                     "dsa_paramgen_bits:1024", "-out", "dsa.param"});
            }
            run({"genpkey", "-paramfile", "dsa.param", "-out", out});
        } else if (key.starts_with("ed")) {
            run({"genpkey", "-algorithm", key, "-out", out});
        } else {
            run({"genpkey", "-algorithm", "EC", "-pkeyopt",
                 key == "ec384" ? "ec_paramgen_curve:P-384" : "ec_paramgen_curve:P-256", "-out",
                 out});
        }
    }
    std::string nextSerial() { return std::to_string(++m_serial); }

    std::string m_openssl;
    TempDir m_folder;
    int m_serial = 1000;
};

// Extensions of the certificates that tests need.
inline constexpr const char* kRootExtensions =
    "basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign\n"
    "subjectKeyIdentifier=hash\n";
inline constexpr const char* kTsaExtensions =
    "basicConstraints=CA:FALSE\nkeyUsage=critical,digitalSignature\n"
    "extendedKeyUsage=critical,timeStamping\nsubjectKeyIdentifier=hash\n"
    "authorityKeyIdentifier=keyid\n";

} // namespace vantrel::test

#endif
