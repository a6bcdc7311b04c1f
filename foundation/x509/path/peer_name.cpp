// SPDX-License-Identifier: MIT
#include "foundation/x509/path/peer_name.h"

#include "foundation/x509/path/name_forms.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::x509 {

namespace {

constexpr std::size_t kIpv6Groups = 8;

// All of the text, without a sign or white space.
bool readNumber(std::string_view text, int base, unsigned highest, unsigned& value) noexcept {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return !text.empty() && error == std::errc() && end == text.data() + text.size() &&
           value <= highest;
}

// RFC 3986 3.2.2: four decimal numbers without leading zeros. A leading zero means octal to some
// programs and nothing to others, so that two of them would see two addresses.
bool appendIpv4(std::string_view text, std::string& octets) {
    std::string found;
    while (found.size() < 4) {
        // The last number reaches to the end: a dot in it is no number.
        const std::size_t dot = found.size() < 3 ? text.find('.') : text.size();
        unsigned value = 0;
        // "0" itself is one digit and passes.
        if (dot == std::string_view::npos || !readNumber(text.substr(0, dot), 10, 255, value) ||
            (dot > 1 && text[0] == '0')) {
            return false;
        }
        found.push_back(static_cast<char>(value));
        text.remove_prefix(std::min(dot + 1, text.size()));
    }
    octets += found;
    return true;
}

// The groups of one side of "::"; the last may be an IPv4 address (RFC 4291 2.2).
bool appendGroups(std::string_view text, std::string& octets) {
    while (!text.empty()) {
        const std::size_t colon = text.find(':');
        const std::string_view group = text.substr(0, colon);
        const bool last = colon == std::string_view::npos;
        unsigned value = 0;
        if (last && group.find('.') != std::string_view::npos) {
            return appendIpv4(group, octets);
        }
        if (group.size() > 4 || !readNumber(group, 16, 0xFFFF, value)) {
            return false;
        }
        octets.push_back(static_cast<char>(value >> 8U));
        octets.push_back(static_cast<char>(value & 0xFFU));
        if (last) {
            return true;
        }
        text.remove_prefix(colon + 1);
        if (text.empty()) {
            return false; // a colon with nothing behind it
        }
    }
    return true;
}

// RFC 4291 2.2: "::" stands once, for one group of zeros at least.
bool appendIpv6(std::string_view text, std::string& octets) {
    const std::size_t gap = text.find("::");
    std::string front;
    std::string back;
    // Without a gap all eight groups have to be written.
    if (gap == std::string_view::npos) {
        if (!appendGroups(text, front) || front.size() != 2 * kIpv6Groups) {
            return false;
        }
        octets += front;
        return true;
    }
    // A gap for nothing is refused, as the standard has it; with an IPv4 tail a side may hold two
    // groups more, which the sum covers.
    if (!appendGroups(text.substr(0, gap), front) || !appendGroups(text.substr(gap + 2), back) ||
        front.size() + back.size() > 2 * (kIpv6Groups - 1)) {
        return false;
    }
    octets += front + std::string(2 * kIpv6Groups - front.size() - back.size(), '\0') + back;
    return true;
}

// RFC 9525 6.3: a wildcard is the whole leftmost label and stands for exactly one. "*.example.com"
// is not example.com, and a.b.example.com is not covered either.
bool isHostCovered(std::string_view presented, std::string_view wanted) noexcept {
    if (!isHostName(presented, true)) {
        return false;
    }
    if (presented.substr(0, 2) != "*.") {
        return equalIgnoringCase(presented, wanted);
    }
    const std::size_t dot = wanted.find('.');
    return dot != std::string_view::npos &&
           equalIgnoringCase(presented.substr(2), wanted.substr(dot + 1));
}

// Upper and lower case of the local part are two mailboxes to the standards; whoever asks should
// write it as the certificate has it.
bool isSameMailbox(std::string_view presented, std::string_view wanted) noexcept {
    std::string_view local;
    std::string_view host;
    std::string_view wantedLocal;
    std::string_view wantedHost;
    return splitMailbox(presented, local, host) && splitMailbox(wanted, wantedLocal, wantedHost) &&
           local == wantedLocal && equalIgnoringCase(host, wantedHost);
}

} // namespace

bool parsePeerName(std::string_view text, PeerName& name) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return false;
    }
    // In small letters only: these are words of the query language and no names.
    const std::string_view form = text.substr(0, colon);
    std::string_view value = text.substr(colon + 1);
    PeerName parsed;
    if (form == "dns") {
        // The dot of the root belongs to the name as resolvers write it.
        if (!value.empty() && value.back() == '.') {
            value.remove_suffix(1);
        }
        parsed = {NameForm::Dns, std::string(value)};
        if (!isHostName(value, false)) {
            return false;
        }
    } else if (form == "ip") {
        parsed.form = NameForm::Ip;
        if (!appendIpv4(value, parsed.value) && !appendIpv6(value, parsed.value)) {
            return false;
        }
    } else if (form == "email") {
        std::string_view local;
        std::string_view host;
        parsed = {NameForm::Email, std::string(value)};
        if (!splitMailbox(value, local, host)) {
            return false;
        }
    } else {
        return false;
    }
    name = std::move(parsed);
    return true;
}

bool isIssuedFor(const CertificateFacts& certificate, const PeerName& name) noexcept {
    // Names of another form say nothing: an address is never a host name (RFC 9525 6.5).
    const auto fits = [&name](const GeneralName& presented) {
        const std::string_view text = asText(presented.contents);
        if (presented.form != name.form) {
            return false;
        }
        switch (name.form) {
        case NameForm::Dns: return isHostCovered(text, name.value);
        case NameForm::Email: return isSameMailbox(text, name.value);
        default: return text == name.value;
        }
    };
    return std::any_of(certificate.alternativeNames.begin(), certificate.alternativeNames.end(),
                       fits);
}

} // namespace vantrel::x509
