#include "foundation/cms/certificate_path.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/cms/certificate_source.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/_vlPublicKey.h"
#include "foundation/x509/keys/key_der.h"
#include "foundation/x509/oids.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace vantrel::cms {

using asn1::DerElement;
using asn1::DerReader;
using asn1::Tag;
using x509::sameBytes;

namespace {

constexpr unsigned kKeyCertSign = 5; // bit of KeyUsage

// RFC 5280 4.2.1: extensions that a path may be accepted with although they are critical, because
// they are checked here or restrict nothing that is asked of the path.
constexpr std::uint8_t kSubjectAltName[] = {0x55, 0x1D, 17};
constexpr std::uint8_t kCertificatePolicies[] = {0x55, 0x1D, 32};
constexpr ByteView kUnderstood[] = {
    x509::oid::kSubjectKeyId,     x509::oid::kKeyUsage, kSubjectAltName,
    x509::oid::kBasicConstraints, kCertificatePolicies, oid::kAuthorityKeyId,
    x509::oid::kExtendedKeyUsage};

// The Extensions of a certificate; at its end when there are none.
DerReader extensionsOf(const VantrelX509& certificate) noexcept {
    DerReader reader(certificate.tbsCertificate());
    DerReader body;
    DerReader extensions;
    if (!reader.enter(Tag::Sequence, body)) {
        return extensions;
    }
    // TBSCertificate ::= SEQUENCE { ..., extensions [3] EXPLICIT Extensions OPTIONAL }
    // The certificate was parsed when it was loaded, so the fields before it are only passed over.
    DerElement field;
    while (body.readAny(field)) {
        if (field.tag == asn1::contextConstructed(3)) {
            DerReader wrapper(field.contents);
            static_cast<void>(wrapper.enter(Tag::Sequence, extensions));
        }
    }
    return extensions;
}

// RFC 5280 4.2: who meets a critical extension that he does not know must refuse the certificate. A
// malformed list counts as such.
bool hasUnknownCriticalExtension(const VantrelX509& certificate) noexcept {
    DerReader extensions = extensionsOf(certificate);
    while (!extensions.atEnd()) {
        // Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, ... }
        DerReader extension;
        ByteView id;
        bool critical = false;
        if (!extensions.enter(Tag::Sequence, extension) || !extension.read(Tag::Oid, id) ||
            (extension.nextIs(Tag::Boolean) && !asn1::readBoolean(extension, critical))) {
            return true;
        }
        const auto isThis = [id](ByteView known) { return sameBytes(known, id); };
        if (critical && std::none_of(std::begin(kUnderstood), std::end(kUnderstood), isThis)) {
            return true;
        }
    }
    return false;
}

// Both ends belong to the validity (RFC 5280 4.1.2.5).
bool isValidAt(const VantrelX509& certificate, std::int64_t time) noexcept {
    std::int64_t notBefore = 0;
    std::int64_t notAfter = 0;
    return certificate.validity(notBefore, notAfter) && notBefore <= time && time <= notAfter;
}

// One search, depth first. Certificates on the way are distinct, so that a loop of issuers ends. It
// recurses once an issuer, kMaxPathLength at most. `whyNot` keeps the last thing that stood in the
// way.
class PathSearch {
public:
    PathSearch(const CertificateSource& source, std::int64_t time, std::string_view& whyNot,
               LogBase& log)
        : m_source(source), m_time(time), m_whyNot(whyNot), m_log(log) {}

    // Goes on from `certificate`, which was found acceptable. `authoritiesBelow`: authorities
    // already on the way that are not self-issued, which is what pathLenConstraint counts (RFC
    // 5280 4.2.1.9).
    bool extend(const VantrelX509& certificate, int authoritiesBelow) {
        m_path.push_back(&certificate);
        const bool found = extendFrom(certificate, authoritiesBelow);
        m_path.pop_back();
        return found;
    }

