// SPDX-License-Identifier: MIT
// CMS signed data and time-stamp tokens, and the answers of authorities: loaded, verified, and
// consistent in what they report.
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/cms/timestamp_request.h"
#include "foundation/cms/tst_info.h"
#include "foundation/text/LogBase.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    const ByteView input(data, size);
    LogNull log;
    Pkcs7SignedData message;
    bool otherType = false;
    const bool loaded =
        message.loadPkcs7Der(DataBuffer(input), nullptr, 2, otherType, nullptr, log);
    DataBuffer content;
    const bool verified = message.verifyOpaqueSignature(content, _clsCades(), nullptr, log);
    if ((verified && !loaded) || (!verified && !content.isEmpty()) || message.authorityTrusted() ||
        message.isTimeStamp() != !message.genTime().empty()) {
        std::abort();
    }
    const cms::CarriedEvidence evidence = message.carriedEvidence();
    if (evidence.crls.size() > cms::kMaxEvidence || (!loaded && !evidence.crls.empty())) {
        std::abort();
    }
    cms::TstInfo info;
    std::string_view whyNot;
    static_cast<void>(cms::parseTstInfo(input, info, whyNot));
    ByteView token;
    static_cast<void>(cms::readTimestampResponse(input, token, log));
    return 0;
}
