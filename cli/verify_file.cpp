#include "cli/verify_file.h"

#include "cli/foreign_format.h"
#include "cli/input.h"
#include "cli/report_text.h"
#include "cli/terminal.h"
#include <vantrel/ClsBinData.h>
#include <vantrel/fingerprint.h>
#include <vantrel/report_json.h>
#include <vantrel/verification.h>

#include <exception>
#include <utility>

// One file's verification. Its report is put together here and printed elsewhere, in the file's
// turn: as JSON an object whose list of signatures grows while they are verified, as text a heading
// and a block for each signature. The status, which stands before the signatures, is known only
// behind them; hence heading and report are two texts.
namespace vantrel::cli {

namespace {

// One object a line.
void endReport(FileResult& result) {
    result.report += api::kReportEnd;
    result.report += '\n';
}

// One file on its way: a new verifier each, so that no document leaves anything to the next.
class FileRun {
public:
    FileRun(const std::string& name, const VerifySettings& settings, ReportForm form)
        : m_settings(settings), m_form(form) {
        m_result.name = name;
    }

    // Whatever went wrong, there is a heading with the status and, for JSON, a whole object.
    FileResult run() {
        std::string complaint;
        const bool verified = verify(complaint);
        if (!verified) {
            m_status = "error";
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
        ClsXmlDSig verifier;
        if (!readInput(m_result.name, document.data(), complaint)) {
            return false;
        }
        if (m_form == ReportForm::Json) {
            m_octets = {document.data().getSize(), dsig::sha256Text(document.data().view())};
        }
        if (!api::prepareVerifier(m_settings.options(), verifier, complaint)) {
            return false;
        }
        if (!load(verifier, document, complaint)) {
            return false;
        }
        std::vector<int> indexes;
        if (!m_settings.select(verifier, indexes, complaint)) {
            return false;
        }
        Status status = Status::Error;
        if (!api::verifySignatures(m_settings.options(), indexes, verifier, stepsOf(verifier),
                                   status, complaint)) {
            return false;
        }
        m_status = toString(status);
        m_result.code = status == Status::Valid ? kEverythingHolds : kSomethingFails;
        return m_form != ReportForm::Html || makePage(verifier, complaint);
    }

    api::RunSteps stepsOf(ClsXmlDSig& verifier) {
        api::RunSteps steps;
        steps.attempted = [this, &verifier] { keepLog(verifier, verifier.get_Selector()); };
        steps.finished = [this, &verifier](std::string& complaint) {
            return addToReport(verifier, complaint);
        };
        // Only a report can show what a search finds.
        steps.explains = m_settings.explains() && m_form != ReportForm::None;
        return steps;
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

    // Loads the document, again where it must be. Its log goes to the others, as of no signature
    // (-1).
    bool load(ClsXmlDSig& verifier, ClsBinData& document, std::string& complaint) {
        const bool loaded = verifier.LoadSignatureBd(document);
        keepLog(verifier, -1);
        if (!loaded) {
            complaint =
                orForeignFormat(document.data().view(), m_result.name, lastErrorOf(verifier));
        }
        return loaded;
    }

    // What the last verification found out. False, with the reason in `complaint`, when that is too
    // much.
    bool addToReport(ClsXmlDSig& verifier, std::string& complaint) {
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
            m_result.heading = api::reportHeading(m_result.name, m_octets, m_status, complaint);
            endReport(m_result);
        } else if (m_form == ReportForm::Text) {
            m_result.heading = fileHeading(m_result.name, m_status);
        }
    }

    const VerifySettings& m_settings;
    ReportForm m_form;
    FileResult m_result;
    api::DocumentOctets m_octets;
    std::string_view m_status = "error";
    std::uint64_t m_reportOctets = 0;
    bool m_logCut = false;
};

} // namespace

FileResult verifyFile(const std::string& name, const VerifySettings& settings, ReportForm form) {
    try {
        return FileRun(name, settings, form).run();
    } catch (const std::exception& error) {
        FileResult result;
        result.name = name;
        result.errors = "xmldsig: " + printable(name) + ": " + error.what() + "\n";
        if (form == ReportForm::Json) {
            result.heading = api::reportHeading(name, {}, result.status, error.what());
            endReport(result);
        }
        return result;
    }
}

} // namespace vantrel::cli
