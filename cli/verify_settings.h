#ifndef CLI_VERIFY_SETTINGS_H
#define CLI_VERIFY_SETTINGS_H

#include "cli/options.h"
#include "cli/policy_settings.h"
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

// The options that say what is verified and with what, which `verify` shares with the commands that
// go its way: whoever looks for the octets of a digest gives the same options as for verifying.
// Read and checked: every key, certificate, file and folder that they name is there.
// So a mistake on the command line is told once and before any work. Shared by the threads that
// verify; nothing here changes after load(). The HMAC secret is held as text for as long.
class VerifySettings final {
public:
    // False, with the reason in `complaint`: a usage error; the object is then of no use.
    [[nodiscard]] bool load(const Arguments& arguments, std::string& complaint);

    // Gives a new verifier what holds for all its signatures. False when something was refused,
    // with the reason in `complaint`. The certificates are shared, keys are the verifier's own. To
    // be called before a document is loaded, since limits and options act on loading.
    [[nodiscard]] bool prepare(ClsXmlDSig& verifier, std::string& complaint) const;
    // The external data, for the signature at the selector: the verifier keeps it by signature.
    [[nodiscard]] bool prepareSelected(ClsXmlDSig& verifier, std::string& complaint) const;
    // The indexes of the selected signatures of the loaded document. False, with the reason, when
    // there is no such signature.
    [[nodiscard]] bool select(ClsXmlDSig& verifier, std::vector<int>& indexes,
                              std::string& complaint) const;

    // Whether one signature is named, by index or Id; else all are meant.
    [[nodiscard]] bool selectsOne() const noexcept { return m_signature || m_id; }
    // False with --no-references.
    [[nodiscard]] bool checkReferences() const noexcept { return m_checkReferences; }
    // The one reference that is asked for, if any.
    [[nodiscard]] const std::optional<int>& reference() const noexcept { return m_reference; }
    // Those of the library with what --limit changed; reports and logs of the tool keep to them,
    // too.
    [[nodiscard]] const dsig::Limits& limits() const noexcept { return m_limits; }
    // Whether the causes of failures are searched, and with how many times the usual effort.
    [[nodiscard]] bool explains() const noexcept { return m_explains; }
    void setExplains(bool explains) noexcept { m_explains = explains; }
    [[nodiscard]] int effort() const noexcept { return m_effort.value_or(1); }
    [[nodiscard]] bool wantsLog() const noexcept { return m_log; }
    // By what signatures are accepted; its `policy` is null when that was not asked for.
    [[nodiscard]] const PolicySettings& policy() const noexcept { return m_policy; }

private:
    // The options by subject, each as load().
    [[nodiscard]] bool loadSelection(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadKeyFiles(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadHmacKey(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadCertificates(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadReferenceData(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadReferenceFolders(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool loadLimits(const Arguments& arguments, std::string& complaint);
    [[nodiscard]] bool setLimits(ClsXmlDSig& verifier) const;
    [[nodiscard]] bool setKeys(ClsXmlDSig& verifier) const;
    void addToVault(const std::vector<DataBuffer>& certificates);
    [[nodiscard]] ClsXmlCertVault& vault(); // made at first need

    std::optional<int> m_signature;
    std::optional<std::string> m_id;
    bool m_checkReferences = true;
    std::optional<int> m_reference;
    bool m_explains = false;
    std::optional<int> m_effort;
    dsig::Limits m_limits;
    // Of --key; parsed anew for each verifier, so that no key object is shared.
    std::vector<DataBuffer> m_keyFiles;
    std::string m_hmacKey;
    std::string m_hmacEncoding;
    std::unique_ptr<ClsXmlCertVault> m_vault;                 // null without certificates
    std::vector<std::pair<int, std::string>> m_referenceData; // index and path
    std::string m_referenceFolders;                           // separated by ';'
    bool m_ignoreExternal = false;
    std::string m_words; // of the uncommon options, separated by ','
    PolicySettings m_policy;
    bool m_log = false;
    bool m_verbose = false;
};

// The complaint about an index beyond the document's `count` signatures.
[[nodiscard]] std::string noSuchSignature(int index, int count);

} // namespace vantrel::cli

#endif
