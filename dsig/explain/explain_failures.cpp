#include "dsig/explain/explain_failures.h"

#include "dsig/document/locate_signature.h"
#include "dsig/document/signed_info.h"
#include "dsig/explain/cause_texts.h"
#include "dsig/explain/codes.h"
#include "dsig/explain/digest_goal.h"
#include "dsig/explain/other_keys.h"
#include "dsig/explain/search.h"
#include "dsig/explain/value_goal.h"
#include "dsig/reference/check_reference.h"
#include "dsig/reference/first_reference.h"
#include "dsig/report/causes.h"
#include "dsig/verify/reference_pass.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/signed_octets.h"
#include "foundation/crypto/hash/hash_ids.h"

#include <array>
#include <memory>
#include <utility>
#include <vector>

namespace vantrel::dsig::explain {

namespace {

// One failure on its way through the search. What it borrows is its own.
struct Job {
    std::optional<Target> target;
    KeyCollection keys; // of a value
    std::unique_ptr<Goal> goal;
    std::unique_ptr<Search> search;
    std::string remark;

    void begin(std::string form, Budget& budget) {
        search = std::make_unique<Search>(std::move(form), target ? &*target : nullptr, *goal,
                                          budget);
    }
};

// What is tried for a document whose digests fail by the hundred.
constexpr std::size_t kMostReferences = 100;
constexpr std::size_t kMostHeldOctets = std::size_t{128} << 20;

bool isWorthSearching(const ReferenceResult& result) {
    return result.checked &&
           (result.reason == RefReason::Mismatch || result.reason == RefReason::UnsupportedDigest);
}

// The octets as the verification digested them, on a document of the search's own.
std::string digestedOctets(const VerifyQuery& query, Document& scratch, int index,
                           const Rules& rules) {
    LogNull log;
    Rules inForce = rules;
    ExtPtrArraySb dirs;
    splitDirs(query.externalDirs, dirs);
    const ReferenceQuery reference{&scratch, query.selection, index,
                                   {query.externalData, query.selection.index, &dirs}, true};
    const ReferenceResult result = attemptReference(reference, inForce, log);
    return std::string(asText(result.octets.view()));
}

std::unique_ptr<Job> referenceJob(const VerifyQuery& query, const Rules& rules, int index,
                                  Budget& budget) {
    LogNull log;
    Document scratch(query.document->structure, query.limits);
    scratch.account.begin(query.selection.index);
    std::string octets = digestedOctets(query, scratch, index, rules);
    const Ref<ClsXml> element = referenceElement(&scratch, query.selection, index, log);
    if (octets.empty() || !element || octets.size() > kMostFormOctets) {
        return nullptr;
    }
    DSigReference reference;
    reference.parseReference(*element, log);
    auto job = std::make_unique<Job>();
    job->target = targetOfReference(scratch, query.selection, reference, rules);
    job->goal = std::make_unique<DigestGoal>(
        reference.m_digestValue.view(),
        reference.digestMethodIsKnown() ? reference.getHashAlg() : kHashNone);
    job->begin(std::move(octets), budget);
    return job;
}

// A value whose method is known; null for another.
std::unique_ptr<Goal> valueGoal(const VerifyQuery& query, Job& job, Budget& budget) {
    LogNull log;
    StringBuffer method;
    StringBuffer text;
    if (!signedInfoField(query.selection.signature, "SignatureMethod", "Algorithm", method, log) ||
        !signatureValue(query.selection.signature, text, log)) {
        return nullptr;
    }
    const ValueMethod asked{signatureMethodToHashAlg(method, log),
                            method.containsSubstring("MGF1")};
    std::vector<ValueReading> readings = valueReadings(text.view());
    const int keyType = signatureMethodToKeyType(method, log);
    if (keyType == kKeyTypeHmac) {
        return query.hmacKey.isEmpty()
                   ? nullptr
                   : std::make_unique<MacGoal>(std::move(readings),
                                               secretReadings(asText(query.hmacKey.view())), asked);
    }
    job.keys = collectKeys(query.keys);
    if (keyType == kKeyTypeRsa) {
        auto goal = std::make_unique<RsaGoal>(readings, job.keys.tried, asked, budget);
        return goal->anyKeyFits() ? std::move(goal) : nullptr;
    }
    return keyType == kKeyTypeDsa || keyType == kKeyTypeEcdsa
               ? std::make_unique<CurveGoal>(std::move(readings), job.keys.tried, asked, budget)
               : nullptr;
}

std::unique_ptr<Job> valueJob(const VerifyQuery& query, const Rules& rules, Budget& budget) {
    LogNull log;
    Document scratch(query.document->structure, query.limits);
    scratch.account.begin(query.selection.index);
    DSigReference first;
    XmlSigLocate locator;
    SignedOctets octets;
    CodeSet leniencies;
    auto job = std::make_unique<Job>();
    job->goal = valueGoal(query, *job, budget);
    if (job->goal == nullptr || !parseFirstReference(&scratch, query.selection, first, log) ||
        !locateSelectedSignature(query.selection, first.m_digestValue, locator, log) ||
        !makeSignedOctets(scratch, query.selection, rules, locator, first, octets, leniencies,
                          log) ||
        octets.octets().size() > kMostFormOctets) {
        return nullptr;
    }
    if (!octets.isInvoiceHash()) {
        job->target = targetOfSignedInfo(scratch, query.selection, rules);
    }
    job->begin(std::string(asText(octets.octets())), budget);
    return job;
}

// The causes of digests have other names where the octets are SignedInfo's.
std::string_view valueCode(std::string_view code) {
    constexpr std::pair<std::string_view, std::string_view> kNames[] = {
        {cause::kLineEnds, cause::kSignedInfoLineEnds},
        {cause::kTrailingWhitespace, cause::kSignedInfoWhitespace},
        {cause::kIndentation, cause::kSignedInfoWhitespace},
        {cause::kWhitespace, cause::kSignedInfoWhitespace},
        {cause::kNamespaceContext, cause::kSignedInfoContext},
        {cause::kXmlAttributes, cause::kSignedInfoContext},
        {cause::kRawOctets, cause::kSignedInfoRaw},
        {cause::kChangedText, cause::kSignedInfoChanged},
        {cause::kLostCharacters, cause::kSignedInfoChanged},
    };
    for (const auto& [ofDigest, ofValue] : kNames) {
        if (code == ofDigest) {
            return ofValue;
        }
    }
    constexpr std::string_view kOfValues[] = {
        cause::kOtherKeyInDocument, cause::kOtherGivenKey,  cause::kOtherSignatureHash,
        cause::kOtherPadding,       cause::kReversedValue,  cause::kValueEncoding,
        cause::kSecretEncoding,     cause::kHashOfHash};
    for (const std::string_view each : kOfValues) {
        if (code == each) {
            return code;
        }
    }
    return cause::kSignedInfoOther;
}

std::string withStop(std::string remark, const Budget& budget) {
    if (budget.stoppedEarly()) {
        remark += remark.empty() ? "" : "; ";
        remark += "the search stopped early, --effort N goes further";
    }
    return remark;
}

Cause referenceCause(const Job& job, const Budget& budget) {
    const std::optional<Finding>& found = job.search->finding();
    if (!found) {
        return makeCause(cause::kContentChanged, withStop(job.remark, budget));
    }
    // The octets are right and the text of the digest is not.
    return found->code.empty()
               ? makeCause(cause::kDigestEncoding,
                           "DigestValue is not base64 as an encoder writes it")
               : makeCause(found->code, found->evidence);
}

Cause valueCause(const Job& job, const Budget& budget) {
    const std::optional<Finding>& found = job.search->finding();
    if (!found) {
        return makeCause(cause::kSignedInfoChanged, withStop(job.remark, budget));
    }
    return found->code.empty()
               ? makeCause(cause::kValueEncoding,
                           "the value is not base64 as an encoder writes it")
               : makeCause(valueCode(found->code), found->evidence);
}

bool isWorthSearching(ValueCheck value) {
    return value == ValueCheck::WrongKey || value == ValueCheck::Mismatch ||
           value == ValueCheck::MalformedValue || value == ValueCheck::NoKey;
}

} // namespace

// Cheap hypotheses for every failure come before dear ones for any.
void explainFailures(const VerifyQuery& query, const Rules& rules, Budget& budget,
                     SignatureReport& report) {
    if (query.document == nullptr || query.selection.signature == nullptr) {
        return;
    }
    std::vector<std::pair<ReferenceResult*, std::unique_ptr<Job>>> jobs;
    std::size_t held = 0;
    for (ReferenceResult& reference : report.references) {
        if (jobs.size() >= kMostReferences || held > kMostHeldOctets ||
            !isWorthSearching(reference)) {
            continue;
        }
        if (std::unique_ptr<Job> job = referenceJob(query, rules, reference.index, budget)) {
            held += job->search->form().size();
            jobs.emplace_back(&reference, std::move(job));
        }
    }
    const bool referencesFail = !jobs.empty();
    std::unique_ptr<Job> value =
        isWorthSearching(report.value) ? valueJob(query, rules, budget) : nullptr;
    if (value != nullptr) {
        jobs.emplace_back(nullptr, std::move(value));
    }
    std::size_t left = 2 * jobs.size();
    for (const auto& [reference, job] : jobs) {
        budget.beginShare(left--);
        static_cast<void>(job->search->runQuick());
    }
    for (const auto& [reference, job] : jobs) {
        budget.beginShare(left--);
        if (!job->search->finding()) {
            static_cast<void>(job->search->runThorough(job->remark));
        }
    }
    for (const auto& [reference, job] : jobs) {
        const bool found = job->search->finding().has_value();
        if (reference != nullptr) {
            // A method or transform that is not supported says nothing of the content.
            if (found || reference->cause.code == dsig::cause::kDigestMismatch) {
                reference->cause = referenceCause(*job, budget);
            }
            continue;
        }
        // Nothing found under a key that may not be the signer's says nothing of SignedInfo.
        if (found || (report.value == ValueCheck::Mismatch && !referencesFail)) {
            report.cause = valueCause(*job, budget);
        }
    }
    // What mends the first digest mends the signature.
    if (referencesFail && report.cause.code == dsig::cause::kReferenceFailed) {
        report.cause.tries = jobs.front().first->cause.tries;
    }
}

} // namespace vantrel::dsig::explain
