// SPDX-License-Identifier: MIT
#include "foundation/crypto/mac/Hmac.h"

#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/mac/constant_time.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"

#include <cstring>

namespace vantrel {

namespace {

using crypto::Hasher;

// RFC 2104, 2: H(K XOR opad, H(K XOR ipad, text)). Constant time in the key and the text.
class HmacRun final {
public:
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): filled as far as they are used
    HmacRun(int hashId, ByteView key) noexcept : m_hasher(hashId) {
        const std::size_t blockSize = m_hasher.blockSize();
        if (key.size() > blockSize) {
            Hasher keyHasher(hashId);
            keyHasher.update(key);
            key = keyHasher.final(m_digest);
            crypto::secureWipe(&keyHasher, sizeof keyHasher);
        }
        std::memset(m_pad, 0, blockSize);
        if (!key.empty()) {
            std::memcpy(m_pad, key.data(), key.size());
        }
    }
    HmacRun(const HmacRun&) = delete;
    HmacRun& operator=(const HmacRun&) = delete;
    ~HmacRun() {
        crypto::secureWipe(m_pad, sizeof m_pad);
        crypto::secureWipe(m_digest, sizeof m_digest);
        crypto::secureWipe(&m_hasher, sizeof m_hasher);
    }

    // The code, valid as long as this object.
    ByteView run(ByteView text) noexcept {
        constexpr std::uint8_t kInner = 0x36;
        constexpr std::uint8_t kOuter = 0x5c;
        const int hashId = m_hasher.id();

        absorbPad(kInner);
        m_hasher.update(text);
        const ByteView inner = m_hasher.final(m_digest);
        m_hasher = Hasher(hashId);
        absorbPad(kInner ^ kOuter);
        m_hasher.update(inner);
        return m_hasher.final(m_digest);
    }

private:
    void absorbPad(std::uint8_t mask) noexcept {
        const std::size_t blockSize = m_hasher.blockSize();
        for (std::size_t i = 0; i < blockSize; ++i) {
            m_pad[i] = static_cast<std::uint8_t>(m_pad[i] ^ mask);
        }
        m_hasher.update(ByteView(m_pad, blockSize));
    }

    Hasher m_hasher;
    std::uint8_t m_pad[crypto::kMaxHashBlockSize];
    std::uint8_t m_digest[crypto::kMaxDigestSize];
};

// Null pointers and zero lengths both stand for no bytes at all.
bool makeView(const void* data, int length, ByteView& view) noexcept {
    if (length < 0) {
        return false;
    }
    if (data != nullptr && length > 0) {
        view = {static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(length)};
    }
    return true;
}

} // namespace

bool Hmac::doHMAC(const void* data, int dataLength, const void* key, int keyLength, int hashId,
                  DataBuffer& out, LogBase& log) {
    ByteView text;
    ByteView keyBytes;
    if (!makeView(data, dataLength, text) || !makeView(key, keyLength, keyBytes)) {
        log.LogError("Negative length passed to HMAC.");
        return false;
    }
    if (crypto::findHash(hashId) == nullptr) {
        log.LogError("HMAC hash algorithm not recognised.");
        log.LogDataLong("hashAlg", hashId);
        return false;
    }
    HmacRun hmac(hashId, keyBytes);
    return out.append(hmac.run(text));
}

} // namespace vantrel
