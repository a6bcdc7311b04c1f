// SPDX-License-Identifier: MIT
// What an operation found out, for whoever asks afterwards.

#include "dsig/document/document.h"
#include "dsig/explain/explain_failures.h"
#include "dsig/keys/key_sources.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/verify/complete_report.h"
#include "dsig/verify/report_steps.h"
#include "foundation/base/CritSecExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/json/json_writer.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

namespace vantrel {

void ClsXmlDSig::beginReport(const dsig::Selection& selected) {
    // Stands in the log until the next operation forgets it, and the report with it.
    m_log.setLastJsonData(StringBuffer("{}"));
    dsig::startReport(document(), selected, rules(), m_state->report);
    m_state->report.part = m_state->part;
    m_state->report.firstIndex = m_state->firstIndex;
    m_state->acceptance.reset();
}

// The last error line is the reason when the steps gave none of their own.
void ClsXmlDSig::finishReport() { dsig::finishReport(m_log.lastErrorLine(), m_state->report); }

template <class Use> void ClsXmlDSig::withVerified(const Use& use) {
    const dsig::SignatureReport& report = m_state->report;
    dsig::Selection verified;
    verified.index = report.index;
    verified.signature = static_cast<ClsXml*>(m_signatures.elementAt(report.index));
    verified.id = report.id;
    dsig::KeyQuery keys = keyQuery(false);
    keys.selection = verified;
    keys.keyOfSignature = static_cast<ClsPublicKey*>(m_publicKeys.elementAt(report.index));
    dsig::Document* const loaded = verified.signature != nullptr ? &structure() : nullptr;
    use(dsig::VerifyQuery{loaded, verified, keys, m_hmacKey, &m_externalData, m_externalRefDirs,
                          *this, m_state->limits, false, m_ignoreExternalRefs,
                          m_state->parts.get()});
}

void ClsXmlDSig::completeReport() {
    withVerified([&](const dsig::VerifyQuery& query) {
        dsig::completeReport(query, rules(), m_state->report);
    });
}

bool ClsXmlDSig::judgeReport() {
    if (m_state->policy == nullptr || m_state->acceptance) {
        return m_state->policy != nullptr;
    }
    withVerified([&](const dsig::VerifyQuery& query) {
        m_state->acceptance =
            dsig::judge(*m_state->policy, m_state->report, query.document, getSystemCertsPtr());
    });
    dsig::applyJudgement(*m_state->acceptance, m_state->report);
    return true;
}

// What was found out under another policy is dropped: the keys that were tried depend on it.
void ClsXmlDSig::SetPolicy(std::shared_ptr<const dsig::Policy> policy) {
    const CritSecExitor lock(m_critSec);
    m_state->acceptance.reset();
    m_state->report = {};
    m_state->policy = std::move(policy);
}

bool ClsXmlDSig::LastAcceptance(XString& outJson) {
    const CritSecExitor lock(m_critSec);
    try {
        StringBuffer text;
        if (m_state->report.present) {
            completeReport();
        }
        if (m_state->report.present && judgeReport()) {
            json::JsonWriter out(text, m_state->limits.reportOctets);
            out.beginObject();
            dsig::writeAcceptance(*m_state->acceptance, out);
            out.endObject();
            // Half an object says nothing.
            if (!out.ok()) {
                text.clear();
            }
        }
        outJson.setFromSbUtf8(text);
        return !text.isEmpty();
    } catch (const std::bad_alloc&) {
        outJson.clear();
        return false;
    }
}

std::vector<std::size_t> ClsXmlDSig::CoveredParts() {
    const CritSecExitor lock(m_critSec);
    if (!m_state->report.present) {
        return {};
    }
    completeReport();
    const std::optional<dsig::PartCoverage>& parts = m_state->report.parts;
    return parts ? parts->coveredIndexes : std::vector<std::size_t>();
}

bool ClsXmlDSig::ExplainFailures(int effort) {
    // The structured result is added to, and hence not forgotten first.
    return MethodFrame::runLater(*this, "ExplainFailures", [&](MethodFrame& frame) {
        dsig::SignatureReport& report = m_state->report;
        if (!report.present || m_log.lastJsonData().isEmpty() || report.valid) {
            return frame.result(false);
        }
        completeReport();
        if (!m_state->explainBudget) {
            m_state->explainBudget.emplace(static_cast<unsigned>(std::max(effort, 1)));
            if (m_state->limits.deadline) {
                m_state->explainBudget->endBy(*m_state->limits.deadline);
            }
        }
        withVerified([&](const dsig::VerifyQuery& query) {
            dsig::explain::explainFailures(query, rules(), *m_state->explainBudget, report);
        });
        return frame.result(true);
    });
}

void ClsXmlDSig::get_LastJsonData(XString& json) {
    const CritSecExitor lock(m_critSec);
    try {
        // Written when somebody asks, since many a verification's result is never read.
        if (m_state->report.present && !m_log.lastJsonData().isEmpty()) {
            completeReport();
            dsig::MoreMembers more;
            if (judgeReport()) {
                more = [this](json::JsonWriter& out) {
                    dsig::writeAcceptance(*m_state->acceptance, out);
                };
            }
            std::optional<dsig::DocumentNames> names;
            if (dsig::Document* const loaded = document(); loaded != nullptr) {
                names.emplace(loaded->paths);
            }
            StringBuffer text;
            if (!dsig::writeReport(m_state->report, names ? &*names : nullptr,
                                   m_state->limits.reportOctets, text, more)) {
                dsig::writeTooLargeReport(m_state->report, text);
            }
            m_log.setLastJsonData(text);
        }
        ClsBase::get_LastJsonData(json);
    } catch (const std::bad_alloc&) {
        json.clear();
    }
}

bool ClsXmlDSig::KeepForHtmlReport() {
    return MethodFrame::runLater(*this, "KeepForHtmlReport", [&](MethodFrame& frame) {
        XString json;
        get_LastJsonData(json);
        dsig::Document* const loaded = document();
        if (json.isEmpty() || !m_state->report.present || loaded == nullptr) {
            m_log.LogError("There is no result to be kept.");
            return frame.finish(false);
        }
        m_state->keptOctets += json.getUtf8Sb().getSize();
        if (m_state->keptOctets > m_state->limits.reportOctets) {
            m_log.LogError("The results that are kept pass their limit (reportOctets).");
            return frame.finish(false);
        }
        m_state->kept.push_back({std::string(json.getUtf8Sb().view()),
                                 dsig::html::placesOf(m_state->report, *loaded->structure)});
        return frame.result(true);
    });
}

// What a page says of a policy.
static dsig::html::Judged judgedBy(const dsig::Policy* policy) {
    if (policy == nullptr) {
        return dsig::html::Judged::No;
    }
    return policy->oneSuffices ? dsig::html::Judged::Any : dsig::html::Judged::All;
}

bool ClsXmlDSig::HtmlReport(XString& title, XString& outHtml) {
    return MethodFrame::runLater(*this, "HtmlReport", [&](MethodFrame& frame) {
        outHtml.clear();
        if (m_xmlRoot == nullptr || m_xmlRoot->document() == nullptr) {
            m_log.LogError("There is no document to show.");
            return frame.finish(false);
        }
        std::string html;
        dsig::html::appendPage(title.getUtf8Sb().view(), *m_xmlRoot->document(), m_state->kept,
                               judgedBy(m_state->policy.get()), html);
        outHtml.setFromUtf8(html.c_str());
        return frame.finish(true);
    });
}

} // namespace vantrel
