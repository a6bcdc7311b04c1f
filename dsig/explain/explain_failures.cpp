// SPDX-License-Identifier: MIT
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
#include "foundation/text/DataBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::dsig::explain {

namespace {

// One failure on its way through the search. What it borrows is its own. The search points into the
// target and the goal, so a job is held by a pointer and not moved.
struct Job {
    std::optional<Target> target;
    KeyCollection keys; // of a value
    std::unique_ptr<Goal> goal;
    std::unique_ptr<Search> search;
    std::string remark;
    bool stoppedEarly = false;

    // The form is handed over: forms are large.
    void begin(std::string form, Budget& budget) {
        search =
            std::make_unique<Search>(std::move(form), target ? &*target : nullptr, *goal, budget);
    }
};

// What is tried for a document whose digests fail by the hundred. A document of a thousand
// references is damaged in the same way throughout; the first hundred tell it.
constexpr std::size_t kMostReferences = 100;
constexpr std::size_t kMostHeldOctets = std::size_t{128} << 20;

// External data that is missing, unsupported transforms and the like have a cause already, and no
// octets to search in.
bool isWorthSearching(const ReferenceResult& result) {
    return result.checked &&
           (result.reason == RefReason::Mismatch || result.reason == RefReason::UnsupportedDigest);
}

// The octets as the verification digested them, on a document of the search's own. A search must
// not spend the account of the document or leave anything in the one that was verified.
std::string digestedOctets(const VerifyQuery& query, Document& scratch, int index,
                           const Rules& rules) {
    LogNull log;
    Rules inForce = rules;
    ExtPtrArraySb dirs;
    splitDirs(query.externalDirs, dirs);
    const ReferenceQuery reference{&scratch,
                                   query.selection,
                                   index,
                                   {query.externalData, query.selection.index, &dirs, query.parts},
                                   true};
    // The plain attempt; what a retry would digest is among the hypotheses. The rules are a copy:
    // profiles change them on the way.
    const ReferenceResult result = attemptReference(reference, inForce, log);
    return std::string(asText(result.octets.view()));
}

// Null where there are no octets, or too many: then the cause that the verification found stays.
std::unique_ptr<Job> referenceJob(const VerifyQuery& query, const Rules& rules, int index,
                                  Budget& budget) {
    LogNull log;
    Document scratch(query.document->structure, query.limits);
    scratch.account.begin(query.selection.index);
    std::string octets = digestedOctets(query, scratch, index, rules);
    // The reference is read again: reports keep results, not transforms.
    const Ref<ClsXml> element = referenceElement(&scratch, query.selection, index, log);
    if (octets.empty() || !element || octets.size() > kMostFormOctets) {
        return nullptr;
    }
    DSigReference reference;
    reference.parseReference(*element, log);
    if (!reference.digestMethodIsKnown()) {
        reference.knowStandardDigests();
    }
    auto job = std::make_unique<Job>();
    // Without a target the octets are still searched as a text. So it is with external data, which
    // is digested as it is.
    job->target = targetOfReference(scratch, query.selection, reference, rules);
    job->goal = std::make_unique<DigestGoal>(
        reference.m_digestValue.view(),
        reference.digestMethodIsKnown() ? reference.getHashAlg() : kHashNone);
    job->begin(std::move(octets), budget);
    return job;
}

// A value whose method is known; null for another. Which goal it is follows from the key that the
// method asks for, by the same tables as in a verification.
std::unique_ptr<Goal> valueGoal(const VerifyQuery& query, Job& job, Budget& budget) {
    LogNull log;
    StringBuffer method;
    StringBuffer text;
    if (!signedInfoField(query.selection.signature, "SignatureMethod", "Algorithm", method, log) ||
        !signatureValue(query.selection.signature, text, log)) {
        return nullptr;
    }
    const Ref<ClsXml> element =
        Ref<ClsXml>::adopt(query.selection.signature->findChild("*:SignedInfo|*:SignatureMethod"));
    const SignatureMethod read = readSignatureMethod(method, element.get(), true, log);
    // The search has one hash for the octets and for the mask.
    if (read.mgfHashAlg != kHashNone && read.mgfHashAlg != read.hashAlg) {
        return nullptr;
    }
    const ValueMethod asked{read.hashAlg, read.mgfHashAlg != kHashNone, read.saltLength};
    std::vector<ValueReading> readings = valueReadings(text.view());
    const int keyType = read.keyType;
    // A MAC without a secret cannot be tried: it proves what its holder says and nobody else.
    if (keyType == kKeyTypeHmac) {
        return query.hmacKey.isEmpty()
                   ? nullptr
                   : std::make_unique<MacGoal>(std::move(readings),
                                               secretReadings(asText(query.hmacKey.view())), asked);
    }
    job.keys = collectKeys(query.keys);
    if (keyType == kKeyTypeRsa) {
        // A value that no RSA key opens was made by a key that is not here, and no change of
        // SignedInfo would help.
        auto goal = std::make_unique<RsaGoal>(readings, job.keys.tried, asked, budget);
        return goal->anyKeyFits() ? std::move(goal) : nullptr;
    }
    if (!read.takesHash()) {
        DataBuffer context;
        return element && !readMethodContext(read, *element, context)
                   ? nullptr
                   : std::make_unique<MessageGoal>(std::move(readings), job.keys.tried, read,
                                                   std::string(asText(context.view())), budget);
    }
    return keyType == kKeyTypeDsa || keyType == kKeyTypeEcdsa
               ? std::make_unique<CurveGoal>(std::move(readings), job.keys.tried, asked, budget)
               : nullptr;
}

// Null where no key can have made the value, or the octets cannot be made.
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
    // A digest of an invoice was canonicalized from nothing.
    if (!octets.isInvoiceHash()) {
        job->target = targetOfSignedInfo(scratch, query.selection, rules);
    }
    job->begin(std::string(asText(octets.octets())), budget);
    return job;
}

