// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_NAME_FORMS_H
#define FOUNDATION_X509_PATH_NAME_FORMS_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/path/general_name.h"

#include <string>
#include <string_view>

namespace vantrel::x509 {

// The forms of names that name constraints know, and how each is compared (RFC 5280 4.2.1.10).

// A name or the base of a subtree; `key` is that of a directory name (directory_name.h). The key is
// empty for every other form.
struct ComparableName {
    GeneralName name;
    std::string key;
};

// How a subtree is meant: a wildcard that stands for names inside and outside of it lies in an
// excluded one, but not in a permitted one.
enum class Subtree { Permitted, Excluded };

// Whether constraints of this form can be judged at all. Registered identifiers, other names and
// the like have no subtrees that standards define; a constraint on them refuses every name of that
// form.
[[nodiscard]] bool isComparableForm(NameForm form) noexcept;

// Whether the base of a constraint has the syntax of its form; forms that are not compared count as
// such. Asked when a certificate is read, so that the validation meets usable ones only.
[[nodiscard]] bool isUsableConstraint(const GeneralName& base) noexcept;

// Whether a name has the syntax of its form, so that a constraint can be judged: a host name has no
// empty label, a mailbox one "@", a URI a host that is no address.
[[nodiscard]] bool isUsableName(const GeneralName& name) noexcept;

// Whether `name` lies within the subtree; both usable and of one comparable form. For
// Subtree::Excluded a wildcard name lies within as soon as one of the hosts that it stands for
// does.
[[nodiscard]] bool isWithin(const ComparableName& name, const ComparableName& base,
                            Subtree subtree) noexcept;

// Equality without regard to the case of ASCII letters. For host names and the like: letters beyond
// ASCII have no place in them (RFC 5280 7.2).
[[nodiscard]] bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept;

// Splits a mailbox at its "@". False for more than one (outside of a quoted local part) or none.
// The views are into `mailbox`, and unchanged on failure.
[[nodiscard]] bool splitMailbox(std::string_view mailbox, std::string_view& local,
                                std::string_view& host) noexcept;

// Whether the text is a host name: labels without white space and control characters, none of them
// empty. `wildcards`: the leftmost may be "*".
[[nodiscard]] bool isHostName(std::string_view host, bool wildcards) noexcept;

} // namespace vantrel::x509

#endif
