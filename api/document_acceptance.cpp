// SPDX-License-Identifier: MIT
#include "api/document_acceptance.h"

#include "dsig/report/refusals.h"
#include "foundation/json/json_value.h"
#include "foundation/json/json_writer.h"

#include <algorithm>

namespace vantrel::api {

// There are a dozen codes, however many signatures a document has.
void DocumentAcceptance::addRefusal(std::string_view code) {
    const bool isKnown = std::any_of(m_refusals.begin(), m_refusals.end(),
                                     [code](const Refusal& each) { return each.code == code; });
    if (!isKnown) {
        m_refusals.push_back(refusalOf(code));
    }
}

// A signature of which the report says nothing counts as not accepted.
void DocumentAcceptance::add(const SignatureResult& signature) {
    ++m_signatures;
    m_accepted += signature.acceptance == Acceptance::Accepted ? 1 : 0;
    for (const Refusal& refusal : signature.refusals) {
        addRefusal(refusal.code);
    }
}

// The library judges a signature and says so in the report; it is read there, so that the document
// can say nothing else than its signatures do.
bool DocumentAcceptance::add(std::string_view json) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, value, faultAt)) {
        return false;
    }
    const json::JsonValue* const accepted = value.find("accepted");
    const json::JsonValue* const refusals = value.find("refusals");
    // Both members are there whenever there is a policy; one that is missing was not judged.
    if (accepted == nullptr || refusals == nullptr) {
        return false;
    }
    ++m_signatures;
    m_accepted += accepted->kind() == json::JsonValue::Kind::True ? 1 : 0;
    for (const json::JsonValue& code : refusals->elements()) {
        addRefusal(code.text());
    }
    return true;
}

void setAcceptance(const Policy& policy, const DocumentAcceptance& acceptance,
                   VerifyResult& result) {
    const bool isJudged = result.status != Status::Error;
    // Kept with the result, which is asked anew whether it holds.
    result.oneSuffices = policy.accept == Accept::Any;
    const bool holds = isJudged && acceptance.holds(result.oneSuffices);
    result.acceptance = holds ? Acceptance::Accepted : Acceptance::Refused;
    result.refusals = !holds && isJudged ? acceptance.refusals() : std::vector<Refusal>();
}

// With one signature that suffices a document may be accepted though others are not: their codes
// would then read as reasons against the document.
void writeAcceptance(bool accepted, std::span<const Refusal> refusals, json::JsonWriter& out) {
    out.booleanMember("accepted", accepted);
    out.key("refusals");
    out.beginArray();
    for (std::size_t i = 0; !accepted && i < refusals.size(); ++i) {
        out.text(refusals[i].code);
    }
    out.endArray();
}

Refusal refusalOf(std::string_view code) {
    return {std::string(code), std::string(dsig::refusalText(code))};
}

} // namespace vantrel::api