// The causes of digests have other names where the octets are SignedInfo's. The octets are the same
// kind of text, but who reads the report must know which of the two to mend.
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
    // What concerns the key, the padding or the writing of the value is the same for both.
    constexpr std::string_view kOfValues[] = {cause::kOtherKeyInDocument, cause::kOtherGivenKey,
                                              cause::kOtherSignatureHash, cause::kOtherPadding,
                                              cause::kReversedValue,      cause::kValueEncoding,
                                              cause::kSecretEncoding,     cause::kHashOfHash};
    for (const std::string_view each : kOfValues) {
        if (code == each) {
            return code;
        }
    }
    return cause::kSignedInfoOther;
}

// How far a search went that found nothing. Empty where everything was tried and there is nothing
// more to say.
std::string howFar(const Job& job) {
    std::string remark = job.remark;
    if (job.stoppedEarly) {
        remark += remark.empty() ? "" : "; ";
        remark += "the search stopped early, --effort N goes further";
    }
    return remark;
}

// `valueHolds`: the signature value vouches for the stored digest. Whoever changes content can
// change its digest as well; only the value protects the digest, so without it the two cannot be
// told apart.
Cause referenceCause(const Job& job, bool valueHolds) {
    const std::optional<Finding>& found = job.search->finding();
    if (!found) {
        std::string remark = howFar(job);
        if (!valueHolds) {
            remark += remark.empty() ? "" : "; ";
            remark += "no signature value was found right, so the digest may have been changed "
                      "in place of the content";
        }
        return makeCause(cause::kContentChanged, std::move(remark));
    }
    // The octets are right and the text of the digest is not. Nothing was changed in the octets and
    // the digest was reached all the same: a reading of its text.
    return found->code.empty() ? makeCause(cause::kDigestEncoding,
                                           "DigestValue is not base64 as an encoder writes it")
                               : makeCause(found->code, found->evidence);
}

// A value for which nothing fits: the key is the signer's, or nobody can tell.
Cause valueCause(const Job& job) {
    const std::optional<Finding>& found = job.search->finding();
    if (!found) {
        return makeCause(cause::kSignedInfoChanged, howFar(job));
    }
    return found->code.empty()
               ? makeCause(cause::kValueEncoding, "the value is not base64 as an encoder writes it")
               : makeCause(valueCode(found->code), found->evidence);
}

// Unsupported methods and limits are no failures that a search could explain. With a wrong or
// missing key the search for other keys may still find the right one.
bool isWorthSearching(ValueCheck value) {
    return value == ValueCheck::WrongKey || value == ValueCheck::Mismatch ||
           value == ValueCheck::MalformedValue || value == ValueCheck::NoKey;
}

// A failure with what is found out of it; a null reference stands for the value.
struct Failure {
    ReferenceResult* reference;
    std::unique_ptr<Job> job;
};

// The digests in SignedInfo were exchanged and the content was not: with the digests of the content
// as it stands the value verifies. Nothing else is to be searched then. This is forgery of the
// crude kind, or the work of a program that computes digests again and forgets the signature.
bool findExchangedDigests(const std::vector<Failure>& failures, Job& value,
                          SignatureReport& report) {
    // All failed digests at once: whoever exchanges one leaves the others, which then match. A
    // DigestValue is long and random, so that replacing it as text hits nothing else.
    std::string form = value.search->form();
    std::string indexes;
    for (const Failure& failure : failures) {
        const ReferenceResult& reference = *failure.reference;
        if (reference.text->digest.isEmpty() || reference.computedDigest.isEmpty()) {
            return false;
        }
        Change exchanged;
        replaceAll(form, reference.text->digest.view(), reference.computedDigest.view(), exchanged);
        form = std::move(exchanged.octets);
        indexes += (indexes.empty() ? "" : ", ") + std::to_string(reference.index);
    }
    // Without a failed digest there is nothing to exchange.
    Deviation deviation;
    if (failures.empty() || !value.goal->isReachedBy(asBytes(form), Depth::Plain, deviation)) {
        return false;
    }
    for (const Failure& failure : failures) {
        failure.reference->cause.edit().evidence =
            "the content is what was signed; DigestValue was changed since, for the signature "
            "value verifies over the digest of this content";
    }
    report.cause = makeCause(cause::kSignedInfoChanged,
                             "DigestValue of reference " + indexes +
                                 " was changed: over the digest of the content as it stands the "
                                 "value verifies");
    return true;
}

