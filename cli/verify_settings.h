// SPDX-License-Identifier: MIT
#ifndef CLI_VERIFY_SETTINGS_H
#define CLI_VERIFY_SETTINGS_H

#include "cli/options.h"
#include <vantrel/ClsXmlDSig.h>
#include <vantrel/limits.h>
#include <vantrel/verification.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::cli {

// The options that say what is verified and with what, which `verify` shares with the commands that
// go its way: whoever looks for the octets of a digest gives the same options as for verifying.
// Read and checked: every key, certificate, file and folder that they name is there.
// So a mistake on the command line is told once and before any work. Shared by the threads that
// verify; nothing here changes after load(). The HMAC secret is held as text for as long.
class VerifySettings final {
public:
    VerifySettings() = default;
    // Options that were read and checked elsewhere.
    explicit VerifySettings(VerifyOptions options) : m_options(std::move(options)) {}

    // False, with the reason in `complaint`: a usage error; the object is then of no use.
    [[nodiscard]] bool load(const Arguments& arguments, std::string& complaint);

    // Gives a new verifier what holds for all its signatures, before a document is loaded. False
    // when something was refused, with the reason in `complaint`.
    [[nodiscard]] bool prepare(ClsXmlDSig& verifier, std::string& complaint) const;
    // What the library takes of it; the same for all threads.
    [[nodiscard]] const VerifyOptions& options() const noexcept { return m_options; }
    // The indexes of the selected signatures of the loaded document. False, with the reason, when
    // there is no such signature.
    [[nodiscard]] bool select(ClsXmlDSig& verifier, std::vector<int>& indexes,
                              std::string& complaint) const;

    // Whether one signature is named, by index or Id; else all are meant.
    [[nodiscard]] bool selectsOne() const noexcept { return m_options.signature || m_options.id; }
    // The one reference that is asked for, if any.
    [[nodiscard]] const std::optional<int>& reference() const noexcept {
        return m_options.reference;
    }
    // Those of the library with what --limit changed; reports and logs of the tool keep to them,
    // too.
    [[nodiscard]] const dsig::Limits& limits() const noexcept { return m_options.limits; }
    // Whether the causes of failures are searched.
    [[nodiscard]] bool explains() const noexcept { return m_options.explain; }
    void setExplains(bool explains) noexcept { m_options.explain = explains; }
    // Threads for each file.
    void setThreads(int threads) noexcept { m_options.threads = threads; }
    [[nodiscard]] bool wantsLog() const noexcept { return m_options.log || m_options.verboseLog; }
    // Whether there is a policy by which signatures are accepted, and whether one that is suffices.
    [[nodiscard]] bool judges() const noexcept { return m_options.policy.asks(); }
    [[nodiscard]] bool anySuffices() const noexcept {
        return m_options.policy.accept == Accept::Any;
    }

private:
    // The options by subject, each as load().
    [[nodiscard]] bool loadSelection(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadKeyFiles(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadHmacKey(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadCertificates(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadReferenceData(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadReferenceFolders(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadLimits(const Arguments& arguments, std::string& complaint);

    VerifyOptions m_options;
};

// The complaint about an index beyond the document's `count` signatures.
[[nodiscard]] std::string noSuchSignature(int index, int count);

} // namespace vantrel::cli

#endif
