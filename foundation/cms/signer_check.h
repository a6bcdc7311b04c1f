// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_SIGNER_CHECK_H
#define FOUNDATION_CMS_SIGNER_CHECK_H

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/byte_view.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vantrel {

class LogBase;
class VantrelX509;

namespace cms {

class CertificateSource;
struct SignedData;
struct SignerInfo;

// One signer, from his description in the message to a verified signature (RFC 5652 5.4, 5.6).
// Public data only: nothing here is constant time.

// The digests of one content, each computed at most once however many signers there are.
class ContentDigests final {
public:
    explicit ContentDigests(ByteView content) noexcept : m_content(content) {}

    // The digest by an algorithm of hash_ids.h. Empty for an identifier that names none. Valid as
    // long as this object.
    [[nodiscard]] ByteView digest(int hashId) noexcept;

private:
    struct Entry {
        std::array<std::uint8_t, crypto::kMaxDigestSize> bytes{};
        std::size_t size = 0;
    };

    ByteView m_content;
    std::array<Entry, 16> m_entries; // by identifier, which is below 16; size 0: not computed yet
};

// Verifies one signer (RFC 5652 5.4, 5.6): the signed attributes against the content, the
// signature, and the signing-certificate attributes. True with `certificate` set to the one that
// verified, which `source` owns; false, with one error line, otherwise. Whether that certificate is
// to be trusted, or was valid at the time, is another question (certificate_path.h). May throw
// std::bad_alloc.
[[nodiscard]] bool checkSigner(const SignedData& data, const SignerInfo& signer,
                               ContentDigests& digests, const CertificateSource& source,
                               const VantrelX509*& certificate, LogBase& log);

// Whether the certificate is one for time-stamping (RFC 3161 2.3): that is its only extended key
// usage, marked critical, and its key may sign. Without this rule any certificate of the same
// authority could tell the time. False with an error line.
[[nodiscard]] bool isMadeForTimeStamping(const VantrelX509& certificate, LogBase& log);

} // namespace cms
} // namespace vantrel

#endif
