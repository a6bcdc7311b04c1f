// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_NAME_CONSTRAINTS_H
#define FOUNDATION_X509_PATH_NAME_CONSTRAINTS_H

#include "foundation/x509/path/certificate_facts.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace vantrel::x509 {

// The name constraints that the certificates of a path put on those below them (RFC 5280 6.1.3 b
// and c, 6.1.4 g). Each authority's subtrees are kept as they are and a name has to satisfy all of
// them, which is what intersection and union come to.
class NameConstraints final {
public:
    // TooMany is no verdict on the names: the bound was reached before it could be found.
    enum class Verdict { Satisfied, Violated, TooMany };

    // `checks`: comparisons of a name with a subtree that may still be made; shared by the paths
    // of one query. It must outlive this.
    explicit NameConstraints(std::size_t& checks) noexcept : m_checks(checks) {}

    // Adds the constraints of an authority, which must outlive this. Its subtrees bind all
    // certificates below it, its own names excepted; so it is added after it was checked itself.
    void add(const CertificateFacts& authority);

    // Whether every name of the certificate may stand there. `why`: which one may not. All
    // comparisons of a certificate are counted before the first is made.
    [[nodiscard]] Verdict check(const CertificateFacts& certificate, std::string& why) const;

private:
    // The subtrees of one authority, apart by their forms: names of one form never meet those of
    // another, however many there are.
    struct Authority {
        std::array<std::vector<const ComparableName*>, kNameForms> permitted;
        std::array<std::vector<const ComparableName*>, kNameForms> excluded;
    };
    [[nodiscard]] static bool satisfies(const ComparableName& name, const Authority& authority,
                                        std::string& why);
    [[nodiscard]] static std::size_t countChecks(const std::vector<ComparableName>& names,
                                                 const Authority& authority) noexcept;

    std::size_t& m_checks;
    std::vector<Authority> m_authorities;
};

} // namespace vantrel::x509

#endif
