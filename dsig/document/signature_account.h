// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_SIGNATURE_ACCOUNT_H
#define DSIG_DOCUMENT_SIGNATURE_ACCOUNT_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vantrel::dsig {

// What the signatures of one document have taken, each and together. A signature that is verified
// again gives back what its verification before took: an account bounds what a document demands,
// not how often somebody asks.
// `Amounts` are counters with += and -=, all zero when made.
template <class Amounts> class SignatureAccount final {
public:
    // The signature that takes what follows: zero-based, in document order; a negative index counts
    // as 0. Until the first call it is the first one.
    void begin(int signature) {
        m_current = static_cast<std::size_t>(std::max(signature, 0));
        if (m_current > m_later.size()) {
            m_later.resize(m_current);
        }
        // The sum holds what every signature was last charged, so this cannot wrap.
        m_sum -= current();
        current() = {};
    }
    // Whoever adds has seen that no limit is passed.
    void add(const Amounts& more) noexcept {
        m_sum += more;
        current() += more;
    }
    [[nodiscard]] const Amounts& sum() const noexcept { return m_sum; }

private:
    [[nodiscard]] Amounts& current() noexcept {
        return m_current == 0 ? m_first : m_later[m_current - 1];
    }

    // Apart, since most documents have one signature.
    Amounts m_first{};
    std::vector<Amounts> m_later;
    std::size_t m_current = 0;
    Amounts m_sum{};
};

} // namespace vantrel::dsig

#endif
