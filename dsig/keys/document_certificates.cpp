// SPDX-License-Identifier: MIT
#include "dsig/keys/document_certificates.h"

#include "dsig/keys/security_tokens.h"
#include "dsig/keys/seen_certificates.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/pem.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

namespace {

// Some signers put the PEM text of the certificate where its base64 belongs, or the base64 of that
// text. The first certificate of it is meant: `base64` := its own.
bool takeFromPem(std::string_view text, StringBuffer& base64) {
    x509::PemReader reader(text);
    x509::PemBlock block;
    while (reader.next(block)) {
        if (x509::isCertificateLabel(block.label)) {
            StringBuffer own(block.base64); // apart, since `text` may be that of `base64`
            own.removeCharsOf("\r\n\t ");
            base64.takeSb(own);
            return true;
        }
    }
    return false;
}

bool decodeCertificateText(StringBuffer& base64, DataBuffer& der) {
    return ContentCoding::decodeBase64ToDb(base64.getString(), base64.getSize(), der);
}

// Character references for carriage returns, which some signers escape twice, are removed from the
// text in place.
bool loadCertificateText(StringBuffer& base64, VantrelX509& cert, bool& fromPem, LogBase& log) {
    base64.replaceAllOccurances("&#13;", "");
    base64.replaceAllOccurances("&#xD;", "");
    DataBuffer der;
    bool isDecoded = decodeCertificateText(base64, der);
    // DER begins with the tag of a SEQUENCE, PEM mostly with its first line.
    fromPem = (!isDecoded || (!der.isEmpty() && der.view().front() == '-')) &&
              takeFromPem(isDecoded ? asText(der.view()) : base64.view(), base64);
    if (fromPem) {
        der.clear();
        isDecoded = decodeCertificateText(base64, der);
    }
    if (!isDecoded) {
        log.LogError("Failed to decode base64 cert.");
        return false;
    }
    if (!cert.loadX509Der(der, log)) {
        log.LogError("Failed to parse X.509 certificate.");
        return false;
    }
    return true;
}

// Never fails: an entry without a certificate is remembered, with the lines that say why.
void decode(DecodedCertificate& entry, const LogBase& settings) {
    LogTape tape(settings);
    // The cache finds the entry by `source`, which therefore stays as it is.
    entry.base64 = entry.source;
    static_cast<void>(loadCertificateText(entry.base64, entry.certificate, entry.fromPem, tape));
    entry.certificateLines = tape.take();
}

} // namespace

CertificateCache::Entry certificateOfText(CertificateCache& cache, const StringBuffer& base64,
                                          const LogBase& log) {
    CertificateCache::Entry entry = cache.findText(base64.view());
    if (entry == nullptr) {
        entry = std::make_shared<DecodedCertificate>();
        entry->source = base64;
        decode(*entry, log);
        // Failures are kept too, so that a damaged certificate that many signatures carry is not
        // decoded for each of them.
        cache.addText(entry);
    }
    return entry;
}

CertificateCache::Entry certificateOfToken(CertificateCache& cache, const ClsXml& token,
                                           bool asPath, const LogBase& log) {
    CertificateCache::Entry entry = cache.findToken(token.elementId(), asPath);
    if (entry != nullptr) {
        return entry;
    }
    // The same token may be read both ways, by its plain type and as a path: an entry for each.
    entry = std::make_shared<DecodedCertificate>();
    token.getContentSb(entry->source);
    if (asPath) {
        LogTape tape(log);
        entry->contentFound = takeLastOfPkiPath(entry->source, tape);
        entry->contentLines = tape.take();
    }
    if (entry->contentFound) {
        decode(*entry, log);
    }
    cache.addToken(token.elementId(), asPath, entry);
    return entry;
}

bool useContent(const DecodedCertificate& entry, LogBase& log) {
    LogTape::replay(entry.contentLines, log);
    return entry.contentFound;
}

bool useCertificate(const DecodedCertificate& entry, SeenCertificates& seen, LogBase& log) {
    LogTape::replay(entry.certificateLines, log);
    if (!entry.certificate.isLoaded()) {
        return false;
    }
    seen.add(entry.certificate);
    return true;
}

// Of the octets as they stand, whether or not they are a certificate. WS-Security calls for SHA-1
// here; it serves as a name and protects nothing.
const StringBuffer& thumbprintOf(DecodedCertificate& entry) {
    if (entry.thumbprint.isEmpty()) {
        DataBuffer der;
        ContentCoding::decodeBase64ToDb(entry.source.getString(), entry.source.getSize(), der);
        DataBuffer digest;
        _vlHash::doHash(der.getData2(), der.getSize(), kHashSha1, digest);
        digest.encodeDB("base64", entry.thumbprint);
    }
    return entry.thumbprint;
}

} // namespace vantrel::dsig
