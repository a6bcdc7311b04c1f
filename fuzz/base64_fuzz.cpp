// SPDX-License-Identifier: MIT
// Base64: every kernel decodes as the portable one does, and what was decoded encodes back.
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/base64_kernels.h"
#include "foundation/text/encoders.h"

#include <cstdlib>

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = asText({data, size});
    DataBuffer wanted;
    const bool valid = text::decodeBase64With(text::base64Kernels().back(), input, wanted);
    for (const text::Base64Kernel& kernel : text::base64Kernels()) {
        DataBuffer out;
        if (cpu::supports(kernel.needs) &&
            (text::decodeBase64With(kernel, input, out) != valid || !out.equals(wanted))) {
            std::abort();
        }
    }
    for (const char* const encoding : {"base64", "base64url", "hex"}) {
        StringBuffer encoded;
        DataBuffer decoded;
        if (!wanted.encodeDB(encoding, encoded) ||
            !decoded.appendEncoded(encoded.view(), encoding) || !decoded.equals(wanted)) {
            std::abort();
        }
        static_cast<void>(decoded.appendEncoded(input, encoding));
    }
    return 0;
}
