// SPDX-License-Identifier: MIT
#include "foundation/x509/path/name_forms.h"

#include "foundation/x509/attribute_types.h"
#include "foundation/x509/path/directory_name.h"

#include <algorithm>
#include <cstddef>

namespace vantrel::x509 {

namespace {

constexpr std::size_t kIpv4 = 4;
constexpr std::size_t kIpv6 = 16;

// In place of a host a whole URI would hold no name, and as a constraint exclude none.
constexpr std::string_view kNotOfHosts = "*@:/";

bool endsWith(std::string_view text, std::string_view tail) noexcept {
    return text.size() >= tail.size() &&
           equalIgnoringCase(text.substr(text.size() - tail.size()), tail);
}

// ".example.com" or "example.com" RFC 5280 has no leading dot in constraints on host names. Issuers
// write it nevertheless, copied from those on URIs.
std::string_view withoutLeadingDot(std::string_view host) noexcept {
    return host.substr(host.substr(0, 1) == "." ? 1 : 0);
}

// Wildcards have no place in constraints; a leading dot has, by wide use.
bool isHostConstraint(std::string_view host) noexcept {
    return host.empty() || isHostName(withoutLeadingDot(host), false);
}

// The subtree of a host name: itself and what has more labels on its left; with a leading dot only
// the latter. An empty one holds every name.
bool isInDomain(std::string_view host, std::string_view base) noexcept {
    if (base.empty() || equalIgnoringCase(host, base)) {
        return true;
    }
    // The octet ahead of the base must be a dot: "badexample.com" does not lie in "example.com".
    // There is one, since the host is longer than the base here.
    return endsWith(host, base) && (base[0] == '.' || host[host.size() - base.size() - 1] == '.');
}

// Mailboxes and URIs: the host itself, or with a leading dot what lies below it. Here "example.com"
// is that host alone, and its hosts need the dot: RFC 5280 4.2.1.10 treats mailboxes and URIs
// otherwise than host names.
bool isAtHost(std::string_view host, std::string_view base) noexcept {
    return base.empty() || (base[0] == '.' ? endsWith(host, base) : equalIgnoringCase(host, base));
}

bool isDnsWithin(std::string_view name, std::string_view base, Subtree subtree) noexcept {
    if (isInDomain(name, base)) {
        return true;
    }
    // "*.example.com" stands for "a.example.com" too. An authority that must not issue for
    // a.example.com could otherwise do so by a wildcard. For permitted subtrees the same wildcard
    // would reach out of what is permitted.
    if (subtree == Subtree::Permitted || name.substr(0, 2) != "*.") {
        return false;
    }
    const std::string_view bare = withoutLeadingDot(base);
    const std::size_t dot = bare.find('.');
    return dot != std::string_view::npos && equalIgnoringCase(bare.substr(dot + 1), name.substr(2));
}

// RFC 5280 4.2.1.10: a base is a mailbox, a host, or with a leading dot the hosts below a domain.
bool isMailboxWithin(std::string_view mailbox, std::string_view base) noexcept {
    std::string_view local;
    std::string_view host;
    if (!splitMailbox(mailbox, local, host)) {
        return false;
    }
    std::string_view baseLocal;
    std::string_view baseHost;
    // The local part is the business of its host: octet for octet. Its letter case may matter there
    // (RFC 5321 2.4).
    if (splitMailbox(base, baseLocal, baseHost)) {
        return local == baseLocal && equalIgnoringCase(host, baseHost);
    }
    return isAtHost(host, base);
}

// The host of a URI (RFC 3986 3.2.2); empty when it has none, or one that is an address. RFC 5280
// 4.2.1.10: a constraint on URIs is about hosts, so that a URI without one cannot satisfy it. User
// information ahead of an "@" is no part of the host; taking it for one is an old trick
// ("https://good.example@evil.example/").
std::string_view uriHost(std::string_view uri) noexcept {
    const std::size_t slashes = uri.find("://");
    if (slashes == std::string_view::npos) {
        return {};
    }
    std::string_view authority = uri.substr(slashes + 3);
    authority = authority.substr(0, authority.find_first_of("/?#"));
    const std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        authority.remove_prefix(at + 1);
    }
    if (authority.substr(0, 1) == "[") {
        return {};
    }
    const std::string_view host = authority.substr(0, authority.find(':'));
    // Digits and dots alone are an IPv4 address.
    const bool address = std::all_of(host.begin(), host.end(),
                                     [](char c) { return (c >= '0' && c <= '9') || c == '.'; });
    return address ? std::string_view() : host;
}

// An address and its mask, which is a run of ones and then of zeros (RFC 4632). A mask with holes
// is refused (RFC 5280 4.2.1.10 has CIDR style only): it permits addresses that nobody had in mind.
bool isAddressRange(ByteView range) noexcept {
    if (range.size() != 2 * kIpv4 && range.size() != 2 * kIpv6) {
        return false;
    }
    bool ended = false;
    for (const std::uint8_t byte : range.subspan(range.size() / 2)) {
        // A byte of the form 1..10..0 has an inverse of the form 0..01..1, which plus one shares no
        // bit with it.
        const unsigned inverse = ~unsigned{byte} & 0xFFU;
        if ((ended && byte != 0) || (inverse & (inverse + 1)) != 0) {
            return false;
        }
        ended = byte != 0xFF;
    }
    return true;
}

// An address of the other family lies in no range of this one.
bool isAddressWithin(ByteView address, ByteView range) noexcept {
    if (address.size() * 2 != range.size()) {
        return false;
    }
    for (std::size_t i = 0; i < address.size(); ++i) {
        if (((address[i] ^ range[i]) & range[address.size() + i]) != 0) {
            return false;
        }
    }
    return true;
}

} // namespace

