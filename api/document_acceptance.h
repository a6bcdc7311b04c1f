// SPDX-License-Identifier: MIT
#ifndef API_DOCUMENT_ACCEPTANCE_H
#define API_DOCUMENT_ACCEPTANCE_H

#include "api/policy.h"
#include "api/verify_result.h"

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace vantrel {

namespace json {
class JsonWriter;
} // namespace json

namespace api {

// Whether a document is accepted by the caller's policy, from what was found of its signatures.
class DocumentAcceptance final {
public:
    // Takes what the policy says of one signature.
    void add(const SignatureResult& signature);
    // The same from what ClsXmlDSig::LastAcceptance says of it. False when that is no such object.
    [[nodiscard]] bool add(std::string_view json);

    // Whether all signatures are accepted, with `any` whether one is. Without a signature nothing
    // is.
    [[nodiscard]] bool holds(bool any) const noexcept {
        return m_accepted > 0 && (any || m_accepted == m_signatures);
    }
    // Those of all signatures, each once, in the order in which they are met.
    [[nodiscard]] const std::vector<Refusal>& refusals() const noexcept { return m_refusals; }

private:
    void addRefusal(std::string_view code);

    std::size_t m_signatures = 0;
    std::size_t m_accepted = 0;
    std::vector<Refusal> m_refusals;
};

// What the policy says of a document that was verified; of one that could not be judged (an error)
// nothing but that it is not accepted.
void setAcceptance(const Policy& policy, const DocumentAcceptance& acceptance,
                   VerifyResult& result);

// The members `accepted` and `refusals` of the document's object; `refusals` are empty where it is
// accepted.
void writeAcceptance(bool accepted, std::span<const Refusal> refusals, json::JsonWriter& out);

// A code with its sentence.
[[nodiscard]] Refusal refusalOf(std::string_view code);

} // namespace api
} // namespace vantrel

#endif
