// SPDX-License-Identifier: MIT
// Every kernel of every hash algorithm against the portable one. The first byte chooses where the
// message, which is the rest, is cut in two.
#include "foundation/crypto/hash/hasher.h"

#include <cstdlib>
#include <cstring>

using vantrel::crypto::Hasher;
using vantrel::crypto::HashKernel;
using vantrel::crypto::hashKernels;
using vantrel::crypto::kMaxDigestSize;

// NOLINTNEXTLINE(readability-identifier-naming): the name that fuzzing engines look for
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const vantrel::ByteView message(data + 1, size - 1);
    const std::size_t cut = message.size() * data[0] / 256;
    for (int id = 1; id <= vantrel::kHashRipemd160; ++id) {
        for (const HashKernel& kernel : hashKernels(id)) {
            if (!vantrel::cpu::supports(kernel.needs)) {
                continue;
            }
            std::uint8_t digest[kMaxDigestSize];
            std::uint8_t expected[kMaxDigestSize];
            Hasher hasher(id, kernel);
            hasher.update(message.first(cut));
            hasher.update(message.subspan(cut));
            Hasher portable(id, hashKernels(id).back());
            portable.update(message);
            if (std::memcmp(hasher.final(digest).data(), portable.final(expected).data(),
                            portable.digestSize()) != 0) {
                std::abort();
            }
        }
    }
    return 0;
}
