// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_PROCESSINGS_H
#define DSIG_EXPLAIN_PROCESSINGS_H

#include "dsig/explain/change.h"
#include "dsig/explain/target.h"

#include <span>
#include <string>
#include <string_view>

namespace vantrel::dsig::explain {

// Offers the visit the target's canonical form. A form that cannot be made is offered as an empty
// one, so that the clock is looked at all the same.
bool visitForm(const Target& target, std::string_view code, std::string evidence,
               const ChangeVisit& visit);

// Other ways in which a signer may have made the octets of the document. Each offers the visit the
// forms that its deviations give, and returns true when the visit ended the search. Where the text
// changes of text_changes.h begin with the octets that were digested, these begin with the document
// and make octets of it anew. Each is a function over values and can be tried by itself; the target
// that it is given stays as it is.
using Processing = bool (*)(const Target& target, const ChangeVisit& visit);

// Another canonicalization, or none.
bool otherCanonicalizations(const Target& target, const ChangeVisit& visit);
bool ignoredPrefixList(const Target& target, const ChangeVisit& visit);
bool otherPrefixLists(const Target& target, const ChangeVisit& visit);
bool otherAttributeOrders(const Target& target, const ChangeVisit& visit);
bool rawOctets(const Target& target, const ChangeVisit& visit);
// Other declarations and attributes of the prefix xml at the element: as it was in fewer outer
// elements, or with some of the declarations only, or more of them. Inherited context is the weak
// point of inclusive canonicalization: it changes when an element is moved, without a change in the
// element.
bool outerContexts(const Target& target, const ChangeVisit& visit);
bool otherNamespaceContexts(const Target& target, const ChangeVisit& visit);
bool otherXmlAttributes(const Target& target, const ChangeVisit& visit);
// Another document: signatures in it or not, its document type declaration not read.
bool otherSignatureRemovals(const Target& target, const ChangeVisit& visit);
bool unreadDocumentType(const Target& target, const ChangeVisit& visit);

// White space beside the signature that was put in with it. Tried ahead of what else white space is
// changed by: it says more. Most users ask for what to do, and "remove that line" is easier than
// "print it anew".
bool spaceAroundSignature(const Target& target, const ChangeVisit& visit);

// All of the above but the last, in the order in which they are tried.
[[nodiscard]] std::span<const Processing> processings() noexcept;

// Every other element of the document in the target's place. As dear as the document is large and
// deep, and hence tried last. A find is strong evidence of a wrong Id, or of an attack in which the
// signed element was moved away and another put in its place.
bool otherElements(const Target& target, const ChangeVisit& visit);

} // namespace vantrel::dsig::explain

#endif
