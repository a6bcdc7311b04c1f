// SPDX-License-Identifier: MIT
#include "api/certificate.h"

#include "api/foreign_bytes.h"
#include "api/read_file.h"
#include "dsig/document/certificate_texts.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/keyfile/key_file.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/pem.h"

#include <filesystem>
#include <new>
#include <system_error>

namespace vantrel {

namespace {

// Base64 characters a line.
constexpr std::size_t kPemLine = 64; // RFC 7468

// The first certificate of a PEM text; false when there is none.
bool firstOfPem(std::string_view text, DataBuffer& der) {
    x509::PemReader reader(text);
    x509::PemBlock block;
    while (reader.next(block)) {
        if (x509::isCertificateLabel(block.label)) {
            return text::decodeBase64(block.base64, der);
        }
    }
    return false;
}

// The last error line of an operation on a store.
std::string lastError(ClsXmlCertVault& vault) {
    XString line;
    vault.get_LastErrorLine(line);
    return std::string(line.getUtf8Sb().view());
}

} // namespace

// By the first octets: DER begins as a SEQUENCE, PEM has its line, and what remains is base64.
Result<Certificate> Certificate::fromBytes(std::string_view bytes) {
    constexpr char kSequence = '\x30';
    if (bytes.size() > keyfile::kMaxKeyFile || bytes.starts_with(kSequence)) {
        return fromDer(bytes);
    }
    DataBuffer der;
    if (!firstOfPem(bytes, der)) {
        der.clear();
        if (!text::decodeBase64(bytes, der)) {
            return api::notACertificate(bytes, "there is no certificate");
        }
    }
    return fromDer(asText(der.view()));
}

// The texts are made once, since copies share them and may be asked in several threads.
Result<Certificate> Certificate::fromDer(std::string_view der) {
    LogNull discard;
    VantrelX509 certificate;
    // The size first: the reader of keys tells what is too large, too.
    if (der.size() > keyfile::kMaxKeyFile ||
        !certificate.loadX509Der(DataBuffer(asBytes(der)), discard)) {
        return api::notACertificate(der, "the certificate cannot be read");
    }
    dsig::CertificateTexts texts;
    texts.make(certificate);
    auto data = std::make_shared<Data>();
    data->der = asText(certificate.certificate());
    data->subject = texts.subject();
    data->issuer = texts.issuer();
    data->serial = texts.serial();
    data->sha256 = texts.sha256();
    data->spkiSha256 = texts.spkiSha256();
    return Certificate(std::move(data));
}

Result<Certificate> Certificate::fromFile(const std::string& path) {
    const Result<std::string> bytes = api::readFile(path, keyfile::kMaxKeyFile);
    return bytes ? fromBytes(*bytes) : Result<Certificate>(bytes.error());
}

std::string Certificate::pem() const {
    StringBuffer base64;
    if (!text::encode(asBytes(m_data->der), text::Encoding::Base64, base64)) {
        throw std::bad_alloc();
    }
    std::string out = "-----BEGIN CERTIFICATE-----\n";
    const std::string_view text = base64.view();
    for (std::size_t at = 0; at < text.size(); at += kPemLine) {
        out += text.substr(at, kPemLine);
        out += '\n';
    }
    return out + "-----END CERTIFICATE-----\n";
}

CertificateStore::CertificateStore() noexcept = default;

// Most options have no certificates, and a store that is not there costs nothing.
ClsXmlCertVault& CertificateStore::made() {
    if (!m_vault) {
        m_vault = std::make_shared<ClsXmlCertVault>();
    }
    return *m_vault;
}

bool CertificateStore::add(const Certificate& certificate, std::string& error) {
    ClsBinData der;
    ClsXmlCertVault& vault = made();
    if (der.data().append(asBytes(certificate.der())) && vault.AddCertDer(der)) {
        return true;
    }
    error = lastError(vault);
    return false;
}

// The first certificate is read by itself, for the error that says what else the bytes are.
bool CertificateStore::addBytes(std::string_view bytes, std::string& error) {
    const Result<Certificate> first = Certificate::fromBytes(bytes);
    if (!first) {
        error = first.error().what;
        return false;
    }
    if (bytes.find("-----BEGIN ") == std::string_view::npos) {
        return add(*first, error);
    }
    ClsXmlCertVault& vault = made();
    if (vault.AddCertPem(XString(bytes))) {
        return true;
    }
    error = lastError(vault);
    return false;
}

bool CertificateStore::addFile(const std::string& path, std::string& error) {
    const XString name(path);
    std::error_code ignored;
    ClsXmlCertVault& vault = made();
    // Of a folder every file that holds a certificate is taken, and the others passed over.
    const bool added = std::filesystem::is_directory(path, ignored) ? vault.AddCertDirectory(name)
                                                                    : vault.AddCertFile(name);
    if (!added) {
        error = lastError(vault);
    }
    return added;
}

std::size_t CertificateStore::size() const { return m_vault ? m_vault->get_NumCerts() : 0; }

} // namespace vantrel
