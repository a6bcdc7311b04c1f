// SPDX-License-Identifier: MIT
#include "cli/verify_file.h"

#include "cli/document.h"
#include "cli/foreign_format.h"
#include "cli/input.h"
#include "cli/report_text.h"
#include "cli/terminal.h"
#include <vantrel/ClsBinData.h>
#include <vantrel/document_acceptance.h>
#include <vantrel/fingerprint.h>
#include <vantrel/json_writer.h>
#include <vantrel/package_run.h>
#include <vantrel/report_json.h>
#include <vantrel/verification.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

// One file's verification. Its report is put together here and printed elsewhere, in the file's
// turn: as JSON an object whose list of signatures grows while they are verified, as text a heading
// and a block for each signature. The status, which stands before the signatures, is known only
// behind them; hence heading and report are two texts.
namespace vantrel::cli {

namespace {

// What a policy says of a file.
struct Judgement {
    bool accepted = false;
    api::DocumentAcceptance reasons;
};

// What is said of a file besides its status; nothing where there is none.
struct FileFindings {
    std::optional<Judgement> judgement; // with a policy
    std::optional<Container> container; // of a package
};

// A JSON object up to its list of signatures; endReport ends both.
std::string jsonHeading(std::string_view name, const api::DocumentOctets& octets,
                        std::string_view status, std::string_view complaint,
                        const FileFindings& found) {
    return api::reportHeading(name, octets, status, complaint, [&found](json::JsonWriter& out) {
        if (found.judgement) {
            api::writeAcceptance(found.judgement->accepted, found.judgement->reasons.refusals(),
                                 out);
        }
        if (found.container) {
            api::writeContainer(*found.container, out);
        }
    });
}

// One object a line.
void endReport(FileResult& result) {
    result.report += api::kReportEnd;
    result.report += '\n';
}

// One file on its way: a new verifier each, so that no document leaves anything to the next.
class FileRun {
public:
    FileRun(const VerifySource& source, const VerifySettings& settings, ReportForm form)
        : m_source(source), m_settings(settings), m_form(form) {
        m_result.name = source.name;
        if (settings.judges()) {
            m_found.judgement.emplace();
        }
    }

    // Whatever went wrong, there is a heading with the status and, for JSON, a whole object.
    FileResult run() {
        std::string complaint;
        const bool verified = verify(complaint);
        if (!verified) {
            m_status = "error";
            m_found.container.reset();
            if (m_found.judgement) {
                m_found.judgement.emplace(); // what was found before says nothing of the whole
            }
            m_result.code = kCannotTell;
            m_result.errors += complaintLines(printable(m_result.name) + ": " + complaint);
        }
        m_result.status = m_status;
        // The remedy is for people, who have it from standard error.
        report(std::string(withoutRemedy(complaint)));
        return std::move(m_result);
    }

private:
    // Verifies the selected signatures one after the other. False, with the reason in `complaint`,
    // when the file as a whole cannot be judged; a signature that does not verify is a result.
    bool verify(std::string& complaint) {
        ClsBinData document;
        std::shared_ptr<const io::RandomAccess> package;
        m_started = std::chrono::steady_clock::now();
        if (m_source.document) {
            document.data() = *m_source.document; // shared, not copied
            if (!m_source.isText && api::isPackage(document.data().view())) {
                package = std::make_shared<io::MemoryAccess>(document.data());
            }
        } else if (!readInput(m_result.name, document.data(), package, complaint)) {
            return false;
        }
        Status status = Status::Error;
        if (package != nullptr ? !verifyPackage(std::move(package), status, complaint)
                               : !verifyDocument(document, status, complaint)) {
            return false;
        }
        m_status = toString(status);
        bool holds = status == Status::Valid;
        if (m_found.judgement) {
            holds = m_found.judgement->reasons.holds(m_settings.anySuffices());
            m_found.judgement->accepted = holds;
            m_result.refused = !holds;
        }
        m_result.code = holds ? kEverythingHolds : kSomethingFails;
        return true;
    }

    bool verifyDocument(ClsBinData& document, Status& status, std::string& complaint) {
        ClsXmlDSig verifier;
        if (m_form == ReportForm::Json) {
            m_octets = {document.data().getSize(), dsig::sha256Text(document.data().view())};
        }
        if (!prepare(verifier, complaint)) {
            return false;
        }
        if (!load(verifier, document, complaint) || isLate(verifier, complaint)) {
            return false;
        }
        if (!m_settings.options().part.empty()) {
            complaint = kPartOfNoPackage;
            return false;
        }
        std::vector<int> indexes;
        if (!m_settings.select(verifier, indexes, complaint)) {
            return false;
        }
        return api::verifySignatures(m_settings.options(), indexes, verifier, stepsOf(verifier),
                                     status, complaint) &&
               (m_form != ReportForm::Html || makePage(verifier, complaint));
    }

