// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_MATERIAL_H
#define DSIG_TRUST_MATERIAL_H

#include "dsig/document/document.h"
#include "dsig/report/signature_report.h"
#include "foundation/cms/carried_evidence.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/x509/VantrelX509.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace vantrel {

class SystemCerts;

namespace dsig {

// What all signatures of a document may cost when they are judged, in steps that each take about a
// microsecond. Honest documents stay far below; a hostile one has as many signatures, each with as
// many certificates, as it likes.
inline constexpr std::uint64_t kMostTrustWork = 10'000'000;

// The certificates, revocation lists and answers that are at hand for one signature: those that it
// carries (KeyInfo, WS-Security tokens, XAdES values), those of its candidate keys, of its
// time-stamp and of the caller's store. What is here proves nothing; paths may be built of it.
// Pointers are valid as long as the object.
class Material final {
public:
    // May throw std::bad_alloc. Work is charged to the document; once that is used up the rest is
    // left out, and `complete` is false.
    Material(const SignatureReport& report, Document* document, SystemCerts* store);
    Material(const Material&) = delete;
    Material& operator=(const Material&) = delete;

    [[nodiscard]] const std::vector<const VantrelX509*>& certificates() const noexcept {
        return m_certificates;
    }
    [[nodiscard]] const std::vector<ByteView>& crls() const noexcept { return m_crls; }
    [[nodiscard]] const std::vector<ByteView>& ocspResponses() const noexcept { return m_answers; }
    [[nodiscard]] bool complete() const noexcept { return m_complete; }

private:
    void add(const VantrelX509& certificate);
    void addStamp(const StampReport& stamp);
    void addCarried(const SignatureReport& report, Document& document);
    void addToken(Document& document, xml::ElementId reference);
    void addCertificatesOf(const DataBuffer& token);
    void addMessage(const DataBuffer& message);
    void addCertificate(ByteView der);
    void addOctets(Document& document, const std::vector<xml::ElementId>& elements,
                   std::vector<ByteView>& out);
    // The text of an element, charged for its length; false when nothing is left for it.
    [[nodiscard]] bool take(Document& document, xml::ElementId element, StringBuffer& text);
    [[nodiscard]] bool charge(Document& document, std::uint64_t work);

    std::deque<VantrelX509> m_owned;
    std::deque<DataBuffer> m_octets;
    std::vector<const VantrelX509*> m_certificates;
    std::vector<ByteView> m_crls;
    std::vector<ByteView> m_answers;
    bool m_complete = true;
};

} // namespace dsig
} // namespace vantrel

#endif
