// SPDX-License-Identifier: MIT
#ifndef DSIG_OBJECT_OBJECT_STATE_H
#define DSIG_OBJECT_OBJECT_STATE_H

#include "dsig/document/document.h"
#include "dsig/document/limits.h"
#include "dsig/document/rules.h"
#include "dsig/explain/budget.h"
#include "dsig/html/page.h"
#include "dsig/keys/named_keys.h"
#include "dsig/reference/external_parts.h"
#include "dsig/report/signature_report.h"
#include "dsig/trust/acceptance.h"
#include "dsig/trust/policy.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/keys/ClsPublicKey.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantrel::dsig {

// What a verifier keeps besides its prescribed members: what was made of the loaded document, the
// report of the last operation, and settings of its own.
struct ObjectState {
    std::unique_ptr<Document> document;       // made at first need; gone with the next load
    std::shared_ptr<DigestAhead> digestAhead; // of a document that was loaded before that
    Rules rulesAtLoad;                        // as loading set them
    // Kept as values and written as JSON when somebody asks.
    SignatureReport report;
    // By which the caller accepts signatures; null for none. Survives loads.
    std::shared_ptr<const Policy> policy;
    std::optional<Acceptance> acceptance; // of the report; made when somebody asks for it
    // What explanations of the loaded document may still cost; made with the first of them.
    std::optional<explain::Budget> explainBudget;
    // Results that the caller had kept for a page, in their order; gone with the next load.
    std::vector<html::PageSignature> kept;
    std::uint64_t keptOctets = 0; // of their reports
    // Survive loads; the document's accounts refer to them.
    Limits limits;
    unsigned threads = 1; // see SetThreads
    // Tried for every signature, last, in this order; none is null. Survive loads.
    std::vector<Ref<ClsPublicKey>> keysForAll;
    NamedKeys namedKeys;           // tried for signatures that name them; survive loads
    bool encodingMismatch = false; // of the loaded document
    // The package that the loaded document is a part of, null for none; gone with the next load.
    std::shared_ptr<ExternalParts> parts;
    std::string part;   // its name there
    int firstIndex = 0; // number of signatures in the package's parts before it
};

} // namespace vantrel::dsig

#endif
