// SPDX-License-Identifier: MIT
// Reading the answer of a time-stamp authority.

#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/cms/timestamp_request.h"
#include "foundation/text/LogBase.h"

#include <string>
#include <string_view>

namespace vantrel::cms {

using asn1::DerReader;
using asn1::Tag;

namespace {

// PKIStatus (RFC 3161 2.4.2)
// grantedWithMods is a success as well: what was modified shows when the token is compared with the
// request (answersRequest).
constexpr std::int64_t kGranted = 0;
constexpr std::int64_t kGrantedWithMods = 1;
constexpr std::string_view kStatusNames[] = {"granted",           "grantedWithMods",
                                             "rejection",         "waiting",
                                             "revocationWarning", "revocationNotification"};

// PKIFailureInfo (RFC 3161 2.4.2): a named-bit list, bit 0 the highest of the first byte.
struct FailureBit {
    unsigned bit;
    std::string_view name;
};
constexpr FailureBit kFailures[] = {{0, "badAlg"},
                                    {2, "badRequest"},
                                    {5, "badDataFormat"},
                                    {14, "timeNotAvailable"},
                                    {15, "unacceptedPolicy"},
                                    {16, "unacceptedExtension"},
                                    {17, "addInfoNotAvailable"},
                                    {25, "systemFailure"}};

// What PKIStatusInfo says. `texts`: the elements of statusString, at its end when there are none.
struct Status {
    std::int64_t code = 0;
    DerReader texts;
    std::uint32_t failures = 0;
};

// PKIStatusInfo ::= SEQUENCE {
//     status        PKIStatus,
//     statusString  SEQUENCE OF UTF8String OPTIONAL,
//     failInfo      BIT STRING OPTIONAL }
bool readStatus(DerReader& answer, Status& out) noexcept {
    DerReader fields;
    return answer.enter(Tag::Sequence, fields) && asn1::readSmallInteger(fields, out.code) &&
           (!fields.nextIs(Tag::Sequence) || fields.enter(Tag::Sequence, out.texts)) &&
           (!fields.nextIs(Tag::BitString) || asn1::readNamedBits(fields, out.failures)) &&
           fields.atEnd();
}

// What the authority says goes to the log; nothing hangs on it.
void logStatus(const Status& status, LogBase& log) {
    // The numbers come from outside: one beyond the list is "unknown".
    const bool known = status.code >= 0 && status.code < std::ssize(kStatusNames);
    log.logText("pkiStatus", known ? kStatusNames[static_cast<std::size_t>(status.code)]
                                   : std::string_view("unknown"));
    DerReader texts = status.texts;
    ByteView text;
    while (texts.read(Tag::Utf8String, text)) {
        log.logText("statusString", asText(text));
    }
    for (const FailureBit& failure : kFailures) {
        if ((status.failures >> failure.bit & 1U) != 0) {
            log.logText("failInfo", failure.name);
        }
    }
}

} // namespace

bool readTimestampResponse(ByteView response, ByteView& token, LogBase& log) {
    // TimeStampResp ::= SEQUENCE { status PKIStatusInfo, timeStampToken ContentInfo OPTIONAL }
    DerReader reader(response);
    DerReader answer;
    Status status;
    if (!reader.enter(Tag::Sequence, answer) || !readStatus(answer, status)) {
        log.LogError("The answer of the time-stamp authority is malformed.");
        return false;
    }
    logStatus(status, log);
    if (status.code != kGranted && status.code != kGrantedWithMods) {
        log.LogError("The time-stamp authority refused the request.");
        return false;
    }
    // RFC 3161 2.4.2: the token must be there when the status is one of these two.
    if (!answer.readWhole(Tag::Sequence, token) || !answer.atEnd()) {
        log.LogError("The time-stamp authority granted the request, but sent no usable token.");
        return false;
    }
    return true;
}

} // namespace vantrel::cms
