// SPDX-License-Identifier: MIT
#ifndef TESTS_FOUNDATION_X509_CERTIFICATE_CORPUS_H
#define TESTS_FOUNDATION_X509_CERTIFICATE_CORPUS_H

#include "foundation/text/DataBuffer.h"
#include "tests/support/bytes.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::test {

// One line of the certificate corpus: what OpenSSL says of a certificate.
struct CorpusCertificate {
    std::string file;
    std::string serial;
    std::string subject;
    std::string issuerCn;
    std::string keyId;
    std::string keyType;
    std::string signatureAlgorithm;
    DataBuffer der;

    [[nodiscard]] bool refused() const { return keyType == "refused"; }
};

// The DER of a file that may be PEM.
inline DataBuffer readCertificateFile(const std::string& path) {
    const std::string text = textOf(readFile(path));
    const std::string begin = "-----BEGIN CERTIFICATE-----";
    const std::size_t start = text.find(begin);
    if (start == std::string::npos) {
        return DataBuffer(asBytes(text));
    }
    const std::size_t end = text.find("-----END", start);
    std::string base64 = text.substr(start + begin.size(), end - start - begin.size());
    std::erase_if(base64, [](char c) { return c == '\n' || c == '\r'; });
    return DataBuffer(ByteView(fromBase64(base64)));
}

// `folder` ends without a slash and holds manifest.tsv.
inline std::vector<CorpusCertificate> readCertificateCorpus(const std::string& folder) {
    std::vector<CorpusCertificate> all;
    std::ifstream manifest(folder + "/manifest.tsv");
    std::string line;
    std::getline(manifest, line); // headings
    while (std::getline(manifest, line)) {
        std::vector<std::string> fields(1);
        for (const char c : line) {
            if (c == '\t') {
                fields.emplace_back();
            } else {
                fields.back().push_back(c);
            }
        }
        fields.resize(7);
        all.push_back({fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[6],
                       readCertificateFile(folder + "/" + fields[0])});
    }
    return all;
}

// "\C3\A9" as the byte pairs they are; the other escapes stay.
inline std::string withoutHexEscapes(std::string_view name) {
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto isHex = [&](std::size_t at) {
            return at < name.size() &&
                   std::string_view("0123456789ABCDEF").find(name[at]) != std::string_view::npos;
        };
        if (name[i] == '\\' && isHex(i + 1) && isHex(i + 2)) {
            out.push_back(static_cast<char>(fromHex(name.substr(i + 1, 2))[0]));
            i += 2;
        } else {
            out.push_back(name[i]);
            if (name[i] == '\\' && i + 1 < name.size()) {
                out.push_back(name[++i]);
            }
        }
    }
    return out;
}

// The decimal digits of a number in hexadecimal, computed by hand: documents write serials so.
inline std::string decimalOf(const std::string& hex) {
    const bool negative = hex.starts_with("-");
    std::vector<int> digits{0}; // least significant first
    for (const char c : hex.substr(negative ? 1 : 0)) {
        int carry = c <= '9' ? c - '0' : c - 'A' + 10;
        for (int& digit : digits) {
            carry += digit * 16;
            digit = carry % 10;
            carry /= 10;
        }
        for (; carry != 0; carry /= 10) {
            digits.push_back(carry % 10);
        }
    }
    std::string text = negative ? "-" : "";
    std::for_each(digits.rbegin(), digits.rend(),
                  [&](int d) { text += static_cast<char>('0' + d); });
    return text;
}

} // namespace vantrel::test

#endif
