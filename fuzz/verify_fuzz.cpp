// Whole verification of any bytes as a document: every signature, with and without its references,
// with a key at hand, and all that is reported about it.
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringArray.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

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
