// SPDX-License-Identifier: MIT
#include "dsig/verify/bent_readings.h"

#include "dsig/document/standards.h"
#include "dsig/reference/recommended_reference.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/signed_octets.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/strings.h"

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>

namespace vantrel::dsig {

namespace {

bool hasTransform(const ReferenceText& text, std::string_view part) {
    return std::ranges::any_of(text.transforms, [&](const TransformReport& transform) {
        return transform.algorithm.find(part) != std::string::npos;
    });
}

// XML Signature, 6.6.4: only the transform of that name takes the signature out.
bool leftSignatureOutUnasked(const ReferenceResult& reference) {
    return !hasTransform(*reference.text, "enveloped-signature") &&
           std::ranges::any_of(reference.excluded, [](const Exclusion& exclusion) {
               return exclusion.why == exclusion::kEnvelopedSignature;
           });
}

using Expression = TransformReport::Expression;

bool hasExpression(const ReferenceText& text, const std::function<bool(const Expression&)>& fits) {
    return std::ranges::any_of(text.transforms, [&](const TransformReport& transform) {
        return std::ranges::any_of(transform.expressions, fits);
    });
}

// XPath 1.0, 2: a path that begins with a slash begins at the root, wherever the expression is
// asked, so that one such element anywhere leaves no node at all.
bool asksFromRoot(const ReferenceText& text) {
    return hasExpression(text, [](const Expression& expression) {
        return expression.xpath.find("not(//ancestor-or-self") != std::string::npos;
    });
}

// Expressions are known by pieces of them (xpath_shapes.h), and what else they ask for is passed
// over. The usual ones are carried out as they say, by the prefix that the signature itself has.
bool mayAskForMore(const Selection& selection, const ReferenceText& text) {
    const std::string tag(selection.signature->getTag());
    const std::string usual = "not(ancestor-or-self::" + tag + ")";
    const std::string usualFilter = "/descendant::" + tag;
    return hasExpression(text, [&](const Expression& expression) {
        return !(expression.filter.empty() && expression.xpath == usual) &&
               !(expression.filter == "subtract" && expression.xpath == usualFilter);
    });
}

// XML Signature, 4.4.3.3: "" and "#id" name nodes without comments, whatever method comes then.
bool mayHaveKeptComments(const Document& document, const ReferenceText& reference) {
    return std::ranges::any_of(reference.transforms,
                               [](const TransformReport& transform) {
                                   return text::findTextNoCase(transform.algorithm,
                                                               "WithComments") !=
                                          std::string_view::npos;
                               }) &&
           document.structure->text().find("<!--") != std::string_view::npos;
}

// Canonical XML 1.1 is carried out as 1.0 is.
bool mayDifferBy11(const Document& document, const ReferenceResult& reference) {
    return hasTransform(*reference.text, "xml-c14n11") &&
           std::ranges::any_of(reference.coveredElements.all(), [&](xml::ElementId element) {
               return inheritsIdOrBase(*document.structure, element);
           });
}

bool isByRecommendation(const VerifyQuery& query, const ReferenceResult& reference) {
    LogNull log;
    return isDigestAsRecommended({query.document, query.selection, reference.index, {}}, log);
}

void noteBentReference(const VerifyQuery& query, ReferenceResult& reference) {
    // What only the recommendations' own way found is not bent.
    if (!reference.matched() || reference.external || !reference.standards->codes().empty()) {
        return;
    }
    // Of a digest that another leniency made equal there is nothing to compare.
    const bool plain = reference.accommodations.codes().empty();
    if (leftSignatureOutUnasked(reference)) {
        reference.accommodations.add(accommodation::kEnvelopedImplied);
    }
    if (asksFromRoot(*reference.text)) {
        reference.accommodations.add(accommodation::kXPathByShape);
    }
    if (!plain || !reference.accommodations.codes().empty()) {
        return;
    }
    const std::string_view suspect =
        mayAskForMore(query.selection, *reference.text)         ? accommodation::kXPathByShape
        : mayHaveKeptComments(*query.document, *reference.text) ? accommodation::kCommentsKept
        : mayDifferBy11(*query.document, reference)             ? accommodation::kC14n11As10
                                                                : std::string_view();
    if (!suspect.empty() && !isByRecommendation(query, reference)) {
        reference.accommodations.add(suspect);
    }
}

// XML Signature, 6.3.1: a code is as long as the method says, or else it is no code of the method.
void noteWholeHmac(const VerifyQuery& query, SignatureReport& report) {
    const bool isWhole = std::ranges::any_of(
        report.keys, [](const KeyReport& key) { return key.used && key.type == "HMAC"; });
    if (!isWhole || report.standards.contains(standard::kHmacLength)) {
        return;
    }
    const Ref<ClsXml> element =
        Ref<ClsXml>::adopt(query.selection.signature->findChild("*:SignedInfo|*:SignatureMethod"));
    StringBuffer length;
    if (!element || !element->getChildContentUtf8("*:HMACOutputLength", length, false)) {
        return;
    }
    LogNull log;
    const SignatureMethod method =
        readSignatureMethod(report.signatureMethod, nullptr, !report.givenRulesOnly, log);
    length.trim2();
    if (length.view() != std::to_string(8 * crypto::hashDigestSize(method.hashAlg))) {
        report.accommodations.add(accommodation::kHmacLengthIgnored);
    }
}

} // namespace

void noteBentReadings(const VerifyQuery& query, SignatureReport& report) {
    for (ReferenceResult& reference : report.references) {
        noteBentReference(query, reference);
    }
    noteWholeHmac(query, report);
}

} // namespace vantrel::dsig