    // Each signature document of it by a verifier of its own.
    bool verifyPackage(std::shared_ptr<const io::RandomAccess> package, Status& status,
                       std::string& complaint) {
        if (m_form == ReportForm::Json) {
            m_octets = {package->size(), api::sha256Of(*package)};
        }
        api::PackageSteps steps;
        steps.prepare = [this](ClsXmlDSig& verifier, std::string& error) {
            return prepare(verifier, error);
        };
        steps.loaded = [this](ClsXmlDSig& verifier, std::string& error) {
            keepLog(verifier, -1);
            return !isLate(verifier, error);
        };
        steps.stepsOf = [this](ClsXmlDSig& verifier) { return stepsOf(verifier); };
        steps.done = [this](ClsXmlDSig& verifier, std::string& error) {
            return m_form != ReportForm::Html || addPage(verifier, error);
        };
        Container found;
        if (!api::verifyPackage(std::move(package), m_settings.options(), steps, found, status,
                                complaint)) {
            complaint = withArchiveRemedy(complaint, m_result.name);
            return false;
        }
        // What is no package at all is only an archive of files.
        if (status == Status::NoSignature && found.kind == "zip") {
            complaint = noPackage(m_result.name);
            return false;
        }
        m_found.container = std::move(found);
        return true;
    }

    // What is left of the time counts for each verifier.
    bool prepare(ClsXmlDSig& verifier, std::string& complaint) {
        if (m_source.timeoutMs) {
            const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(
                                   std::chrono::steady_clock::now() - m_started)
                                   .count();
            verifier.SetDeadline(static_cast<int>(
                std::max<std::int64_t>(1, *m_source.timeoutMs - static_cast<std::int64_t>(spent))));
        }
        return m_settings.prepare(verifier, complaint);
    }

    // One page shows one document.
    bool addPage(ClsXmlDSig& verifier, std::string& complaint) {
        if (!m_result.report.empty()) {
            complaint = withRemedy("a page shows one signature document, and the package has more",
                                   "--part NAME (xmldsig info lists them)");
            m_result.report.clear();
            return false;
        }
        return makePage(verifier, complaint);
    }

    api::RunSteps stepsOf(ClsXmlDSig& verifier) {
        api::RunSteps steps;
        steps.attempted = [this, &verifier](std::string& complaint) {
            keepLog(verifier, verifier.get_Selector());
            // A verdict that was found too late may be one about the time.
            return !isLate(verifier, complaint);
        };
        steps.finished = [this, &verifier](std::string& complaint) {
            return addToReport(verifier, complaint) && !isLate(verifier, complaint);
        };
        // Only a report can show what a search finds.
        steps.explains = m_settings.explains() && m_form != ReportForm::None;
        return steps;
    }

    // Whether the caller has stopped waiting. Signatures that were in time are not reported,
    // either: how many they are is chance.
    bool isLate(ClsXmlDSig& verifier, std::string& complaint) {
        if (!verifier.TimeIsUp()) {
            return false;
        }
        complaint = "the time for the document is up (timeoutMs)";
        m_result.report.clear();
        return true;
    }

    bool makePage(ClsXmlDSig& verifier, std::string& complaint) {
        XString title(m_result.name);
        XString page;
        if (!verifier.HtmlReport(title, page)) {
            complaint = lastErrorOf(verifier);
            return false;
        }
        m_result.report = page.getUtf8Sb().view();
        return true;
    }

    // Whether the policy accepts the signature that was verified last.
    bool judge(ClsXmlDSig& verifier) {
        XString acceptance;
        return verifier.LastAcceptance(acceptance) &&
               m_found.judgement->reasons.add(acceptance.getUtf8Sb().view());
    }

    // Loads the document, again where it must be. Its log goes to the others, as of no signature
    // (-1).
    bool load(ClsXmlDSig& verifier, ClsBinData& document, std::string& complaint) {
        const bool loaded = m_source.isText ? loadText(verifier, document.data().view())
                                            : verifier.LoadSignatureBd(document);
        keepLog(verifier, -1);
        if (!loaded) {
            complaint =
                orForeignFormat(document.data().view(), m_result.name, lastErrorOf(verifier));
        }
        return loaded;
    }

    static bool loadText(ClsXmlDSig& verifier, ByteView octets) {
        XString text(asText(octets));
        return verifier.LoadSignature(text);
    }

