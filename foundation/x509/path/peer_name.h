// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PATH_PEER_NAME_H
#define FOUNDATION_X509_PATH_PEER_NAME_H

#include "foundation/x509/path/certificate_facts.h"

#include <string>
#include <string_view>

namespace vantrel::x509 {

// The name under which the caller knows the holder of a certificate, compared with its alternative
// names alone (RFC 9525 6; RFC 5280 4.2.1.6). The common name never counts.
struct PeerName {
    NameForm form = NameForm::Dns; // Dns, Ip or Email
    // An address is 4 or 16 octets; a host name stands without the dot of the root.
    std::string value; // a host name, the octets of an address, a mailbox
};

// Reads "dns:HOST", "ip:ADDRESS" (IPv4 or IPv6) or "email:MAILBOX". False when the text is of no
// such form. On failure `name` is unchanged.
[[nodiscard]] bool parsePeerName(std::string_view text, PeerName& name);

// Whether the certificate was issued for that name. "*" as the whole leftmost label of a presented
// host name stands for one label. Wildcards inside of a label ("w*.example.com") are not followed
// (RFC 9525 6.3): they have been a source of wrong matches and no issuer needs them.
[[nodiscard]] bool isIssuedFor(const CertificateFacts& certificate, const PeerName& name) noexcept;

} // namespace vantrel::x509

#endif