    bool isAcceptable(const VantrelX509& certificate) {
        if (!isValidAt(certificate, m_time)) {
            m_whyNot = "a certificate on the way to the store was not valid at that time";
            return false;
        }
        if (hasUnknownCriticalExtension(certificate)) {
            m_whyNot = "a certificate on the way to the store has an unknown critical extension";
            return false;
        }
        return true;
    }

private:
    // Issuers of the store come first: the first of them that fits ends the search, whatever its
    // own issuer.
    bool extendFrom(const VantrelX509& certificate, int authoritiesBelow) {
        std::size_t fromStore = 0;
        const std::vector<const VantrelX509*> issuers =
            m_source.issuerCandidates(certificate, fromStore);
        for (std::size_t i = 0; i < issuers.size(); ++i) {
            const VantrelX509& issuer = *issuers[i];
            if (isOnPath(issuer) || !mayHaveIssued(certificate, issuer, authoritiesBelow)) {
                continue;
            }
            // What the store holds is trusted by that alone; its own issuer is not asked for.
            if (i < fromStore) {
                return true;
            }
            if (m_path.size() >= kMaxPathLength) {
                m_whyNot = "the way to the store is too long";
                continue;
            }
            if (extend(issuer, authoritiesBelow + (issuer.isSelfIssued() ? 0 : 1))) {
                return true;
            }
        }
        return false;
    }

    bool isOnPath(const VantrelX509& issuer) const noexcept {
        return std::any_of(m_path.begin(), m_path.end(), [&issuer](const VantrelX509* one) {
            return sameBytes(one->certificate(), issuer.certificate());
        });
    }

    // The checks of one step (RFC 5280 6.1.3 and 6.1.4), the cheap ones first.
    bool mayHaveIssued(const VantrelX509& certificate, const VantrelX509& issuer,
                       int authoritiesBelow) {
        if (m_tried == kMaxIssuersTried) {
            m_whyNot = "too many issuers were tried";
            return false;
        }
        ++m_tried;
        // BasicConstraints ::= SEQUENCE {
        //     cA                 BOOLEAN DEFAULT FALSE,
        //     pathLenConstraint  INTEGER (0..MAX) OPTIONAL }
        // KeyUsage, where there is one, must have the bit keyCertSign.
        bool isCa = false;
        int pathLength = -1;
        std::uint32_t usage = 0;
        if (!issuer.basicConstraints(isCa, pathLength) || !isCa ||
            (issuer.keyUsage(usage) && (usage >> kKeyCertSign & 1U) == 0)) {
            m_whyNot = "an issuer may not sign certificates";
            return false;
        }
        if (pathLength >= 0 && authoritiesBelow > pathLength) {
            m_whyNot = "an issuer does not allow as many authorities below it";
            return false;
        }
        // Names only say who claims to have issued it; the signature is the proof.
        _vlPublicKey key;
        std::string_view keyFault;
        if (!x509::loadSubjectPublicKeyInfo(issuer.publicKeyInfo(), key, keyFault) ||
            !certificate.isSignedBy(key, m_log)) {
            m_whyNot = "a certificate was not signed by the issuer it names";
            return false;
        }
        return isAcceptable(issuer);
    }

    const CertificateSource& m_source;
    const std::int64_t m_time;
    std::string_view& m_whyNot;
    LogBase& m_log;
    std::vector<const VantrelX509*> m_path;
    std::size_t m_tried = 0;
};

} // namespace

bool leadsToStore(const VantrelX509& certificate, const CertificateSource& source,
                  std::int64_t time, std::string_view& whyNot, LogBase& log) {
    // What remains the reason when no issuer is found at all.
    whyNot = "no issuer is in the store";
    PathSearch search(source, time, whyNot, log);
    return search.isAcceptable(certificate) &&
           (source.storeHolds(certificate) || search.extend(certificate, 0));
}

} // namespace vantrel::cms
