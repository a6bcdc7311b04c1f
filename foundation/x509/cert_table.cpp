// SPDX-License-Identifier: MIT
#include "foundation/x509/cert_table.h"

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/name_match.h"
#include "foundation/x509/name_reader.h"
#include "foundation/x509/name_text.h"
#include "foundation/x509/oids.h"
#include "foundation/x509/serial_number.h"

#include <algorithm>
#include <cstddef>

namespace vantrel {

namespace {

using x509::HashIndex;

constexpr std::size_t kSha1Size = 20;

// Each look-up has a seed of its own, so that equal octets in different roles do not meet. Every
// hit is compared in full afterwards: a key only narrows the choice.
std::uint64_t issuerSerialKey(std::string_view cn, std::string_view serial, std::string& scratch) {
    scratch.clear();
    x509::appendFoldedValue(cn, scratch);
    return x509::hashBytes(serial, x509::hashBytes(scratch, 2));
}

std::uint64_t keyIdKey(ByteView keyId) noexcept { return x509::hashBytes(asText(keyId), 3); }

std::uint64_t digestKey(ByteView digest) noexcept { return x509::hashBytes(asText(digest), 5); }

// Of a whole certificate: its end tells certificates apart as well as all of it would.
std::uint64_t endKey(ByteView der) noexcept {
    constexpr std::size_t kEnd = 64;
    return x509::hashBytes(asText(der.last(std::min(der.size(), kEnd))), 4);
}

std::string folded(std::string_view text) {
    std::string out;
    x509::appendFoldedValue(text, out);
    return out;
}

// Calls `use` with each common name of a Name, as UTF-8.
template <class Use> void forEachCommonName(ByteView name, Use use) {
    x509::NameReader reader(name);
    x509::DerAttribute attribute;
    std::string value;
    while (reader.next(attribute)) {
        value.clear();
        if (x509::sameBytes(attribute.type, x509::oid::kCommonName) &&
            x509::appendStringValue(attribute.value.tag, attribute.value.contents, value)) {
            use(std::string_view(value));
        }
    }
}

// Whether the certificate's subject, in the order of RFC 4514 or (when allowed) in the other one,
// has the canonical key `key`.
bool hasSubjectKey(const VantrelX509& certificate, const StringBuffer& key, bool eitherOrder) {
    LogNull discard;
    for (const bool mostSpecificFirst : {true, false}) {
        StringBuffer text;
        StringBuffer own;
        if (DistinguishedName::fromDer(certificate.subject(), mostSpecificFirst, text) &&
            DistinguishedName::toVlCanonHashKey(text.getString(), own, discard) &&
            own.equals(key)) {
            return true;
        }
        if (!eitherOrder) {
            break;
        }
    }
    return false;
}

} // namespace

bool CertTable::addPiece(const DataBuffer& bytes, VantrelX509::Range piece, LogBase& log) {
    // Numbers of 32 bits; the last stands for none.
    if (m_records.size() >= HashIndex::kNone) {
        return false;
    }
    CertRecord& record = m_records.emplaceBack();
    if (!record.m_holder.getX509Ptr()->loadX509Der(bytes, piece, log)) {
        m_records.popBack();
        return false;
    }
    return true;
}

bool CertTable::add(const DataBuffer& der, LogBase& log) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return addPiece(der, {0, der.getSize()}, log);
}

std::uint32_t CertTable::addAll(const DataBuffer& bytes,
                                std::span<const VantrelX509::Range> pieces) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    LogNull discard;
    std::uint32_t added = 0;
    for (const VantrelX509::Range piece : pieces) {
        added += text::noThrow(false, [&] { return addPiece(bytes, piece, discard); }) ? 1 : 0;
    }
    return added;
}

std::uint32_t CertTable::size() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<std::uint32_t>(m_records.size());
}

CertRecord* CertTable::at(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return index < m_records.size() ? &m_records[index] : nullptr;
}

