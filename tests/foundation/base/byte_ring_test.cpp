// SPDX-License-Identifier: MIT
#include "foundation/base/byte_ring.h"

#include "tests/support/bytes.h"

#include <algorithm>
#include <thread>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Pieces of all sizes, some larger than the ring, read as they come: either side is ahead at times.
TEST(ByteRing, OctetsArriveInOrderWhateverThePieces) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        RandomBytes random(seed);
        const Bytes sent = random.bytes(random.below(6) * ByteRing::kSize + random.below(100000));
        const bool slowReader = seed % 2 == 0;
        ByteRing ring;
        ASSERT_TRUE(ring.open());
        Bytes received;
        std::thread reader([&] {
            RandomBytes pace(seed + 100);
            for (ByteView part = ring.read(); !part.empty(); part = ring.read()) {
                const std::size_t size = slowReader ? 1 + pace.below(part.size()) : part.size();
                received.insert(received.end(), part.begin(), part.begin() + size);
                ring.release(size);
            }
        });
        const std::size_t most = slowReader ? 2 * ByteRing::kSize : 20000;
        for (ByteView rest(sent); !rest.empty();) {
            const std::size_t size = std::min<std::size_t>(rest.size(), random.below(most));
            ring.write(rest.first(size));
            rest = rest.subspan(size);
        }
        ring.close();
        reader.join();
        EXPECT_TRUE(received == sent) << seed;
        EXPECT_TRUE(ring.read().empty());
    }
}

} // namespace
} // namespace vantrel::test
