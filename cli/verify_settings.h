#ifndef CLI_VERIFY_SETTINGS_H
#define CLI_VERIFY_SETTINGS_H

#include "cli/options.h"
#include <vantrel/ClsPublicKey.h>
#include <vantrel/ClsXmlCertVault.h>
#include <vantrel/ClsXmlDSig.h>
#include <vantrel/DataBuffer.h>
#include <vantrel/RefCountedObject.h>
#include <vantrel/limits.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::cli {

// The options that say what is verified and with what, as `verify` and `digest-input` share them.
[[nodiscard]] std::vector<OptionSpec> verificationOptions();

// Those options, read and checked: every key, certificate, file and folder that they name is there.
// Shared by the threads that verify; nothing here changes after load().
class VerifySettings final {
public:
    // False, with the reason in `complaint`: a usage error.
    [[nodiscard]] bool load(const Arguments& arguments, std::string& complaint);

    // Gives a new verifier what holds for all its signatures. False when something was refused,
    // with the reason in `complaint`.
    [[nodiscard]] bool prepare(ClsXmlDSig& verifier, std::string& complaint) const;
    // The external data, for the signature at the selector.
    [[nodiscard]] bool prepareSelected(ClsXmlDSig& verifier, std::string& complaint) const;
    // The indexes of the selected signatures of the loaded document. False, with the reason, when
    // there is no such signature.
    [[nodiscard]] bool select(ClsXmlDSig& verifier, std::vector<int>& indexes,
                              std::string& complaint) const;

    [[nodiscard]] bool selectsOne() const noexcept { return m_signature || m_id; }
    [[nodiscard]] bool checkReferences() const noexcept { return m_checkReferences; }
    [[nodiscard]] const std::optional<int>& reference() const noexcept { return m_reference; }
    [[nodiscard]] const dsig::Limits& limits() const noexcept { return m_limits; }
    [[nodiscard]] bool wantsLog() const noexcept { return m_log; }

private:
    [[nodiscard]] bool loadSelection(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadKey(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadHmacKey(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadCertificates(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadReferenceData(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadReferenceFolders(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadLimits(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool setLimits(ClsXmlDSig& verifier) const;
    [[nodiscard]] bool setKey(ClsXmlDSig& verifier) const;

    std::optional<int> m_signature;
    std::optional<std::string> m_id;
    bool m_checkReferences = true;
    std::optional<int> m_reference;
    dsig::Limits m_limits;
    DataBuffer m_keyBytes; // parsed anew for each verifier, so that no key object is shared
    std::string m_hmacKey;
    std::string m_hmacEncoding;
    std::unique_ptr<ClsXmlCertVault> m_vault;
    std::vector<std::pair<int, std::string>> m_referenceData;
    std::string m_referenceFolders;
    bool m_ignoreExternal = false;
    std::string m_words;
    bool m_log = false;
    bool m_verbose = false;
};

} // namespace vantrel::cli

#endif
