// SPDX-License-Identifier: MIT
#include "foundation/cms/timestamp_request.h"

#include "foundation/asn1/der_writer.h"
#include "foundation/asn1/oid.h"
#include "foundation/cms/tst_info.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/json/ClsJsonObject.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/strings.h"
#include "foundation/x509/oids.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <random>
#include <string_view>

namespace vantrel::cms {

using asn1::DerWriter;
using asn1::Tag;
using x509::sameBytes;

namespace {

constexpr int kLargestHashId = 15;

// "sha256", "SHA-256": hyphens and letter case do not count.
std::string foldedName(std::string_view name) {
    std::string folded;
    for (const char c : name) {
        if (c != '-') {
            folded.push_back(text::toLowerAscii(c));
        }
    }
    return folded;
}

int hashFromName(std::string_view name) {
    const std::string wanted = foldedName(name);
    for (int id = 1; id <= kLargestHashId; ++id) {
        const crypto::HashInfo* const hash = crypto::findHash(id);
        if (hash != nullptr && foldedName(hash->name) == wanted) {
            return id;
        }
    }
    return kHashNone;
}

// An option that is absent has its default; any other value than a boolean is read as boolOf does.
bool boolOption(const ClsJsonObject& options, std::string_view name, bool otherwise) {
    return options.find(name) == nullptr ? otherwise : options.boolOf(name);
}

// hashAlgorithm. `hashId` keeps its default when there is none.
bool readHash(const ClsJsonObject& options, int& hashId, LogBase& log) {
    StringBuffer name;
    if (!options.stringOf("hashAlgorithm", name)) {
        return true;
    }
    hashId = hashFromName(name.view());
    if (hashId == kHashNone) {
        log.LogError("The hashAlgorithm of the time-stamp options is not known.");
        log.LogDataSb("hashAlgorithm", name);
        return false;
    }
    return true;
}

// Everything but the nonce and the digest. Options of other names are ignored: one object may serve
// several operations.
bool readOptions(const ClsJsonObject& options, TimestampRequest& request, LogBase& log) {
    StringBuffer text;
    if (!options.stringOf("tsaUrl", text) || text.isEmpty()) {
        log.LogError("The time-stamp options have no tsaUrl.");
        return false;
    }
    request.url = text.view();
    if (!readHash(options, request.hashId, log)) {
        return false;
    }
    request.requestCertificate = boolOption(options, "requestCert", true);
    request.hasNonce = boolOption(options, "nonce", true);
    text.clear();
    if (options.stringOf("policyOid", text)) {
        request.policy = text.view();
    }
    // A negative time means none of its own; one that is too long is as long as can be.
    constexpr std::int64_t kLongest = std::numeric_limits<int>::max();
    request.timeoutMs =
        static_cast<int>(std::clamp<std::int64_t>(options.intOf("timeoutMs"), 0, kLongest));
    return true;
}

// std::random_device may throw where the system's source cannot be opened.
bool drawNonce(std::array<std::uint8_t, 8>& nonce, LogBase& log) {
    try {
        std::random_device random;
        for (std::uint8_t& byte : nonce) {
            byte = static_cast<std::uint8_t>(random());
        }
    } catch (const std::exception&) {
        log.LogError("The system has no random numbers for the nonce.");
        return false;
    }
    // As an INTEGER it is positive and has no shorter form: the top bit is clear and the next one
    // set. 62 bits stay random.
    nonce[0] = static_cast<std::uint8_t>((nonce[0] & 0x3FU) | 0x40U);
    return true;
}

} // namespace

bool makeTimestampRequest(const ClsJsonObject& options, ByteView data, TimestampRequest& request,
                          LogBase& log) {
    // An imprint of nothing would fit every other empty thing.
    if (data.empty()) {
        log.LogError("There is nothing to be time-stamped.");
        return false;
    }
    if (!readOptions(options, request, log) ||
        (request.hasNonce && !drawNonce(request.nonce, log))) {
        return false;
    }
    request.digestSize = crypto::hashBytes(request.hashId, data, request.digest).size();
    return true;
}

bool encodeTimestampRequest(const TimestampRequest& request, std::vector<std::uint8_t>& out,
                            LogBase& log) {
    const crypto::HashInfo* const hash = crypto::findHash(request.hashId);
    DerWriter writer;
    // TimeStampReq ::= SEQUENCE {
    //     version         INTEGER { v1(1) },
    writer.open(Tag::Sequence);
    writer.writeUnsigned(1);
    //     messageImprint  MessageImprint,
    // MessageImprint ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier, hashedMessage OCTET STRING }
    // Parameters: NULL, which readers take as they take none (RFC 5754 2).
    writer.open(Tag::Sequence);
    writer.open(Tag::Sequence);
    bool good = hash != nullptr && writer.writeOid(hash->oid);
    writer.writeNull();
    writer.close();
    writer.write(Tag::OctetString, request.imprint());
    writer.close();
    //     reqPolicy       TSAPolicyId OPTIONAL,
    good = good && (request.policy.empty() || writer.writeOid(request.policy));
    //     nonce           INTEGER OPTIONAL,
    if (request.hasNonce) {
        writer.write(Tag::Integer, request.nonce);
    }
    //     certReq         BOOLEAN DEFAULT FALSE }
    // DER leaves out a default, so that FALSE is never written. No extensions are sent.
    if (request.requestCertificate) {
        writer.writeBoolean(true);
    }
    writer.close();
    if (!good) {
        log.LogError("The policyOid of the time-stamp options is no object identifier.");
        return false;
    }
    out.assign(writer.bytes().begin(), writer.bytes().end());
    return true;
}

bool answersRequest(const TstInfo& info, const TimestampRequest& request, LogBase& log) {
    // The algorithm as well as the hash: one of them alone says nothing.
    if (info.hashId != request.hashId || !sameBytes(info.imprint, request.imprint())) {
        log.LogError("The time-stamp token is not over the data that was sent.");
        return false;
    }
    if (request.hasNonce && !(info.hasNonce && sameBytes(info.nonce, request.nonce))) {
        log.LogError("The time-stamp token does not repeat the nonce of the request.");
        return false;
    }
    // Where no policy was asked for, the authority chooses (RFC 3161 2.4.1).
    asn1::OidBytes policy;
    if (!request.policy.empty() &&
        !(asn1::oidFromText(request.policy, policy) && sameBytes(info.policy, policy.view()))) {
        log.LogError("The time-stamp token was made under another policy.");
        return false;
    }
    return true;
}

} // namespace vantrel::cms
