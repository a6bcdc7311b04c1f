// SPDX-License-Identifier: MIT
#include "fuzz/certificate_signer.h"

#if defined(VANTREL_HAS_OPENSSL)

#include <algorithm>
#include <array>
#include <memory>

#include <openssl/ocsp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace vantrel::fuzz {

namespace {

template <auto release> struct Releaser {
    template <typename T> void operator()(T* object) const { release(object); }
};
using Certificate = std::unique_ptr<X509, Releaser<X509_free>>;
using List = std::unique_ptr<X509_CRL, Releaser<X509_CRL_free>>;
using Memory = std::unique_ptr<BIO, Releaser<BIO_vfree>>;
using Basic = std::unique_ptr<OCSP_BASICRESP, Releaser<OCSP_BASICRESP_free>>;
using Response = std::unique_ptr<OCSP_RESPONSE, Releaser<OCSP_RESPONSE_free>>;
using Time = std::unique_ptr<ASN1_TIME, Releaser<ASN1_TIME_free>>;

constexpr std::int64_t kDay = 86'400;

// Ed25519, which signs without random numbers.
EVP_PKEY* keyOf(const X509_NAME* name) {
    constexpr std::size_t kKeys = 64;
    static const std::array<EVP_PKEY*, kKeys> keys = [] {
        std::array<EVP_PKEY*, kKeys> made{};
        for (std::size_t i = 0; i < kKeys; ++i) {
            std::array<unsigned char, 32> secret{};
            secret.fill(static_cast<unsigned char>(i + 1));
            made.at(i) = EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, secret.data(),
                                                      secret.size());
        }
        return made;
    }();
    return keys.at(X509_NAME_hash_ex(name, nullptr, nullptr, nullptr) % kKeys);
}

std::string textIn(BIO* memory) {
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory, &text);
    return {text, static_cast<std::size_t>(size)};
}

class Signer {
public:
    explicit Signer(std::string_view pem) {
        const Memory input(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
        char* label = nullptr;
        char* header = nullptr;
        unsigned char* der = nullptr;
        long size = 0;
        while (PEM_read_bio(input.get(), &label, &header, &der, &size) == 1) {
            const unsigned char* at = der;
            if (std::string_view(label) == PEM_STRING_X509_CRL) {
                take(List(d2i_X509_CRL(nullptr, &at, size)));
            } else {
                take(Certificate(d2i_X509(nullptr, &at, size)));
            }
            OPENSSL_free(label);
            OPENSSL_free(header);
            OPENSSL_free(der);
        }
    }

    [[nodiscard]] std::string pem() const { return textIn(m_output.get()); }

    [[nodiscard]] std::vector<std::string> answers(std::string_view choices,
                                                   std::int64_t time) const {
        std::vector<std::string> made;
        for (std::size_t i = 0; i < std::min(choices.size(), m_certificates.size()); ++i) {
            const auto choice = static_cast<unsigned char>(choices[i]);
            X509* const subject = m_certificates[i].get();
            X509* const issuer = issuerOf(subject);
            X509* const other = m_certificates[(choice >> 3U & 7U) % m_certificates.size()].get();
            if ((choice & 3U) != 0 && issuer != nullptr) {
                made.push_back(
                    answer(choice, subject, issuer, (choice & 4U) != 0 ? other : issuer, time));
            }
        }
        return made;
    }

private:
    void take(Certificate certificate) {
        if (certificate == nullptr ||
            X509_set_pubkey(certificate.get(), keyOf(X509_get_subject_name(certificate.get()))) !=
                1 ||
            X509_sign(certificate.get(), keyOf(X509_get_issuer_name(certificate.get())), nullptr) ==
                0) {
            return;
        }
        PEM_write_bio_X509(m_output.get(), certificate.get());
        m_certificates.push_back(std::move(certificate));
    }
    void take(const List& list) {
        if (list != nullptr &&
            X509_CRL_sign(list.get(), keyOf(X509_CRL_get_issuer(list.get())), nullptr) != 0) {
            PEM_write_bio_X509_CRL(m_output.get(), list.get());
        }
    }
    [[nodiscard]] X509* issuerOf(X509* certificate) const {
        const auto found = std::ranges::find_if(m_certificates, [&](const Certificate& each) {
            return X509_NAME_cmp(X509_get_subject_name(each.get()),
                                 X509_get_issuer_name(certificate)) == 0;
        });
        return found != m_certificates.end() ? found->get() : nullptr;
    }
    static std::string answer(unsigned char choice, X509* subject, X509* issuer, X509* responder,
                              std::int64_t time) {
        const Basic basic(OCSP_BASICRESP_new());
        const std::int64_t moment = time + ((choice & 0x40U) != 0 ? kDay : 0);
        const Time given(ASN1_TIME_set(nullptr, moment));
        // There is no other way to say when it was made but now.
        auto* const made =
            const_cast<ASN1_GENERALIZEDTIME*>(OCSP_resp_get0_produced_at(basic.get()));
        const Time end((choice & 0x80U) != 0 ? nullptr : ASN1_TIME_set(nullptr, time + 2 * kDay));
        const int status = static_cast<int>(choice & 3U) - 1; // V_OCSP_CERTSTATUS_GOOD is 0
        OCSP_CERTID* const id = OCSP_cert_to_id(EVP_sha1(), subject, issuer);
        unsigned char* der = nullptr;
        int size = 0;
        if (given != nullptr && id != nullptr &&
            ASN1_GENERALIZEDTIME_set(made, moment) != nullptr &&
            OCSP_basic_add1_status(basic.get(), id, status, OCSP_REVOKED_STATUS_NOSTATUS,
                                   given.get(), given.get(), end.get()) != nullptr &&
            OCSP_basic_sign(basic.get(), responder, keyOf(X509_get_subject_name(responder)),
                            nullptr, nullptr, OCSP_NOTIME) == 1) {
            const Response response(
                OCSP_response_create(OCSP_RESPONSE_STATUS_SUCCESSFUL, basic.get()));
            size = i2d_OCSP_RESPONSE(response.get(), &der);
        }
        OCSP_CERTID_free(id);
        const std::string octets(reinterpret_cast<const char*>(der),
                                 static_cast<std::size_t>(std::max(size, 0)));
        OPENSSL_free(der);
        return octets;
    }

    Memory m_output{BIO_new(BIO_s_mem())};
    std::vector<Certificate> m_certificates;
};

} // namespace

SignedBag signedAnew(std::string_view pem, std::string_view choices, std::int64_t time) {
    const Signer signer(pem);
    return {signer.pem(), signer.answers(choices, time)};
}

} // namespace vantrel::fuzz

#else

namespace vantrel::fuzz {

SignedBag signedAnew(std::string_view pem, std::string_view /*choices*/, std::int64_t /*time*/) {
    return {std::string(pem), {}};
}

} // namespace vantrel::fuzz

#endif
