// SPDX-License-Identifier: MIT
#ifndef API_VERIFICATION_H
#define API_VERIFICATION_H

#include "api/verify_options.h"
#include "api/verify_result.h"

#include <functional>
#include <string>
#include <vector>

// The steps of verifying a document's signatures, for those who report in a form of their own; the
// tool does. verify.h is made of these, so both go the same way.
namespace vantrel {

class ClsXmlDSig;

namespace api {

// Gives a new verifier what holds for all its signatures. To be called before a document is loaded,
// since limits and words act on loading. False, with the reason in `error`, when something was
// refused. Certificates are shared, keys are the verifier's own.
[[nodiscard]] bool prepareVerifier(const VerifyOptions& options, ClsXmlDSig& verifier,
                                   std::string& error);
// The external data, for the signature at the selector: the verifier keeps it by signature.
[[nodiscard]] bool prepareSelected(const VerifyOptions& options, ClsXmlDSig& verifier,
                                   std::string& error);
// The indexes of the selected signatures of the loaded document, in document order. False, with the
// reason, when the one that is named is not there. What has only the name of a signature
// (ClsXmlDSig::IsSignature) is selected only where it is named.
[[nodiscard]] bool selectSignatures(const VerifyOptions& options, ClsXmlDSig& verifier,
                                    std::vector<int>& indexes, std::string& error);

// The error about an index beyond the document's `count` signatures, and that about an Id.
[[nodiscard]] std::string noSuchSignature(int index, int count);
[[nodiscard]] std::string noSuchId(const std::string& id);

// What is done on the way through the signatures; each may be empty.
struct RunSteps {
    // After every attempt at a signature, for its log. False, with the reason in `error`, ends the
    // run.
    std::function<bool(std::string& error)> attempted;
    // After the last attempt at a signature, when its report is final; false as above.
    std::function<bool(std::string& error)> finished;
    // Whether the causes of failures are searched; only a report can show them.
    bool explains = false;
};

// Verifies these signatures of the loaded document one after the other. False, with the reason in
// `error`, when the document as a whole cannot be judged; a signature that does not verify is a
// result. `status` is then Valid, Invalid, or NoSignature where `indexes` are empty.
[[nodiscard]] bool verifySignatures(const VerifyOptions& options, const std::vector<int>& indexes,
                                    ClsXmlDSig& verifier, const RunSteps& steps, Status& status,
                                    std::string& error);

} // namespace api
} // namespace vantrel

#endif