// Memory is bounded before time is: a form each, until the limit.
std::vector<Failure> collectFailures(const VerifyQuery& query, const Rules& rules, Budget& budget,
                                     SignatureReport& report) {
    std::vector<Failure> failures;
    std::size_t held = 0;
    for (ReferenceResult& reference : report.references) {
        if (failures.size() >= kMostReferences || held > kMostHeldOctets ||
            !isWorthSearching(reference)) {
            continue;
        }
        if (std::unique_ptr<Job> job = referenceJob(query, rules, reference.index, budget)) {
            held += job->search->form().size();
            failures.push_back({&reference, std::move(job)});
        } else if (reference.octetCount > kMostFormOctets) {
            // The reader is told why nothing was searched, since silence would look like a result.
            reference.cause.edit().evidence =
                "with " + counted(static_cast<std::size_t>(reference.octetCount), "octet") +
                " the form is too large for a search";
        }
    }
    return failures;
}

// Cheap hypotheses for every failure come before dear ones for any. A reader with ten failures has
// more of ten cheap answers than of one dear one.
void runSearches(std::vector<Failure>& failures, Budget& budget) {
    // Two shares each: what a quick search leaves goes to those behind it.
    std::size_t left = 2 * failures.size();
    for (const Failure& failure : failures) {
        budget.beginShare(left--);
        failure.job->search->runQuick();
        failure.job->stoppedEarly = budget.stoppedEarly();
    }
    for (const Failure& failure : failures) {
        Job& job = *failure.job;
        budget.beginShare(left--);
        if (!job.search->finding()) {
            job.search->runThorough(job.remark);
            job.stoppedEarly = job.stoppedEarly || budget.stoppedEarly();
        }
    }
}

// Where a reference fails the value's own failure may be no news: SignedInfo is right, its keys are
// not known.
void takeOutcome(const Failure& failure, bool referencesFail, SignatureReport& report) {
    const bool found = failure.job->search->finding().has_value();
    if (failure.reference != nullptr) {
        // A method or transform that is not supported says nothing of the content.
        if (found || failure.reference->cause->code == dsig::cause::kDigestMismatch) {
            failure.reference->cause =
                referenceCause(*failure.job, report.value == ValueCheck::Valid);
        }
        return;
    }
    // Nothing found under a key that may not be the signer's says nothing of SignedInfo.
    if (found || (report.value == ValueCheck::Mismatch && !referencesFail)) {
        report.cause = valueCause(*failure.job);
    }
}

// What has been done is not advised any more. The advice "run --explain" would look silly on its
// own result.
void dropAdvice(SignatureReport& signature) {
    std::erase(signature.cause.tries, kTryExplain);
    for (ReferenceResult& reference : signature.references) {
        if (!reference.cause->tries.empty()) {
            std::erase(reference.cause.edit().tries, kTryExplain);
        }
    }
}

} // namespace

void explainFailures(const VerifyQuery& query, const Rules& rules, Budget& budget,
                     SignatureReport& signature) {
    if (query.document == nullptr || query.selection.signature == nullptr) {
        return;
    }
    dropAdvice(signature);
    // Making the forms has the whole of the time; what it leaves is shared out.
    budget.beginShare(1);
    std::vector<Failure> failures = collectFailures(query, rules, budget, signature);
    const bool referencesFail = !failures.empty();
    // A valid value has nothing to explain, whatever its digests do.
    if (isWorthSearching(signature.value)) {
        std::unique_ptr<Job> value = valueJob(query, rules, budget);
        if (value != nullptr && findExchangedDigests(failures, *value, signature)) {
            return;
        }
        if (value != nullptr) {
            failures.push_back({nullptr, std::move(value)});
        }
    }
    runSearches(failures, budget);
    for (const Failure& failure : failures) {
        takeOutcome(failure, referencesFail, signature);
    }
    // What mends the first digest mends the signature. The signature as a whole failed for that
    // reference; the same advice stands at both.
    if (referencesFail && signature.cause.code == dsig::cause::kReferenceFailed) {
        signature.cause.tries = failures.front().reference->cause->tries;
    }
}

} // namespace vantrel::dsig::explain
