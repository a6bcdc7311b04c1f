// SPDX-License-Identifier: MIT
#include "foundation/x509/CertMgr.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/block_memory.h"
#include "foundation/text/encoders.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/cert_table.h"
#include "foundation/x509/pem.h"

#include <algorithm>
#include <vector>

namespace vantrel {

namespace {

// The certificates of a bundle go into the table many at a time, decoded one behind the other into
// one storage: a block of memory for each would cost more than to parse it.
class BundleLoader final {
public:
    explicit BundleLoader(CertTable& table) noexcept : m_table(table) {}

    // `left`: how much of the text there is from this block on.
    void take(std::string_view base64, std::size_t left) {
        ++m_taken;
        const std::size_t needed = base64.size() / 4 * 3 + kDecoderSlack;
        if (m_bytes.storage().capacity() < m_bytes.getSize() + needed) {
            flush();
            const std::size_t all = std::min(left / 4 * 3, kMostTogether);
            m_bytes.reserve(static_cast<std::uint32_t>(std::max(needed, all)));
        }
        const std::uint32_t before = m_bytes.getSize();
        if (text::decodeBase64(base64, m_bytes)) {
            m_pieces.push_back({before, m_bytes.getSize() - before});
        } else {
            static_cast<void>(m_bytes.resize(before));
        }
    }

    // Hands over what has been decoded.
    void flush() {
        // Where most of the text was something else, its room is not kept.
        if (m_bytes.getSize() < m_bytes.storage().capacity() / 2) {
            m_bytes = DataBuffer(m_bytes.view());
        }
        m_added += m_table.addAll(m_bytes, m_pieces);
        m_pieces.clear();
        m_bytes = DataBuffer();
    }

    [[nodiscard]] std::uint32_t added() const noexcept { return m_added; }
    [[nodiscard]] std::uint32_t passedOver() const noexcept { return m_taken - m_added; }

private:
    static constexpr std::size_t kDecoderSlack = 128;
    // With the storage's header just below whole huge pages.
    static constexpr std::size_t kMostTogether = 2 * text::kLargeBlock - kDecoderSlack;

    CertTable& m_table;
    DataBuffer m_bytes;
    std::vector<VantrelX509::Range> m_pieces;
    std::uint32_t m_taken = 0;
    std::uint32_t m_added = 0;
};

} // namespace

CertMgr::CertMgr()
    : m_table(text::noThrow(std::shared_ptr<CertTable>(),
                            [] { return std::make_shared<CertTable>(); })) {}

CertMgr::~CertMgr() = default;

bool CertMgr::addDer(const DataBuffer& der, LogBase& log) {
    return m_table && text::noThrow(false, [&] { return m_table->add(der, log); });
}

bool CertMgr::addBase64(std::string_view base64, LogBase& log) {
    DataBuffer der;
    if (!text::decodeBase64(base64, der)) {
        log.LogError("The certificate to be added is not base64 text.");
        return false;
    }
    return addDer(der, log);
}

bool CertMgr::addPem(std::string_view pem, std::uint32_t& added, LogBase& log) {
    added = 0;
    if (m_table) {
        BundleLoader loader(*m_table);
        static_cast<void>(text::noThrow(false, [&] {
            x509::PemReader reader(pem);
            x509::PemBlock block;
            while (reader.next(block)) {
                if (x509::isCertificateLabel(block.label)) {
                    loader.take(block.base64, static_cast<std::size_t>(pem.data() + pem.size() -
                                                                       block.base64.data()));
                }
            }
            loader.flush();
            return true;
        }));
        added = loader.added();
        if (loader.passedOver() != 0) {
            log.LogDataUint32("damagedCertificates", loader.passedOver());
        }
    }
    if (added == 0) {
        log.LogError("The PEM text holds no certificate.");
    }
    return added != 0;
}

bool CertMgr::addAny(ByteView bytes, std::uint32_t& added, LogBase& log) {
    const std::string_view text = asText(bytes);
    const bool isDer = !bytes.empty() && bytes[0] == 0x30;
    if (!isDer && text.find("-----BEGIN ") != std::string_view::npos) {
        return addPem(text, added, log);
    }
    DataBuffer der;
    const bool ok = isDer ? der.append(bytes) && addDer(der, log) : addBase64(text, log);
    added = ok ? 1 : 0;
    return ok;
}

std::uint32_t CertMgr::numCerts() const { return m_table ? m_table->size() : 0; }

VantrelX509* CertMgr::certAt(std::uint32_t index) const {
    CertRecord* const record = m_table ? m_table->at(index) : nullptr;
    return record != nullptr ? record->getX509Ptr() : nullptr;
}

} // namespace vantrel
