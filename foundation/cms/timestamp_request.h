// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_TIMESTAMP_REQUEST_H
#define FOUNDATION_CMS_TIMESTAMP_REQUEST_H

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/byte_view.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vantrel {

class ClsJsonObject;
class LogBase;

namespace cms {

struct TstInfo;

// The exchange with a time-stamp authority (RFC 3161), without the transport: the request that is
// sent, the response, and whether the one answers the other.

// What is asked of a time-stamp authority (RFC 3161 2.4.1).
struct TimestampRequest {
    std::string url;
    int timeoutMs = 0; // for the whole exchange; 0: that of the connection
    int hashId = kHashSha256;
    bool requestCertificate = true;
    std::string policy; // dotted; empty for any
    bool hasNonce = true;
    std::array<std::uint8_t, 8> nonce{}; // an INTEGER's contents: positive, in shortest form
    std::array<std::uint8_t, crypto::kMaxDigestSize> digest{};
    std::size_t digestSize = 0;

    [[nodiscard]] ByteView imprint() const noexcept { return ByteView(digest).first(digestSize); }
};

// Reads the options (see Pkcs7SignedData::getTimestampToken), draws the nonce and hashes `data`.
// False with one error line when an option is missing or cannot be used.
[[nodiscard]] bool makeTimestampRequest(const ClsJsonObject& options, ByteView data,
                                        TimestampRequest& request, LogBase& log);

// The request as it is sent. False, with one error line, when the policy is no object identifier.
[[nodiscard]] bool encodeTimestampRequest(const TimestampRequest& request,
                                          std::vector<std::uint8_t>& out, LogBase& log);

// Takes the token out of a TimeStampResp (RFC 3161 2.4.2); `token` is a part of `response`. False,
// with an error line, when the response is malformed or grants no token; then the status, texts and
// reasons that the authority gives are logged.
[[nodiscard]] bool readTimestampResponse(ByteView response, ByteView& token, LogBase& log);

// Whether the token answers the request: same imprint, nonce and policy (RFC 3161 2.2). The nonce
// keeps an old token over the same data from being taken for a new one. False with one error line.
[[nodiscard]] bool answersRequest(const TstInfo& info, const TimestampRequest& request,
                                  LogBase& log);

} // namespace cms
} // namespace vantrel

#endif
