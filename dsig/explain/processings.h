#ifndef DSIG_EXPLAIN_PROCESSINGS_H
#define DSIG_EXPLAIN_PROCESSINGS_H

#include "dsig/explain/change.h"
#include "dsig/explain/target.h"

#include <span>

namespace vantrel::dsig::explain {

// Other ways in which a signer may have made the octets of the document. Each offers the visit the
// forms that its deviations give, and returns true when the visit ended the search.
using Processing = bool (*)(const Target& target, const ChangeVisit& visit);

// Another canonicalization, or none.
// Each is a function over values and can be tried by itself; the target that it is given stays as
// it is.
bool otherCanonicalizations(const Target& target, const ChangeVisit& visit);
bool ignoredPrefixList(const Target& target, const ChangeVisit& visit);
bool otherPrefixLists(const Target& target, const ChangeVisit& visit);
bool otherAttributeOrders(const Target& target, const ChangeVisit& visit);
bool rawOctets(const Target& target, const ChangeVisit& visit);
// Other declarations and attributes of the prefix xml at the element: as it was in fewer outer
// elements, or with some of the declarations only, or more of them.
bool outerContexts(const Target& target, const ChangeVisit& visit);
bool otherNamespaceContexts(const Target& target, const ChangeVisit& visit);
bool otherXmlAttributes(const Target& target, const ChangeVisit& visit);
// Another document: signatures in it or not, its document type declaration not read.
bool otherSignatureRemovals(const Target& target, const ChangeVisit& visit);
bool unreadDocumentType(const Target& target, const ChangeVisit& visit);

// White space beside the signature that was put in with it. Tried ahead of what else white space is
// changed by: it says more.
bool spaceAroundSignature(const Target& target, const ChangeVisit& visit);

// All of the above but the last, in the order in which they are tried.
[[nodiscard]] std::span<const Processing> processings() noexcept;

// Every other element of the document in the target's place. As dear as the document is large and
// deep, and hence tried last.
bool otherElements(const Target& target, const ChangeVisit& visit);

} // namespace vantrel::dsig::explain

#endif
