// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_KEY_ACCOUNT_H
#define DSIG_DOCUMENT_KEY_ACCOUNT_H

#include "dsig/document/signature_account.h"

#include <cstdint>

namespace vantrel {

class _vlPublicKey;

namespace dsig {

// What one check with this key counts: 1 for the common size of its kind (RSA with 2048 bits and
// the exponent 65537, DSA with 2048 and 256 bits, curves of 256 bits), in proportion to the
// multiplications for larger ones, never less than 1.
[[nodiscard]] std::uint64_t keyOperationWeight(const _vlPublicKey& key) noexcept;

// The key operations spent on the signatures of one document.
// What it prevents: a document with many signatures and, in each KeyInfo, many large keys, which
// asks for the product of both numbers at hardly any cost to its author.
class KeyAccount final {
public:
    // The signature whose checks follow.
    void begin(int signature) { m_spent.begin(signature); }
    // Takes an operation of this weight. False, and nothing taken, where the sum would pass
    // `limit`.
    [[nodiscard]] bool charge(std::uint64_t weight, std::uint64_t limit) noexcept;

    [[nodiscard]] std::uint64_t spent() const noexcept { return m_spent.sum(); }
    // Number of operations that were let through, whatever their weight.
    [[nodiscard]] std::uint64_t operations() const noexcept { return m_operations; }

private:
    SignatureAccount<std::uint64_t> m_spent; // weights
    std::uint64_t m_operations = 0;
};

} // namespace dsig
} // namespace vantrel

#endif
