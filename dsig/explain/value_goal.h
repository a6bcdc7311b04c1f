#ifndef DSIG_EXPLAIN_VALUE_GOAL_H
#define DSIG_EXPLAIN_VALUE_GOAL_H

#include "dsig/explain/budget.h"
#include "dsig/explain/goal.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/keys/_vlPublicKey.h"

#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig::explain {

// A SignatureValue's text, read in one of the ways in which signers write it.
struct ValueReading {
    std::string octets;
    Deviation deviation; // empty for the standard's
};
// The standard's reading first, where the text can be read so.
[[nodiscard]] std::vector<ValueReading> valueReadings(std::string_view text);

// A key or secret that may have made the value.
struct TriedKey {
    const _vlPublicKey* key; // borrowed
    Deviation deviation;     // empty for a key that a verification tries
};
struct TriedSecret {
    std::string octets;
    Deviation deviation;
};
// The caller's secret, and what it would be in another encoding than the one it was given in.
[[nodiscard]] std::vector<TriedSecret> secretReadings(std::string_view secret);

// Two numbers that the rest of the search needs of an identifier, whatever else it says.
// What the method's identifier asks for.
struct ValueMethod {
    int hashId;
    bool isPss;
};

// A value of RSA. Each key is applied once: what it recovers is either a digest, which is then
// known and compared with, or a block of RSASSA-PSS (RFC 8017, 8), which is checked against each
// candidate's digest.
class RsaGoal final : public Goal {
public:
    RsaGoal(std::span<const ValueReading> values, std::span<const TriedKey> keys,
            ValueMethod method, Budget& budget);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;
    [[nodiscard]] int knownHash() const override;
    [[nodiscard]] ByteView knownDigest() const override;
    [[nodiscard]] std::uint64_t cost(std::size_t octets, Depth depth) const override;
    // Whether one of the keys recovers anything; else none of them made the value.
    [[nodiscard]] bool anyKeyFits() const noexcept {
        return !m_digests.empty() || !m_blocks.empty();
    }

private:
    // What a key recovers from a value padded by PKCS #1 v1.5, and how that came about.
    struct KnownDigest {
        std::string digest;
        int hashId; // 0: the block names none
        Deviation deviation;
    };
    // The same for RSASSA-PSS: the salt hides the digest, so the whole block is kept.
    struct PssBlock {
        std::string octets;
        std::size_t modulusBits;
        Deviation deviation;
    };

    // Sorts a recovered block; one of no known form is that of another key.
    void takeBlock(std::string block, std::size_t bits, const Deviation& deviation);
    // Each compares the octets with one of them.
    [[nodiscard]] bool isDigestOf(const KnownDigest& known, ByteView octets, Depth depth,
                                  Deviation& deviation) const;
    [[nodiscard]] bool isBlockOf(const PssBlock& block, ByteView octets, Depth depth,
                                 Deviation& deviation) const;

    std::vector<KnownDigest> m_digests;
    std::vector<PssBlock> m_blocks;
    ValueMethod m_method;
};

// A value of DSA or ECDSA: every candidate costs an operation of each key.
class CurveGoal final : public Goal {
public:
    CurveGoal(std::vector<ValueReading> values, std::vector<TriedKey> keys, ValueMethod method,
              Budget& budget);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;
    [[nodiscard]] int knownHash() const override { return 0; }
    [[nodiscard]] ByteView knownDigest() const override { return {}; }
    [[nodiscard]] bool isDear() const override { return true; }
    [[nodiscard]] std::uint64_t cost(std::size_t octets, Depth /*depth*/) const override {
        return octets;
    }

private:
    // Charged to the budget; false as well when that is used up.
    [[nodiscard]] bool verifies(const TriedKey& key, const ValueReading& value, ByteView digest);

    std::vector<ValueReading> m_values;
    std::vector<TriedKey> m_keys;
    ValueMethod m_method;
    Budget& m_budget;
};

// A value of HMAC (RFC 2104).
class MacGoal final : public Goal {
public:
    MacGoal(std::vector<ValueReading> values, std::vector<TriedSecret> secrets, ValueMethod method);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;
    [[nodiscard]] int knownHash() const override { return 0; }
    [[nodiscard]] ByteView knownDigest() const override { return {}; }
    [[nodiscard]] std::uint64_t cost(std::size_t octets, Depth /*depth*/) const override {
        return 2 * octets * m_secrets.size();
    }

private:
    std::vector<ValueReading> m_values;
    std::vector<TriedSecret> m_secrets;
    ValueMethod m_method;
};

} // namespace vantrel::dsig::explain

#endif