bool isComparableForm(NameForm form) noexcept {
    return form == NameForm::Email || form == NameForm::Dns || form == NameForm::Directory ||
           form == NameForm::Uri || form == NameForm::Ip;
}

bool isUsableConstraint(const GeneralName& base) noexcept {
    const std::string_view text = asText(base.contents);
    std::string_view local;
    std::string_view host;
    switch (base.form) {
    case NameForm::Dns:
    case NameForm::Uri: return isHostConstraint(text);
    case NameForm::Email:
        // Either a mailbox or a host, by whether it has an "@".
        return splitMailbox(text, local, host) ? isHostName(host, false) : isHostConstraint(text);
    case NameForm::Ip: return isAddressRange(base.contents);
    default: return true;
    }
}

// Asked of a name only when a constraint of its form is there: certificates in use have odd names,
// and without a constraint they do no harm.
bool isUsableName(const GeneralName& name) noexcept {
    const std::string_view text = asText(name.contents);
    std::string_view local;
    std::string_view host;
    switch (name.form) {
    case NameForm::Dns: return isHostName(text, true);
    case NameForm::Email: return splitMailbox(text, local, host) && isHostName(host, false);
    case NameForm::Uri: return isHostName(uriHost(text), false);
    case NameForm::Ip: return name.contents.size() == kIpv4 || name.contents.size() == kIpv6;
    default: return true;
    }
}

bool isWithin(const ComparableName& name, const ComparableName& base, Subtree subtree) noexcept {
    const std::string_view text = asText(name.name.contents);
    const std::string_view baseText = asText(base.name.contents);
    switch (base.name.form) {
    case NameForm::Dns: return isDnsWithin(text, baseText, subtree);
    case NameForm::Email: return isMailboxWithin(text, baseText);
    case NameForm::Uri: return isAtHost(uriHost(text), baseText);
    case NameForm::Ip: return isAddressWithin(name.name.contents, base.name.contents);
    case NameForm::Directory: return isWithinSubtree(name.key, base.key);
    default: return false;
    }
}

bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return foldAscii(x) == foldAscii(y); });
}

// RFC 5321 4.1.2: a local part with an "@" in it is quoted. Reading it any other way would let one
// mailbox pass for that of another host.
bool splitMailbox(std::string_view mailbox, std::string_view& local,
                  std::string_view& host) noexcept {
    const std::size_t at = mailbox.rfind('@');
    if (at == std::string_view::npos || at == 0) {
        return false;
    }
    const std::string_view before = mailbox.substr(0, at);
    const bool quoted = before.size() >= 2 && before.front() == '"' && before.back() == '"';
    if (!quoted && before.find('@') != std::string_view::npos) {
        return false;
    }
    local = before;
    host = mailbox.substr(at + 1);
    return true;
}

// More than this is not asked: underscores and labels of any length stand in certificates in use.
bool isHostName(std::string_view host, bool wildcards) noexcept {
    if (wildcards && host.substr(0, 2) == "*.") {
        host.remove_prefix(2);
    }
    bool emptyLabel = true;
    for (const char c : host) {
        if (c == '.') {
            if (emptyLabel) {
                return false;
            }
            emptyLabel = true;
            continue;
        }
        if (c <= ' ' || c >= 0x7F || kNotOfHosts.find(c) != kNotOfHosts.npos) {
            return false;
        }
        emptyLabel = false;
    }
    return !emptyLabel;
}

} // namespace vantrel::x509
