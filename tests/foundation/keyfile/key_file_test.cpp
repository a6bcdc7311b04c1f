// SPDX-License-Identifier: MIT
// Files of keys that are damaged. What whole ones give, tests/vectors/key_sources/tool.vec says.

#include "foundation/keyfile/key_file.h"

#include "tests/support/bytes.h"
#include "tests/support/key_messages.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// The number of keys; without any the fault must say something, and on one line.
std::size_t keysIn(const Bytes& bytes) {
    std::vector<Ref<ClsPublicKey>> keys;
    keyfile::KeyFileFault fault;
    const bool ok = keyfile::loadKeys(bytes, keys, fault);
    EXPECT_EQ(ok, !keys.empty());
    EXPECT_EQ(ok || (!fault.what.empty() && fault.what.find('\n') == std::string::npos), true);
    for (const Ref<ClsPublicKey>& key : keys) {
        EXPECT_FALSE(key->isEmpty());
    }
    return keys.size();
}

TEST(KeyFile, DamagedFilesGiveNoMoreKeysThanWholeOnes) {
    const std::vector<Bytes> files = {
        fromBase64(keyValueNamed("bag")), bytesOf(pemNamed("bag", "PKCS7")),
        bytesOf("{\"keys\":[" + keyValueNamed("jwk.signer") + "," + keyValueNamed("jwk.ec") + "]}"),
        fromBase64(keyValueNamed("private.pkcs8")), fromBase64(keyValueNamed("signer.spki"))};
    const std::size_t counts[] = {2, 2, 2, 0, 1};
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(keysIn(files[i]), counts[i]) << i;
        for (std::size_t size = 0; size < files[i].size(); size += i == 1 ? 7 : 1) {
            const Bytes shorter(files[i].begin(),
                                files[i].begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_EQ(keysIn(shorter), 0U) << i << " cut at " << size;
            Bytes changed = files[i];
            changed[size] ^= 0x20;
            EXPECT_LE(keysIn(changed), counts[i]) << i << " changed at " << size;
        }
    }
}

} // namespace
} // namespace vantrel::test
