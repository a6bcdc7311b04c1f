// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_VALUE_GOAL_H
#define DSIG_EXPLAIN_VALUE_GOAL_H

#include "dsig/explain/budget.h"
#include "dsig/explain/goal.h"
#include "dsig/verify/signature_method.h"
#include "foundation/crypto/rsa/padding.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/keys/_vlPublicKey.h"

#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig::explain {

// A SignatureValue's text, read in one of the ways in which signers write it. The octets are as the
// algorithm wants them; whether their length fits a key shows later.
struct ValueReading {
    std::string octets;
    Deviation deviation; // empty for the standard's
};
// The standard's reading first, where the text can be read so. Empty where the text cannot be read
// in any way.
[[nodiscard]] std::vector<ValueReading> valueReadings(std::string_view text);

// A key or secret that may have made the value. Its deviation says what is unusual about using it.
struct TriedKey {
    const _vlPublicKey* key; // borrowed
    Deviation deviation;     // empty for a key that a verification tries
};
struct TriedSecret {
    std::string octets;
    Deviation deviation;
};
// The caller's secret, and what it would be in another encoding than the one it was given in.
// Secrets are passwords as a rule, and passwords that look like hexadecimal digits are taken for
// such.
[[nodiscard]] std::vector<TriedSecret> secretReadings(std::string_view secret);

// What the method's identifier asks for, as far as the search needs it. `hashId` is 0 or below for
// a hash that is not known.
struct ValueMethod {
    int hashId;
    bool isPss;
    int saltLength = crypto::kAnySalt; // RSASSA-PSS
};

// A value of RSA. Each key is applied once: what it recovers is either a digest, which is then
// known and compared with, or a block of RSASSA-PSS (RFC 8017, 8), which is checked against each
// candidate's digest. So each candidate costs a hash and no operation. Since the digest is in the
// value itself, failures of PKCS #1 v1.5 can be explained best.
class RsaGoal final : public Goal {
public:
    RsaGoal(std::span<const ValueReading> values, std::span<const TriedKey> keys,
            ValueMethod method, Budget& budget);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;
    [[nodiscard]] int knownHash() const override;
    [[nodiscard]] ByteView knownDigest() const override;
    [[nodiscard]] std::uint64_t cost(std::size_t octets, Depth depth) const override;
    // Whether one of the keys recovers anything; else none of them made the value. Padding that
    // fits by chance is out of the question: eight octets of it at least are fixed.
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
    // The same for RSASSA-PSS: the salt hides the digest, so the whole block is kept. Such a block
    // is checked as RFC 8017, 9.1.2 has it, at the price of a mask of its size.
    struct PssBlock {
        std::string octets;
        std::size_t modulusBits;
        Deviation deviation;
    };

    // Sorts a recovered block; one of no known form is that of another key. `bits`: of the modulus,
    // which RSASSA-PSS counts in.
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

// A value that hides its digest: every candidate costs an operation of each key, and only the
// operation tells. So the search for single changes is not for it.
class KeyOperationGoal : public Goal {
public:
    [[nodiscard]] int knownHash() const override { return 0; }
    [[nodiscard]] ByteView knownDigest() const override { return {}; }
    [[nodiscard]] bool isDear() const override { return true; }
    // Key operations are charged apart, where they are done.
    [[nodiscard]] std::uint64_t cost(std::size_t octets, Depth /*depth*/) const override {
        return octets;
    }

protected:
    KeyOperationGoal(std::vector<ValueReading> values, std::vector<TriedKey> keys, Budget& budget);

    // One operation of one key over a digest or a message. Charged to the budget; false as well
    // when that is used up.
    [[nodiscard]] virtual bool verifies(const TriedKey& key, const ValueReading& value,
                                        ByteView octets) = 0;
    // Whether any key with any reading of the value verifies; without `all` only where neither
    // deviates. `deviation` := how both do.
    [[nodiscard]] bool anyVerifies(ByteView octets, bool all, Deviation& deviation);

    std::vector<ValueReading> m_values;
    std::vector<TriedKey> m_keys;
    Budget& m_budget;
};

// A value of DSA or ECDSA, over a digest.
class CurveGoal final : public KeyOperationGoal {
public:
    CurveGoal(std::vector<ValueReading> values, std::vector<TriedKey> keys, ValueMethod method,
              Budget& budget);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;

private:
    [[nodiscard]] bool verifies(const TriedKey& key, const ValueReading& value,
                                ByteView digest) override;

    ValueMethod m_method;
};

// A value of EdDSA or ML-DSA: over the octets themselves, for these methods hash in their own ways.
class MessageGoal final : public KeyOperationGoal {
public:
    MessageGoal(std::vector<ValueReading> values, std::vector<TriedKey> keys,
                const SignatureMethod& method, std::string context, Budget& budget);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;

private:
    [[nodiscard]] bool verifies(const TriedKey& key, const ValueReading& value,
                                ByteView message) override;

    const SignatureMethod m_method;
    std::string m_context;
};

// A value of HMAC (RFC 2104). The secret is the caller's own. A false secret is refuted and never
// shown: evidence names its form, not its octets.
class MacGoal final : public Goal {
public:
    MacGoal(std::vector<ValueReading> values, std::vector<TriedSecret> secrets, ValueMethod method);

    [[nodiscard]] bool isReachedBy(ByteView octets, Depth depth, Deviation& deviation) override;
    [[nodiscard]] int knownHash() const override { return 0; }
    [[nodiscard]] ByteView knownDigest() const override { return {}; }
    // Twice for the inner and the outer hash.
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
