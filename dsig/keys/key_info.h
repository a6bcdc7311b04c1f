// SPDX-License-Identifier: MIT
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

// Each certificate becomes a key of some ten kilobytes, so their number is limited. An X509Data
// with more of them gives none.
inline constexpr std::size_t kMaxKeyInfoCertificates = 1000;

// The KeyInfo element of the selected signature; null when there is none. An error line says so
// where a signature is selected. `numSignatures` is for the log alone.
[[nodiscard]] Ref<ClsXml> keyInfoOf(const Selection& selection, int numSignatures, LogBase& log);

// A walk over a KeyInfo element: the order in which its parts are looked at, and which of them
// count. Only the first element of a name does. What becomes of a part the derived walk says, which
// collects keys or certificates. An object serves one walk; the query and the log are borrowed and
// must outlive it.
class KeyInfoWalk {
public:
    // The lines by which readers of the log tell the two apart.
    struct Lines {
        const char* certificateCount; // a key
        // An info line, written before a token is looked for in the document.
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
    // The KeyValue of the KeyInfo, where it has one. False ends the walk.
    virtual bool takeKeyValues(const ClsXml& /*keyInfo*/) { return true; }
    // A certificate of the X509Data. Its entry is empty when it could not be decoded.
    virtual void takeEmbedded(const CertificateCache::Entry& certificate) = 0;
    // A certificate that the KeyInfo only names. What can be told by the name to have been taken
    // already does not come here.
    virtual void takeNamed(const CertificateName& name) = 0;
    // The KeyIdentifier of a SecurityTokenReference, which need not have one.
    virtual void takeKeyIdentifier(const ClsXml& tokenReference) = 0;
    // The SecurityTokenReference has a Reference, about which nothing else is known yet.
    virtual void noteReference() {}
    // The token that does where none has the Id that was asked for.
    virtual xml::ElementId otherToken(const TokenIndex& /*tokens*/) { return xml::kNoElement; }
    // The token that the Reference leads to. False ends the walk as a failure.
    virtual bool takeToken(const CertificateCache::Entry& certificate) = 0;
    // A KeyIdentifier that is the thumbprint of a certificate; true where there is none, false
    // where it leads to no token or to no key.
    virtual bool takeThumbprint(const ClsXml& /*tokenReference*/) { return true; }

    // Only during run(), which has made sure that there is one.
    [[nodiscard]] Document& document() const noexcept { return *m_query.document; }
    // What the token holds, decoded once for the document.
    [[nodiscard]] CertificateCache::Entry certificateOf(xml::ElementId token, bool asPath) const;
    void logTokenSearch() { m_log.LogInfo(m_lines.tokenSearch); }

    const KeyQuery& m_query;
    LogBase& m_log;
    // What was taken so far, so that its names are not looked up.
    SeenCertificates m_seen;

private:
    void walkX509Data(const ClsXml& keyInfo);
    void walkCertificates(const ClsXml& x509Data);
    bool walkTokenReference(const ClsXml& tokenReference);

    const Lines m_lines;
};

} // namespace vantrel::dsig

#endif
