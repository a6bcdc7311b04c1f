// SPDX-License-Identifier: MIT
// Whole verification of any bytes as a document: every signature, with and without its references,
// with a key at hand, and all that is reported about it.
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/trust/demands.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringArray.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Every demand and kind of target, so that the judgement looks at all that a document holds.
static std::shared_ptr<const vantrel::dsig::Policy> strictestPolicy() {
    const auto policy = std::make_shared<vantrel::dsig::Policy>();
    for (const vantrel::dsig::DemandEntry& entry : vantrel::dsig::demandTable()) {
        policy->demands.insert(entry.demand);
    }
    policy->pins = {std::string(64, '0')};
    policy->mustCover = {"document", "#a", "/a/b[2]", "/a//b", "/a/b["};
    return policy;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLargest = std::size_t{1} << 16;
    constexpr int kMostSignatures = 8;
    if (size == 0 || size > kLargest) {
        return 0;
    }
    vantrel::ClsBinData document;
    document.AppendData(data, static_cast<std::uint32_t>(size));
    vantrel::ClsXmlDSig verifier;
    vantrel::XString secret("00");
    vantrel::XString encoding("hex");
    verifier.SetHmacKey(secret, encoding);
    vantrel::XString words("VerifyEncapsulatedTimeStamp");
    verifier.put_UncommonOptions(words);
    verifier.SetPolicy(strictestPolicy());
    if (!verifier.LoadSignatureBd(document)) {
        return 0;
    }
    for (int i = 0; i < std::min(verifier.get_NumSignatures(), kMostSignatures); ++i) {
        verifier.put_Selector(i);
        verifier.VerifySignature(true);
        vantrel::XString json;
        verifier.get_LastJsonData(json);
        verifier.VerifySignature(false);
        verifier.DescribeSignature(json);
        vantrel::ClsStringArray certificates;
        verifier.GetCerts(certificates);
        vantrel::ClsBinData octets;
        verifier.SignedInfoOctets(octets);
    }
    return 0;
}
