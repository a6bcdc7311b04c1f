// SPDX-License-Identifier: MIT
#include "dsig/reference/digest_ahead.h"

#include "dsig/document/canonicalization_method.h"
#include "dsig/reference/DSigReference.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vantrel::dsig {

namespace {

constexpr std::size_t kWorthAhead = std::size_t{4} << 20;
constexpr std::size_t kSearched = std::size_t{64} << 10; // at the end of the text
constexpr std::size_t kReference = 2048;                 // on either side of the transform
constexpr std::uint64_t kMostOfText = 4;                 // the form may have so many times the text
constexpr std::string_view kEnveloped = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";

// The value of the first attribute of this name, which is given with its "="; cuts `text` down to
// what stands behind. False where there is none.
bool takeValue(std::string_view name, std::string_view& text, std::string_view& value) noexcept {
    const std::size_t found = text.find(name);
    const std::size_t quote = found == text.npos ? text.size() : found + name.size();
    if (quote + 1 >= text.size() || (text[quote] != '"' && text[quote] != '\'')) {
        return false;
    }
    const std::size_t end = text.find(text[quote], quote + 1);
    if (end == text.npos) {
        return false;
    }
    value = text.substr(quote + 1, end - quote - 1);
    text.remove_prefix(end);
    return true;
}

} // namespace

std::unique_ptr<DigestAhead> DigestAhead::guess(std::string_view text) {
    Plan plan{};
    if (text.size() < kWorthAhead || !planOf(text, plan)) {
        return nullptr;
    }
    std::unique_ptr<DigestAhead> ahead(new DigestAhead(plan, kMostOfText * text.size()));
    return ahead->m_sink.startThread() ? std::move(ahead) : nullptr;
}

// The first reference with the enveloped-signature transform, which a canonicalization may follow.
bool DigestAhead::planOf(std::string_view text, Plan& plan) {
    text.remove_prefix(text.size() - std::min(text.size(), kSearched));
    const std::size_t enveloped = text.find(kEnveloped);
    if (enveloped == text.npos) {
        return false;
    }
    std::string_view before = text.substr(0, enveloped);
    before.remove_prefix(before.size() - std::min(before.size(), kReference));
    before.remove_prefix(std::min(before.rfind(" URI="), before.size()));
    std::string_view after = text.substr(enveloped + kEnveloped.size(), kReference);
    const std::size_t method = after.find("DigestMethod");
    if (method == after.npos) {
        return false;
    }
    std::string_view transforms = after.substr(0, method);
    after.remove_prefix(method);
    std::string_view uri;
    std::string_view value;
    DSigReference reference;
    if (!takeValue(" URI=", before, uri) || !takeValue(" Algorithm=", after, value) ||
        !reference.m_digestMethod.setView(value) ||
        transforms.find("PrefixList") != transforms.npos) {
        return false;
    }
    plan = {xml::CanonMethod::Inclusive, uri.empty(), reference.getHashAlg()};
    if (takeValue(" Algorithm=", transforms, value)) {
        const StringBuffer algorithm(value);
        plan.method = namesInclusive(algorithm) ? plan.method : xml::CanonMethod::Exclusive;
        return (namesInclusive(algorithm) || namesExclusive(algorithm)) &&
               !namesComments(algorithm) && !takeValue(" Algorithm=", transforms, value);
    }
    return true;
}

DigestAhead::DigestAhead(const Plan& plan, std::uint64_t mostOctets)
    : m_hashAlg(plan.hashAlg), m_sink(plan.hashAlg, 2), m_limited(m_sink, mostOctets),
      m_form(plan.method, plan.whole, m_limited) {}

bool DigestAhead::give(const xml::XmlDocument& document, const xml::CanonRequest& request,
                       int hashAlg, HashSink& sink) {
    if (hashAlg != m_hashAlg || !m_form.isFrontOf(document, request) || !m_form.finish(request)) {
        return false;
    }
    sink.take(m_sink);
    return true;
}

} // namespace vantrel::dsig
