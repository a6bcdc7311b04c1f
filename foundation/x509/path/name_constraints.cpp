// SPDX-License-Identifier: MIT
#include "foundation/x509/path/name_constraints.h"

#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/path/directory_name.h"
#include "foundation/x509/path/extensions.h"

#include <algorithm>

namespace vantrel::x509 {

namespace {

// Comparisons of one certificate's names with one authority's subtrees; the caller's bound is for
// all of a query. Names and subtrees by the ten thousand fit into certificates of a few hundred
// kilobytes each, and their product costs seconds for every pair on every path.
constexpr std::size_t kMaxChecksOfPair = std::size_t{1} << 20U;

std::size_t indexOf(NameForm form) noexcept { return static_cast<std::size_t>(form); }

// The names of a certificate that constraints apply to. False when one is malformed.
bool collectNames(const CertificateFacts& facts, std::vector<ComparableName>& names) {
    // The subject counts as a directory name (RFC 5280 4.2.1.10). An empty one is none: the
    // certificate is about its alternative names then.
    if (!facts.subject.empty()) {
        names.push_back({{NameForm::Directory, facts.certificate->subject()}, facts.subject});
    }
    for (const GeneralName& name : facts.alternativeNames) {
        ComparableName comparable = {name, {}};
        if (name.form == NameForm::Directory && !appendNameKey(name.contents, comparable.key)) {
            return false;
        }
        names.push_back(std::move(comparable));
    }
    // Mailboxes that older issuers put into the subject count as well, also beside alternative
    // names: who may not certify a mailbox there may not do so here. RFC 5280 4.2.1.10 asks for it
    // where there are no alternative names at all.
    NameReader reader(facts.certificate->subject());
    DerAttribute attribute;
    while (reader.next(attribute)) {
        // Its contents are taken whatever their string type says: no usable mailbox in them, and
        // the constraint fails.
        if (sameBytes(attribute.type, oid::kEmailAddress)) {
            names.push_back({{NameForm::Email, attribute.value.contents}, {}});
        }
    }
    return true;
}

// The name itself is told where it is a text that was found to be ASCII. The others may hold any
// octets, and the text goes to a terminal.
std::string described(const GeneralName& name) {
    constexpr std::string_view kForms[kNameForms] = {
        "other name", "mailbox", "host name", "X.400 name",           "distinguished name",
        "EDI name",   "URI",     "address",   "registered identifier"};
    std::string text(kForms[indexOf(name.form)]);
    if (name.form == NameForm::Email || name.form == NameForm::Dns || name.form == NameForm::Uri) {
        text += " \"" + std::string(asText(name.contents)) + "\"";
    }
    return text;
}

} // namespace

// Those without constraints are left out, so that the common path stays without any work.
void NameConstraints::add(const CertificateFacts& authority) {
    if (authority.permitted.empty() && authority.excluded.empty()) {
        return;
    }
    Authority& added = m_authorities.emplace_back();
    for (const ComparableName& subtree : authority.permitted) {
        added.permitted[indexOf(subtree.name.form)].push_back(&subtree);
    }
    for (const ComparableName& subtree : authority.excluded) {
        added.excluded[indexOf(subtree.name.form)].push_back(&subtree);
    }
}

bool NameConstraints::satisfies(const ComparableName& name, const Authority& authority,
                                std::string& why) {
    // RFC 5280 4.2.1.10: a name of a form that no subtree has is not restricted. One in an
    // excluded subtree is out whatever permits it.
    const auto& permitted = authority.permitted[indexOf(name.name.form)];
    const auto& excluded = authority.excluded[indexOf(name.name.form)];
    if (permitted.empty() && excluded.empty()) {
        return true;
    }
    // What cannot be compared is not allowed: a mailbox with two "@" may lie in the excluded domain
    // for the next program (RFC 5280 4.2.1.10 lets us refuse what we cannot process).
    if (!isComparableForm(name.name.form) || !isUsableName(name.name)) {
        why = "the " + described(name.name) + " cannot be compared with a constraint of its form";
        return false;
    }
    const auto holdsAs = [&name](Subtree subtree) {
        return
            [&name, subtree](const ComparableName* base) { return isWithin(name, *base, subtree); };
    };
    // Excluded ones first, since they win.
    if (std::any_of(excluded.begin(), excluded.end(), holdsAs(Subtree::Excluded))) {
        why = "the " + described(name.name) + " lies in an excluded subtree";
        return false;
    }
    // One permitted subtree is enough, of this authority; those of the others are asked for
    // themselves, which intersects them.
    if (!permitted.empty() &&
        std::none_of(permitted.begin(), permitted.end(), holdsAs(Subtree::Permitted))) {
        why = "the " + described(name.name) + " lies in no permitted subtree";
        return false;
    }
    return true;
}

std::size_t NameConstraints::countChecks(const std::vector<ComparableName>& names,
                                         const Authority& authority) noexcept {
    // Names and subtrees are parts of certificates, so the product fits.
    std::size_t checks = 0;
    for (const ComparableName& name : names) {
        const std::size_t form = indexOf(name.name.form);
        checks += authority.permitted[form].size() + authority.excluded[form].size();
    }
    return checks;
}

NameConstraints::Verdict NameConstraints::check(const CertificateFacts& certificate,
                                                std::string& why) const {
    // Most paths have no constraints; then the names are not even collected.
    if (m_authorities.empty()) {
        return Verdict::Satisfied;
    }
    std::vector<ComparableName> names;
    if (!collectNames(certificate, names)) {
        why = "an alternative name is malformed";
        return Verdict::Violated;
    }
    // First the price, then the work. Subtracted before a comparison is made, so that a refused
    // certificate cannot spend the account of the others little by little.
    for (const Authority& authority : m_authorities) {
        const std::size_t checks = countChecks(names, authority);
        if (checks > kMaxChecksOfPair || checks > m_checks) {
            why = "there are too many names and name constraints to compare";
            return Verdict::TooMany;
        }
        m_checks -= checks;
    }
    for (const Authority& authority : m_authorities) {
        for (const ComparableName& name : names) {
            if (!satisfies(name, authority, why)) {
                return Verdict::Violated;
            }
        }
    }
    return Verdict::Satisfied;
}

} // namespace vantrel::x509
