// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_RSA_LOOK_AHEAD_H
#define DSIG_DOCUMENT_RSA_LOOK_AHEAD_H

#include "foundation/crypto/rsa/recovered_values.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/byte_view.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// Where the signatures of a document are verified one after the other and one RSA key verifies
// them, the values of the next few are worked out together with the one that is asked for. Only
// time depends on it: what is held is a fact about a key and some octets, whether or not they ever
// are those of a signature that is verified. What is worked out in vain is bounded: after each time
// that it did not pay, twice as many signatures have to be verified in a row before the next.
class RsaLookAhead final {
public:
    // To be asked before `value`, that of the signature with this zero-based index, is checked with
    // the key. The block that the key recovers from it, where that is known by then; valid until
    // the next call.
    [[nodiscard]] ByteView before(const xml::XmlDocument& document, int index,
                                  const RsaKeyData& key, ByteView value);
    // What a value's text (base64) is decoded to, where that was done already; empty otherwise.
    [[nodiscard]] ByteView decoded(std::string_view text) const noexcept;
    // The key has verified the signature.
    void noteVerified(const xml::XmlDocument& document, int index, const RsaKeyData& key);

    // For measurements: values that were worked out together, and how often one of them was there
    // when it was asked for.
    [[nodiscard]] std::uint64_t workedOut() const noexcept { return m_workedOut; }
    [[nodiscard]] std::uint64_t hits() const noexcept { return m_hits; }

private:
    [[nodiscard]] bool isInRow(int index, const RsaKeyData& key) const noexcept;
    void settle() noexcept;
    void putOff() noexcept;
    void recover(const xml::XmlDocument& document, int index, const RsaKeyData& key,
                 ByteView value);
    void readValue(const xml::XmlDocument& document, xml::ElementId signature, std::size_t size);

    static constexpr unsigned kLeastRow = 2;
    static constexpr unsigned kMostRow = 1U << 20;

    RecoveredValues m_recovered;
    // The values that follow the one that was asked for: their texts, which stand in the document,
    // and what they are decoded to, one behind the other.
    std::vector<std::string_view> m_texts;
    DataBuffer m_values;
    unsigned m_used = 0;   // of those held
    bool m_settled = true; // whether they have paid is known
    std::uint64_t m_workedOut = 0;
    std::uint64_t m_hits = 0;
    // Signatures that were verified with one key in document order, and how many it takes.
    std::string m_modulus;
    int m_last = -1;
    unsigned m_row = 0;
    unsigned m_neededRow = kLeastRow;
};

} // namespace vantrel::dsig

#endif
