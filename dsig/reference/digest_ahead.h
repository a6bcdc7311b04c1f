// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_DIGEST_AHEAD_H
#define DSIG_REFERENCE_DIGEST_AHEAD_H

#include "dsig/reference/hash_sink.h"
#include "foundation/xml/canon/form_ahead.h"
#include "foundation/xml/scan/parse_follower.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace vantrel::dsig {

// What a reference to a large document, or to its root, has as its octets and their hash, worked
// out by a second thread while the document is read. What the reference is to be is guessed from
// the end of the text, where an enveloped signature stands mostly; nothing is decided by it. Where
// the reference turns out to be another one, the work was in vain.
class DigestAhead final {
public:
    // Null where the text is not worth it, no such signature is seen, or no thread is to be had.
    [[nodiscard]] static std::unique_ptr<DigestAhead> guess(std::string_view text);

    [[nodiscard]] xml::ParseFollower& follower() noexcept { return m_form; }
    // All has been read; what a second thread could do is done.
    void endReading() { m_sink.endThread(); }
    // Octets hashed so far.
    [[nodiscard]] std::uint64_t octets() const noexcept { return m_sink.size(); }

    // Where this is the front of the form that `request` asks for and of the hash: hashes the rest,
    // and gives all to `sink`, once.
    [[nodiscard]] bool give(const xml::XmlDocument& document, const xml::CanonRequest& request,
                            int hashAlg, HashSink& sink);

private:
    struct Plan {
        xml::CanonMethod method;
        bool whole; // false: the root
        int hashAlg;
    };

    // Hands on no more than so many octets: namespaces can make a form much longer than its text,
    // and nobody has asked for it yet.
    class LimitedSink final : public xml::CanonSink {
    public:
        LimitedSink(HashSink& next, std::uint64_t most) noexcept : m_next(next), m_most(most) {}
        [[nodiscard]] bool write(const char* data, std::size_t size) override {
            return m_next.size() + size <= m_most && m_next.write(data, size);
        }

    private:
        HashSink& m_next;
        const std::uint64_t m_most;
    };

    DigestAhead(const Plan& plan, std::uint64_t mostOctets);
    [[nodiscard]] static bool planOf(std::string_view text, Plan& plan);

    const int m_hashAlg;
    HashSink m_sink;
    LimitedSink m_limited;
    xml::FormAhead m_form;
};

} // namespace vantrel::dsig

#endif