// The six functions below take up what was added since they last ran.
void CertTable::updateIssuerSerial() {
    std::string serial;
    for (; m_issuerSerial.indexed < m_records.size(); ++m_issuerSerial.indexed) {
        const std::uint32_t index = m_issuerSerial.indexed;
        const VantrelX509& one = certificate(index);
        serial.clear();
        x509::appendSerialText(one.serialNumber(), serial);
        // An issuer may have several common names, and a document may use any of them.
        forEachCommonName(one.issuer(), [&](std::string_view cn) {
            m_issuerSerial.entries.add(issuerSerialKey(cn, serial, m_scratch), index);
        });
    }
}

void CertTable::updateSubjects() {
    for (; m_subjects.indexed < m_records.size(); ++m_subjects.indexed) {
        const std::uint32_t index = m_subjects.indexed;
        const ByteView subject = certificate(index).subject();
        m_subjects.entries.add(x509::nameTokenHash(subject, m_scratch), index);
    }
}

void CertTable::updateKeyIds() {
    for (; m_keyIds.indexed < m_records.size(); ++m_keyIds.indexed) {
        ByteView id;
        if (certificate(m_keyIds.indexed).subjectKeyId(id)) {
            m_keyIds.entries.add(keyIdKey(id), m_keyIds.indexed);
        }
    }
}

void CertTable::updateKeyHashes() {
    for (; m_keyHashes.indexed < m_records.size(); ++m_keyHashes.indexed) {
        std::uint8_t digest[crypto::kMaxDigestSize];
        const ByteView bits = certificate(m_keyHashes.indexed).subjectPublicKeyBits();
        m_keyHashes.entries.add(keyIdKey(crypto::hashBytes(kHashSha1, bits, digest)),
                                m_keyHashes.indexed);
    }
}

void CertTable::updateEnds() {
    for (; m_ends.indexed < m_records.size(); ++m_ends.indexed) {
        m_ends.entries.add(endKey(certificate(m_ends.indexed).certificate()), m_ends.indexed);
    }
}

CertTable::Digests& CertTable::updatedDigests(int hashId) {
    auto found = std::ranges::find(m_digests, hashId, &Digests::hashId);
    if (found == m_digests.end()) {
        found = m_digests.insert(found, Digests{hashId, {}, {}});
    }
    const std::size_t size = crypto::hashDigestSize(hashId);
    found->all.resize(m_records.size() * size);
    for (std::uint32_t& next = found->index.indexed; next < m_records.size(); ++next) {
        const std::span<std::uint8_t> digest(found->all.data() + next * size, size);
        crypto::hashBytes(hashId, certificate(next).certificate(), digest);
        found->index.entries.add(digestKey(digest), next);
    }
    return *found;
}

bool CertTable::issuerHasCn(std::uint32_t index, std::string_view cn, bool& exact) {
    bool found = false;
    exact = false;
    forEachCommonName(certificate(index).issuer(), [&](std::string_view own) {
        exact = exact || own == cn;
        found = found || exact || folded(own) == folded(cn);
    });
    return found;
}

CertTable::Match CertTable::findByIssuerSerial(std::string_view issuerCn, std::string_view serial) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    updateIssuerSerial();
    Match match;
    std::uint32_t entry =
        m_issuerSerial.entries.first(issuerSerialKey(issuerCn, serial, m_scratch));
    std::string own;
    for (; entry != HashIndex::kNone; entry = m_issuerSerial.entries.next(entry)) {
        const std::uint32_t index = m_issuerSerial.entries.certificate(entry);
        bool exact = false;
        own.clear();
        x509::appendSerialText(certificate(index).serialNumber(), own);
        // Serial numbers repeat from issuer to issuer; the name decides between them.
        if (own != serial || !issuerHasCn(index, issuerCn, exact)) {
            continue;
        }
        if (exact) {
            return {&m_records[index], true};
        }
        if (match.record == nullptr) {
            match.record = &m_records[index];
        }
    }
    return match;
}

