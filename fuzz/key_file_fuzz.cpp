// SPDX-License-Identifier: MIT
// Files of public keys in any form: keys or a fault, never both, and no key that is empty.
#include "foundation/keyfile/key_file.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vantrel;
    std::vector<Ref<ClsPublicKey>> keys;
    keyfile::KeyFileFault fault;
    const bool loaded = keyfile::loadKeys(ByteView(data, size), keys, fault);
    if (loaded == keys.empty() || (!loaded && fault.what.empty())) {
        std::abort();
    }
    for (const Ref<ClsPublicKey>& key : keys) {
        if (key->isEmpty()) {
            std::abort();
        }
    }
    return 0;
}