    // What the last verification found out. False, with the reason in `complaint`, when that is too
    // much.
    bool addToReport(ClsXmlDSig& verifier, std::string& complaint) {
        if (m_found.judgement && !judge(verifier)) {
            complaint = "the signature could not be judged";
            return false;
        }
        if (m_form == ReportForm::Html && !verifier.KeepForHtmlReport()) {
            complaint = lastErrorOf(verifier);
            return false;
        }
        const bool isReported =
            m_form == ReportForm::None || m_form == ReportForm::Html || addSignature(verifier);
        if (!isReported) {
            complaint = withRemedy(api::kReportTooLarge, "--limit reportOctets=NUMBER");
            // Half a report could pass for a whole one.
            m_result.report.clear();
        }
        return isReported;
    }

    // Only what will be printed is kept: a document may have very many signatures. False when that
    // is too much.
    bool addSignature(ClsXmlDSig& verifier) {
        XString text;
        verifier.get_LastJsonData(text);
        const std::string_view json = text.getUtf8Sb().view();
        m_reportOctets += json.size();
        if (m_reportOctets > m_settings.limits().reportOctets || isTooLargeReport(json)) {
            return false;
        }
        if (m_form == ReportForm::Text) {
            m_result.report += signatureText(json);
        } else {
            m_result.report += m_result.report.empty() ? "" : ",";
            m_result.report += json;
        }
        return true;
    }

    // The log of the last operation, under a line that says whose it is. What the limit cuts off is
    // not taken up again, so that no log stands there with a gap before it.
    void keepLog(ClsXmlDSig& verifier, int signature) {
        if (!m_settings.wantsLog() || m_logCut) {
            return;
        }
        XString log;
        verifier.get_LastErrorText(log);
        m_result.errors += "--- " + printable(m_result.name);
        m_result.errors += signature < 0 ? "\n" : ", signature " + std::to_string(signature) + "\n";
        m_result.errors += printableLines(log.getUtf8Sb().view());
        if (m_result.errors.size() > m_settings.limits().logOctets) {
            m_logCut = true;
            m_result.errors += "xmldsig: " + printable(m_result.name) +
                               ": the logs have reached their limit (logOctets); no more follow\n";
        }
    }

    // The last error line, which is the reason that reports give.
    static std::string lastErrorOf(ClsXmlDSig& verifier) {
        XString line;
        verifier.get_LastErrorLine(line);
        return line.isEmpty() ? "the document could not be loaded"
                              : std::string(line.getUtf8Sb().view());
    }

    // The heading, once the status is known; the report of the signatures has grown on the way.
    void report(const std::string& complaint) {
        if (m_form == ReportForm::Json) {
            m_result.heading = jsonHeading(m_result.name, m_octets, m_status, complaint, m_found);
            endReport(m_result);
        } else if (m_form == ReportForm::Text) {
            m_result.heading = fileHeading(m_result.name, m_status, acceptanceWord());
            m_result.heading += m_found.container ? containerText(*m_found.container) : "";
        }
    }

    // Behind the status in the heading for people.
    std::string_view acceptanceWord() const {
        if (!m_found.judgement) {
            return {};
        }
        return m_found.judgement->accepted ? "accepted" : "not accepted";
    }

    const VerifySource& m_source;
    const VerifySettings& m_settings;
    ReportForm m_form;
    FileFindings m_found;
    std::chrono::steady_clock::time_point m_started;
    FileResult m_result;
    api::DocumentOctets m_octets;
    std::string_view m_status = "error";
    std::uint64_t m_reportOctets = 0;
    bool m_logCut = false;
};

} // namespace

FileResult errorResult(const std::string& name, std::string_view complaint, ReportForm form,
                       bool judged) {
    FileResult result;
    result.name = name;
    result.errors = complaintLines(printable(name) + ": " + std::string(complaint));
    if (form == ReportForm::Json) {
        FileFindings found;
        if (judged) {
            found.judgement.emplace(); // what cannot be judged is not accepted
        }
        result.heading = jsonHeading(name, {}, "error", withoutRemedy(complaint), found);
        endReport(result);
    }
    return result;
}

FileResult verifyFile(const std::string& name, const VerifySettings& settings, ReportForm form) {
    VerifySource source;
    source.name = name;
    return verifyDocument(source, settings, form);
}

FileResult verifyDocument(const VerifySource& source, const VerifySettings& settings,
                          ReportForm form) {
    try {
        return FileRun(source, settings, form).run();
    } catch (const std::exception& error) {
        return errorResult(source.name, error.what(), form, settings.judges());
    }
}

} // namespace vantrel::cli