CertTable::Match CertTable::findBySubject(std::string_view dn, bool ignoreOrder) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    updateSubjects();
    std::uint32_t entry = m_subjects.entries.first(x509::nameTokenHash(dn, m_scratch));
    if (entry == HashIndex::kNone) {
        return {};
    }
    // The name as this library writes it needs no keys.
    const std::uint32_t first = m_subjects.entries.certificate(entry);
    if (DistinguishedName::isSpelledOut(certificate(first).subject(), dn, ignoreOrder)) {
        return {&m_records[first], true};
    }
    LogNull discard;
    StringBuffer key;
    static_cast<void>(DistinguishedName::toVlCanonHashKey(std::string(dn).c_str(), key, discard));
    const std::vector<std::string> tokens = x509::nameTokens(dn);
    Match match;
    ByteView judged; // many certificates may have the same subject, which is judged once
    for (; entry != HashIndex::kNone; entry = m_subjects.entries.next(entry)) {
        const std::uint32_t index = m_subjects.entries.certificate(entry);
        const ByteView subject = certificate(index).subject();
        if (x509::sameBytes(subject, judged)) {
            continue;
        }
        judged = subject;
        if (hasSubjectKey(certificate(index), key, ignoreOrder)) {
            return {&m_records[index], true};
        }
        if (match.record == nullptr && ignoreOrder && x509::nameTokens(subject) == tokens) {
            match.record = &m_records[index];
        }
    }
    return match;
}

CertTable::Match CertTable::findByKeyId(ByteView keyId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    updateKeyIds();
    const std::uint64_t key = keyIdKey(keyId);
    std::uint32_t entry = m_keyIds.entries.first(key);
    for (; entry != HashIndex::kNone; entry = m_keyIds.entries.next(entry)) {
        const std::uint32_t index = m_keyIds.entries.certificate(entry);
        ByteView own;
        if (certificate(index).subjectKeyId(own) && x509::sameBytes(own, keyId)) {
            return {&m_records[index], true};
        }
    }
    // Not among the extensions: then it may be the hash of a key whose certificate has none. Those
    // are hashed only now, since most stores are never asked that way.
    if (keyId.size() != kSha1Size) {
        return {};
    }
    updateKeyHashes();
    entry = m_keyHashes.entries.first(key);
    for (; entry != HashIndex::kNone; entry = m_keyHashes.entries.next(entry)) {
        const std::uint32_t index = m_keyHashes.entries.certificate(entry);
        std::uint8_t digest[crypto::kMaxDigestSize];
        const ByteView bits = certificate(index).subjectPublicKeyBits();
        if (x509::sameBytes(crypto::hashBytes(kHashSha1, bits, digest), keyId)) {
            return {&m_records[index], true};
        }
    }
    return {};
}

CertTable::Match CertTable::findByDigest(int hashId, ByteView digest) {
    const std::size_t size = crypto::hashDigestSize(hashId);
    if (size == 0 || digest.size() != size) {
        return {};
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Digests& digests = updatedDigests(hashId);
    const HashIndex& entries = digests.index.entries;
    std::uint32_t entry = entries.first(digestKey(digest));
    for (; entry != HashIndex::kNone; entry = entries.next(entry)) {
        const std::uint32_t index = entries.certificate(entry);
        if (x509::sameBytes(ByteView(digests.all).subspan(index * size, size), digest)) {
            return {&m_records[index], true};
        }
    }
    return {};
}

bool CertTable::holds(ByteView der) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    updateEnds();
    std::uint32_t entry = m_ends.entries.first(endKey(der));
    for (; entry != HashIndex::kNone; entry = m_ends.entries.next(entry)) {
        if (x509::sameBytes(certificate(m_ends.entries.certificate(entry)).certificate(), der)) {
            return true;
        }
    }
    return false;
}

} // namespace vantrel
