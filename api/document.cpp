// SPDX-License-Identifier: MIT
#include "api/document.h"

#include "api/document_acceptance.h"
#include "api/package_result.h"
#include "api/package_run.h"
#include "api/read_file.h"
#include "api/read_report.h"
#include "api/report_json.h"
#include "api/verification.h"
#include "dsig/document/fingerprint.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/io/random_access.h"
#include "foundation/text/LogBase.h"

#include <utility>

namespace vantrel {

namespace {

// One of the texts that the verifier keeps of its last operation.
std::string textOf(ClsXmlDSig& verifier, void (ClsXmlDSig::*getter)(XString&)) {
    XString kept;
    (verifier.*getter)(kept);
    return std::string(kept.getUtf8Sb().view());
}

Error lastError(ClsXmlDSig& verifier, std::string_view otherwise) {
    const std::string line = textOf(verifier, &ClsXmlDSig::get_LastErrorLine);
    return {line.empty() ? std::string(otherwise) : line, {}};
}

std::string textOf(const ClsBinData& octets) { return std::string(asText(octets.data().view())); }

} // namespace

// The contract's verifier does the work; it is given what the options say once, and keeps the
// document.
struct Document::State {
    VerifyOptions options;
    std::shared_ptr<const io::RandomAccess> package; // null for a document of its own
    ClsBinData document; // the octets; of a package those of the signature document
    std::string sha256;  // of the document, once it was asked for
    std::string loadLog;
    std::uint64_t logOctets = 0; // of the logs of the last verification so far
    ClsXmlDSig verifier;

