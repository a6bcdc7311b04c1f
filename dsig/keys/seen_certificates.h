// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_SEEN_CERTIFICATES_H
#define DSIG_KEYS_SEEN_CERTIFICATES_H

#include "foundation/x509/StringHashSet.h"
#include "foundation/x509/VantrelX509.h"

#include <vector>

namespace vantrel {

class LogBase;
class StringBuffer;

namespace dsig {

// The certificates already taken in one walk over a KeyInfo, by their issuer's common name with the
// serial number and by their subject. Most documents name no certificate that they also carry, so
// those texts are made when they are first asked for. A name that is found here saves a look-up and
// nothing else: no key is accepted for it.
class SeenCertificates final {
public:
    SeenCertificates() noexcept : m_keys(kSizeHint) {}

    // The certificate is shared; nothing is computed from it yet.
    void add(const VantrelX509& cert) { m_pending.push_back(cert); }
    // `serialHex`: in the form that VantrelX509::get_SerialNumber gives.
    [[nodiscard]] bool hasIssuerSerial(const StringBuffer& issuerCn, const StringBuffer& serialHex,
                                       LogBase& log);
    // `subjectKey`: the canonical hash key of the name.
    [[nodiscard]] bool hasSubject(const StringBuffer& subjectKey, LogBase& log);

private:
    // Of the set; no limit.
    static constexpr int kSizeHint = 79;

    void makeKeys(LogBase& log);

    StringHashSet m_keys;
    std::vector<VantrelX509> m_pending; // copies share the bytes
};

} // namespace dsig
} // namespace vantrel

#endif
