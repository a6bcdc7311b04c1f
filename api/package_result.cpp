// SPDX-License-Identifier: MIT
#include "api/package_result.h"

#include "api/document_acceptance.h"
#include "api/package_run.h"
#include "api/read_report.h"
#include "api/report_json.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/text/LogBase.h"

#include <array>
#include <utility>

namespace vantrel::api {

namespace {

std::string textOf(ClsXmlDSig& verifier, void (ClsXmlDSig::*getter)(XString&)) {
    XString kept;
    (verifier.*getter)(kept);
    return std::string(kept.getUtf8Sb().view());
}

// The same as Document::verify() does with one document, for each signature document in turn.
//
// Takes the signatures of a package over as they are verified.
class Collector {
public:
    Collector(const VerifyOptions& options, VerifyResult& result)
        : m_options(options), m_result(result) {}

    RunSteps stepsOf(ClsXmlDSig& verifier) {
        RunSteps steps;
        steps.explains = m_options.explain;
        steps.attempted = [this, &verifier](std::string& /*error*/) {
            addLog(verifier, m_log);
            return true;
        };
        steps.finished = [this, &verifier](std::string& error) {
            if (take(verifier)) {
                return true;
            }
            error = kReportTooLarge;
            m_result.signatures.clear();
            return false;
        };
        return steps;
    }

    // Where logs are asked for; what their limit cuts off is not taken up again.
    void addLog(ClsXmlDSig& verifier, std::string& log) {
        const std::uint64_t most = m_options.limits.logOctets;
        if (!(m_options.log || m_options.verboseLog) || m_logOctets > most) {
            return;
        }
        const std::string text = textOf(verifier, &ClsXmlDSig::get_LastErrorText);
        m_logOctets += text.size();
        log += m_logOctets > most ? kLogsEnd : text;
    }

    [[nodiscard]] const DocumentAcceptance& acceptance() const noexcept { return m_acceptance; }

private:
    bool take(ClsXmlDSig& verifier) {
        std::string json = textOf(verifier, &ClsXmlDSig::get_LastJsonData);
        m_octets += json.size();
        SignatureResult signature;
        if (m_octets > m_options.limits.reportOctets ||
            !readSignature(std::move(json), signature)) {
            return false;
        }
        signature.log = std::exchange(m_log, {});
        m_acceptance.add(signature);
        m_result.signatures.push_back(std::move(signature));
        return true;
    }

    const VerifyOptions& m_options;
    VerifyResult& m_result;
    DocumentAcceptance m_acceptance;
    std::string m_log; // of all attempts at one signature, until its result takes them over
    std::uint64_t m_octets = 0;
    std::uint64_t m_logOctets = 0;
};

} // namespace

std::shared_ptr<const io::RandomAccess> openPackage(const std::string& path) {
    LogNull quiet;
    auto file = std::make_shared<io::FileAccess>();
    std::array<std::uint8_t, 4> start{};
    const bool isThere = file->open(path, quiet) && file->read(0, start) && isPackage(start);
    return isThere ? file : nullptr;
}

VerifyResult packageResult(std::shared_ptr<const io::RandomAccess> bytes,
                           const VerifyOptions& options) {
    VerifyResult result;
    Collector collector(options, result);
    PackageSteps steps;
    steps.prepare = [&options](ClsXmlDSig& verifier, std::string& error) {
        return prepareVerifier(options, verifier, error);
    };
    steps.loaded = [&](ClsXmlDSig& verifier, std::string& /*error*/) {
        collector.addLog(verifier, result.log);
        return true;
    };
    steps.stepsOf = [&collector](ClsXmlDSig& verifier) { return collector.stepsOf(verifier); };
    result.size = bytes->size();
    result.sha256 = sha256Of(*bytes);
    Container container;
    // Half of what is covered could pass for all of it.
    if (!verifyPackage(std::move(bytes), options, steps, container, result.status, result.error)) {
        result.status = Status::Error;
    } else {
        result.container = std::move(container);
    }
    if (options.policy.asks()) {
        setAcceptance(options.policy, collector.acceptance(), result);
    }
    result.wholeSignatures = options.checkReferences && !options.reference;
    return result;
}

} // namespace vantrel::api
