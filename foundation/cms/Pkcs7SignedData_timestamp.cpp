// SPDX-License-Identifier: MIT
// Requesting a time-stamp token from an authority (RFC 3161).

#include "foundation/asn1/ber_normalize.h"
#include "foundation/base/CritSecExitor.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/cms/cms_oids.h"
#include "foundation/cms/signed_data.h"
#include "foundation/cms/timestamp_request.h"
#include "foundation/io/ClsHttp.h"
#include "foundation/json/ClsJsonObject.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/oids.h"

#include <string_view>
#include <vector>

namespace vantrel {

namespace {

constexpr std::string_view kQueryType = "application/timestamp-query";
constexpr std::string_view kReplyType = "application/timestamp-reply";
constexpr int kHttpOk = 200;

// RFC 3161 3.4: one POST of the request, answered by one response. Its content type is told to the
// log only; what counts is whether the body can be read.
bool askAuthority(const cms::TimestampRequest& request, const _clsCades& cades, DataBuffer& reply,
                  LogBase& log) {
    std::vector<std::uint8_t> query;
    if (!cms::encodeTimestampRequest(request, query, log)) {
        return false;
    }
    // A connection of the application's may have a proxy, a login or a transport of its own.
    ClsHttp plain;
    ClsHttp& http = cades.tsaHttpObj() != nullptr ? *cades.tsaHttpObj() : plain;
    HttpResponse response;
    if (!http.post(request.url, kQueryType, kReplyType, query, request.timeoutMs, response, log)) {
        return false;
    }
    if (response.status != kHttpOk) {
        log.LogError("The time-stamp authority answered with another HTTP status than 200.");
        log.LogDataLong("httpStatus", response.status);
        return false;
    }
    if (!response.contentType.starts_with(kReplyType)) {
        log.logText("unexpectedContentType", response.contentType);
    }
    reply = response.body;
    return true;
}

// The token, taken out of the reply. Bytes behind the response are dropped. An authority that
// writes BER is understood as well.
bool takeToken(const DataBuffer& reply, DataBuffer& token, LogBase& log) {
    std::vector<std::uint8_t> normal;
    std::size_t consumed = 0;
    ByteView part;
    if (!asn1::normalizeBer(reply.view(), normal, consumed)) {
        normal.clear();
    }
    return cms::readTimestampResponse(normal, part, log) && token.append(part);
}

} // namespace

bool Pkcs7SignedData::getTimestampToken(ClsJsonObject& options, const DataBuffer& data,
                                        const _clsCades& cades, DataBuffer& token, LogBase& log) {
    const LogContextExitor context(log, "getTimestampToken");
    return text::noThrow(false, [&] {
        cms::TimestampRequest request;
        // The options are locked while they are read, not while the authority is waited for.
        {
            const CritSecExitor lock(options.critSec());
            if (!cms::makeTimestampRequest(options, data.view(), request, log)) {
                return false;
            }
        }
        DataBuffer reply;
        DataBuffer received;
        Pkcs7SignedData signedData;
        return askAuthority(request, cades, reply, log) && takeToken(reply, received, log) &&
               signedData.acceptToken(received, request, log) && token.append(received);
    });
}

bool Pkcs7SignedData::acceptToken(const DataBuffer& token, const cms::TimestampRequest& request,
                                  LogBase& log) {
    bool otherContentType = false;
    if (!loadPkcs7Der(token, nullptr, 2, otherContentType, nullptr, log)) {
        return false;
    }
    // The same steps as in a verification, less what needs a store.
    if (!m_data->hasContent || !x509::sameBytes(m_data->contentType, cms::oid::kTstInfo)) {
        log.LogError("What the time-stamp authority sent is no time-stamp token.");
        return false;
    }
    if (!readTimeStamp(log) || !cms::answersRequest(m_tstInfo, request, log)) {
        return false;
    }
    // Without certReq a token carries no certificate (RFC 3161 2.4.1). There is no store to look
    // one up in here: whoever verifies the token later has one.
    if (m_data->certificates.empty() && !request.requestCertificate) {
        log.LogInfo("The token's signature was not checked: no certificate was asked for.");
        return true;
    }
    return verifySigners(nullptr, log);
}

} // namespace vantrel