    VerifyResult verify(const VerifyOptions& asked, bool forPage);
    bool keepSignature(const VerifyOptions& asked, std::string&& log, std::uint64_t& octets,
                       VerifyResult& result);
    void addLog(std::uint64_t most, std::string& log);
    bool load(Error& error);
    bool select(int index, Error& error);
};

// The log of the last operation. There may be very many of them: what their limit cuts off is not
// taken up again, so that no log stands there with a gap before it.
void Document::State::addLog(std::uint64_t most, std::string& log) {
    if (logOctets > most) {
        return;
    }
    const std::string text = textOf(verifier, &ClsXmlDSig::get_LastErrorText);
    logOctets += text.size();
    log += logOctets > most ? api::kLogsEnd : text;
}

// The report of the signature that was verified last, as JSON and as values. False when the reports
// together are too large.
bool Document::State::keepSignature(const VerifyOptions& asked, std::string&& log,
                                    std::uint64_t& octets, VerifyResult& result) {
    std::string json = textOf(verifier, &ClsXmlDSig::get_LastJsonData);
    octets += json.size();
    SignatureResult signature;
    // Half a report could pass for a whole one, so none of it stays.
    if (octets > asked.limits.reportOctets || !api::readSignature(std::move(json), signature)) {
        result.signatures.clear();
        return false;
    }
    signature.log = std::move(log);
    result.signatures.push_back(std::move(signature));
    return true;
}

// Gives the verifier the document, or what of the package is one.
bool Document::State::load(Error& error) {
    if (package != nullptr) {
        return api::loadSignaturePart(package, options, verifier, document, error.what);
    }
    if (!verifier.LoadSignatureBd(document)) {
        error = lastError(verifier, "the document could not be loaded; memory may not suffice");
        return false;
    }
    return true;
}

// `asked` are the options of the document, or those with another selection or effort; what acts on
// loading (words, limits, keys, the policy) was set when it was loaded.
VerifyResult Document::State::verify(const VerifyOptions& asked, bool forPage) {
    // What the parts are, and which of them is covered, is said of the package.
    if (package != nullptr && !forPage) {
        return api::packageResult(package, asked);
    }
    VerifyResult result;
    std::string log;
    std::uint64_t octets = 0;
    api::DocumentAcceptance acceptance;
    api::RunSteps steps;
    steps.explains = asked.explain;
    if (asked.log || asked.verboseLog) {
        // Of all attempts at one signature, until its result takes them over.
        steps.attempted = [&](std::string& /*error*/) {
            addLog(asked.limits.logOctets, log);
            return true;
        };
    }
    steps.finished = [&](std::string& error) {
        const bool kept = (!forPage || verifier.KeepForHtmlReport()) &&
                          keepSignature(asked, std::exchange(log, {}), octets, result);
        error = kept ? "" : api::kReportTooLarge;
        if (kept) {
            acceptance.add(result.signatures.back());
        }
        return kept;
    };
    // The log of loading counts as well, as it is shown with the others.
    logOctets = loadLog.size();
    verifier.ResetDocumentRules();
    std::vector<int> indexes;
    if (!api::selectSignatures(asked, verifier, indexes, result.error) ||
        !api::verifySignatures(asked, indexes, verifier, steps, result.status, result.error)) {
        result.status = Status::Error;
    }
    if (asked.policy.asks()) {
        api::setAcceptance(asked.policy, acceptance, result);
    }
    // Digested once, at the first verification: other operations need no fingerprint.
    if (sha256.empty()) {
        sha256 = dsig::sha256Text(document.data().view());
    }
    result.size = document.data().getSize();
    result.sha256 = sha256;
    result.log = loadLog;
    result.wholeSignatures = asked.checkReferences && !asked.reference;
    return result;
}

// Addresses a signature, and gives it what the options have for it.
// Every operation begins with the rules that the document starts with: what an earlier one found
// out about it must not change the octets of this one.
bool Document::State::select(int index, Error& error) {
    const int count = verifier.get_NumSignatures();
    if (index < 0 || index >= count) {
        error.what = api::noSuchSignature(index, count);
        return false;
    }
    verifier.ResetDocumentRules();
    verifier.put_Selector(index);
    return api::prepareSelected(options, verifier, error.what);
}

Document::Document(std::unique_ptr<State> state) noexcept : m_state(std::move(state)) {}
Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;
Document::~Document() = default;

Result<Document> Document::load(std::string_view document, const VerifyOptions& options) {
    if (document.size() > api::kMaxDocument) {
        return Error{"the document is larger than 2 GiB", {}};
    }
    auto state = std::make_unique<State>();
    const bool isTaken = state->document.data().append(asBytes(document));
    if (isTaken && api::isPackage(asBytes(document))) {
        state->package = std::make_shared<io::MemoryAccess>(state->document.data());
    }
    return isTaken ? loaded(std::move(state), options)
                   : Error{"the document could not be loaded; memory may not suffice", {}};
}

// Of a package only what is asked for is read.
Result<Document> Document::loadFile(const std::string& path, const VerifyOptions& options) {
    if (auto package = api::openPackage(path)) {
        auto state = std::make_unique<State>();
        state->package = std::move(package);
        return loaded(std::move(state), options);
    }
    const Result<std::string> bytes = api::readFile(path, api::kMaxDocument);
    return bytes ? load(*bytes, options) : Result<Document>(bytes.error());
}

Result<Document> Document::loaded(std::unique_ptr<State> state, const VerifyOptions& options) {
    state->options = options;
    Error error;
    if (!api::prepareVerifier(options, state->verifier, error.what) || !state->load(error)) {
        return error;
    }
    if (options.log || options.verboseLog) {
        state->loadLog = textOf(state->verifier, &ClsXmlDSig::get_LastErrorText);
    }
    return Document(std::move(state));
}

int Document::signatureCount() const { return m_state->verifier.get_NumSignatures(); }

std::string Document::profile() const { return std::string(m_state->verifier.ProfileOf(0)); }

VerifyResult Document::verify() { return m_state->verify(m_state->options, false); }

// An Id in the options would win over the index.
VerifyResult Document::verify(int signature) {
    VerifyOptions one = m_state->options;
    one.id.reset();
    one.signature = signature;
    return m_state->verify(one, false);
}

VerifyResult Document::explain(int effort) {
    VerifyOptions explaining = m_state->options;
    explaining.explain = true;
    explaining.effort = effort;
    return m_state->verify(explaining, false);
}

Result<std::vector<SignatureInfo>> Document::signatures() {
    std::vector<SignatureInfo> all;
    std::uint64_t octets = 0;
    for (int i = 0; i < signatureCount(); ++i) {
        m_state->verifier.put_Selector(i);
        XString description;
        SignatureInfo info;
        if (!m_state->verifier.DescribeSignature(description) ||
            !api::readDescription(std::string(description.getUtf8Sb().view()), info)) {
            return lastError(m_state->verifier, "the signature cannot be described");
        }
        // Each is within its limit, but there may be very many of them.
        octets += info.json.size();
        if (octets > m_state->options.limits.reportOctets) {
            return Error{std::string(api::kReportTooLarge), {}};
        }
        all.push_back(std::move(info));
    }
    return all;
}

Result<std::vector<Certificate>> Document::certificates(int signature) {
    Error error;
    if (!m_state->select(signature, error)) {
        return error;
    }
    ClsStringArray found;
    (void)m_state->verifier.GetCerts(found); // false where there is none, which is no failure here
    std::vector<Certificate> certificates;
    for (int i = 0; i < found.get_Count(); ++i) {
        Result<Certificate> one = Certificate::fromBytes(found.getStringUtf8(i));
        if (!one) {
            return one.error();
        }
        certificates.push_back(*one);
    }
    return certificates;
}

Result<std::string> Document::digestInput(int signature, int reference) {
    Error error;
    ClsBinData octets;
    if (!m_state->select(signature, error)) {
        return error;
    }
    if (!m_state->verifier.DigestInput(reference, octets)) {
        return lastError(m_state->verifier, "there are no octets to digest");
    }
    return textOf(octets);
}

Result<std::string> Document::signedInfoOctets(int signature) {
    Error error;
    ClsBinData octets;
    if (!m_state->select(signature, error)) {
        return error;
    }
    if (!m_state->verifier.SignedInfoOctets(octets)) {
        return lastError(m_state->verifier, "SignedInfo has no octets");
    }
    return textOf(octets);
}

Result<std::string> Document::canonicalize(const CanonicalForm& form) {
    // Canonical XML 1.0 knows no such list; to pass over it would give octets that nobody asked
    // for.
    if (!form.prefixes.empty() && !form.exclusive) {
        return Error{"a prefix list is for the exclusive form only", {}};
    }
    LogNull discard;
    DataBuffer bytes = m_state->document.data();
    // What is loaded was converted before, so that only memory can be missing.
    if (!bytes.convertXmlToUtf8(discard)) {
        return Error{"the document cannot be converted", {}};
    }
    XString document;
    document.getUtf8Sb_rw().takeFromDb(bytes);
    XString fragment(form.id);
    // Any name but the exclusive one means Canonical XML 1.0.
    XString version(form.exclusive ? "EXCL_C14N" : "C14N");
    XString prefixes(form.prefixes);
    XString canonical;
    if (!m_state->verifier.CanonicalizeFragment(document, fragment, version, prefixes,
                                                form.withComments, canonical)) {
        return lastError(m_state->verifier, "the document cannot be canonicalized");
    }
    return std::string(canonical.getUtf8Sb().view());
}

Result<std::string> Document::htmlReport(std::string_view title) {
    // Loaded again, since a page shows all results that were kept since the load.
    Error error;
    if (!m_state->load(error)) {
        return error;
    }
    const VerifyResult result = m_state->verify(m_state->options, true);
    if (result.status == Status::Error) {
        return Error{result.error, {}};
    }
    XString heading(title);
    XString page;
    if (!m_state->verifier.HtmlReport(heading, page)) {
        return lastError(m_state->verifier, api::kReportTooLarge);
    }
    return std::string(page.getUtf8Sb().view());
}

} // namespace vantrel
