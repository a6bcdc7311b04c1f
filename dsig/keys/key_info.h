#ifndef DSIG_KEYS_KEY_INFO_H
#define DSIG_KEYS_KEY_INFO_H

#include "dsig/document/decoded_certificate.h"
#include "dsig/document/selection.h"
#include "dsig/document/token_index.h"
#include "dsig/keys/certificate_names.h"
#include "dsig/keys/key_query.h"
#include "dsig/keys/key_sources.h"
#include "dsig/keys/seen_certificates.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <cstddef>

namespace vantrel::dsig {

// Each certificate becomes a key of some ten kilobytes, so their number is limited.
inline constexpr std::size_t kMaxKeyInfoCertificates = 1000;

// The KeyInfo element of the selected signature; null when there is none.
[[nodiscard]] Ref<ClsXml> keyInfoOf(const Selection& selection, int numSignatures, LogBase& log);

// A walk over a KeyInfo element: the order in which its parts are looked at, and which of them
// count. Only the first element of a name does. What becomes of a part the derived walk says, which
// collects keys or certificates.
class KeyInfoWalk {
public:
    // The lines by which readers of the log tell the two apart.
    struct Lines {
        const char* certificateCount; // a key
        const char* tokenSearch;
    };

    KeyInfoWalk(const KeyQuery& query, const Lines& lines, LogBase& log) noexcept
        : m_query(query), m_log(log), m_lines(lines) {}
    KeyInfoWalk(const KeyInfoWalk&) = delete;
    KeyInfoWalk& operator=(const KeyInfoWalk&) = delete;
    virtual ~KeyInfoWalk() = default;

    // False where a part that is there cannot be used and ends the walk; what was collected before
    // counts.
    [[nodiscard]] bool run(const ClsXml& keyInfo);

protected:
    virtual bool takeKeyValues(const ClsXml& /*keyInfo*/) { return true; }
    virtual void takeEmbedded(const CertificateCache::Entry& certificate) = 0;
    virtual void takeNamed(const CertificateName& name) = 0;
    virtual void takeKeyIdentifier(const ClsXml& tokenReference) = 0;
    virtual void noteReference() {}
    // The token that does where none has the Id that was asked for.
    virtual xml::ElementId otherToken(const TokenIndex& /*tokens*/) { return xml::kNoElement; }
    virtual bool takeToken(const CertificateCache::Entry& certificate) = 0;
    virtual bool takeThumbprint(const ClsXml& /*tokenReference*/) { return true; }

    [[nodiscard]] Document& document() const noexcept { return *m_query.document; }
    // What the token holds, decoded once for the document.
    [[nodiscard]] CertificateCache::Entry certificateOf(xml::ElementId token, bool asPath) const;
    void logTokenSearch() { m_log.LogInfo(m_lines.tokenSearch); }

    const KeyQuery& m_query;
    LogBase& m_log;
    SeenCertificates m_seen;

private:
    void walkX509Data(const ClsXml& keyInfo);
    void walkCertificates(const ClsXml& x509Data);
    bool walkTokenReference(const ClsXml& tokenReference);

    const Lines m_lines;
};

} // namespace vantrel::dsig

#endif
