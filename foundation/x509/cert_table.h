// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_CERT_TABLE_H
#define FOUNDATION_X509_CERT_TABLE_H

#include "foundation/text/byte_view.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/hash_index.h"
#include "foundation/x509/record_blocks.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class DataBuffer;
class LogBase;

// The certificates of one vault with their indexes. Records are never moved or removed, so pointers
// to them stay valid as long as the table. An index is brought up to date by the first look-up that
// needs it: loading costs hardly more than parsing. All members lock; the lock is not held while a
// record is in the caller's hands, and records do not change.
class CertTable final {
public:
    // What a look-up found, and whether the match was exact rather than folded.
    struct Match {
        CertRecord* record = nullptr;
        bool exact = false;
    };

    bool add(const DataBuffer& der, LogBase& log);
    // Adds the certificates that stand in these pieces of `bytes`, whose storage they share. Those
    // that are none, or have no room, are passed over; the number of the others is returned.
    std::uint32_t addAll(const DataBuffer& bytes, std::span<const VantrelX509::Range> pieces);
    [[nodiscard]] std::uint32_t size() const;
    [[nodiscard]] CertRecord* at(std::uint32_t index);

    // `serial`: the text of the number (serial_number.h).
    [[nodiscard]] Match findByIssuerSerial(std::string_view issuerCn, std::string_view serial);
    [[nodiscard]] Match findBySubject(std::string_view dn, bool ignoreOrder);
    [[nodiscard]] Match findByKeyId(ByteView keyId);
    // By the digest of the whole certificate, of any algorithm (hash_ids.h). The first look-up with
    // an algorithm hashes every certificate.
    [[nodiscard]] Match findByDigest(int hashId, ByteView digest);
    // Whether this very certificate is there. Its size does not matter to the cost.
    [[nodiscard]] bool holds(ByteView der);

private:
    struct Index {
        x509::HashIndex entries;
        std::uint32_t indexed = 0; // certificates that are in it
    };

    // What certificates are known by under one algorithm: all their digests one behind the other.
    struct Digests {
        int hashId = 0;
        Index index;
        std::vector<std::uint8_t> all;
    };

    // Throws std::bad_alloc.
    bool addPiece(const DataBuffer& bytes, VantrelX509::Range piece, LogBase& log);
    [[nodiscard]] const VantrelX509& certificate(std::uint32_t index) const noexcept {
        return *m_records[index].m_holder.getX509Ptr();
    }
    void updateIssuerSerial();
    void updateSubjects();
    void updateKeyIds();
    void updateKeyHashes();
    void updateEnds();
    [[nodiscard]] Digests& updatedDigests(int hashId);
    [[nodiscard]] bool issuerHasCn(std::uint32_t index, std::string_view cn, bool& exact);

    mutable std::mutex m_mutex;
    x509::RecordBlocks<CertRecord> m_records;
    Index m_issuerSerial;
    Index m_subjects;
    Index m_keyIds;    // subject key identifier extensions
    Index m_keyHashes; // SHA-1 of the public keys; made only when an extension did not answer
    Index m_ends;      // the last bytes of the certificates, which belong to their signatures
    std::vector<Digests> m_digests; // one for each algorithm that was asked for
    std::string m_scratch;
};

} // namespace vantrel

#endif
