// SPDX-License-Identifier: MIT
#include "cli/foreign_format.h"

#include "cli/terminal.h"
#include <vantrel/package_run.h>
#include <vantrel/strings.h>

#include <algorithm>
#include <array>
#include <cstdint>

// Formats are told by their first bytes, as file(1) does it. The remedies are commands that are
// usual where such files are; FILE stands for the name.
namespace vantrel::cli {

namespace {

// A format whose first bytes are always the same ones.
struct Format {
    std::string_view start; // its first bytes
    std::string_view what;
    std::string_view remedy;
};

using namespace std::string_view_literals;

// PDF and ZIP are what people have instead of XML most often: an invoice within a PDF, and a
// package with its signatures in a folder of their own. Of compressed data the tool does not take
// the cover off by itself: whoever signs or checks must know which octets are meant.
constexpr auto kBinary = std::to_array<Format>({
    {"%PDF-"sv, "a PDF document", "pdfdetach -saveall FILE (for an XML invoice within it)"},
    {"PK\x03\x04"sv, "a ZIP archive", "unzip FILE (and verify the signature document in it)"},
    {"PK\x05\x06"sv, "a ZIP archive with nothing in it", "another copy of FILE"},
    {"\x1F\x8B"sv, "gzip data", "gunzip -c FILE | xmldsig verify -"},
    {"BZh"sv, "bzip2 data", "bunzip2 -c FILE | xmldsig verify -"},
    {"\xFD\x37zXZ\0"sv, "xz data", "xz -dc FILE | xmldsig verify -"},
    {"\x28\xB5\x2F\xFD"sv, "zstd data", "zstd -dc FILE | xmldsig verify -"},
});

// A CMS message may hold the XML that is looked for; its own signature is no matter of this tool.
constexpr std::string_view kCmsRemedy = "openssl cms -verify -noverify -inform ";
constexpr std::string_view kCms = "a CMS (PKCS #7) message";

// The object identifier of signed data (RFC 5652, 5.1), as it stands behind two lengths.
constexpr std::string_view kSignedData = "\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02"sv;

// Every answer has the same form, so that scripts that must can tell it from other complaints.
std::string named(std::string_view what, std::string_view remedy, std::string_view name) {
    return withRemedy("this is " + std::string(what) + ", not XML", withFileName(remedy, name));
}

// The text behind a byte-order mark and white space, which may stand before any text.
std::string_view withoutSpace(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    text.remove_prefix(text.starts_with(mark) ? mark.size() : 0);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    return text;
}

// PEM (RFC 7468): its label says what it holds. What is a key or a certificate was most likely
// meant for an option, and an operand by a slip.
std::string namedPem(std::string_view text, std::string_view name) {
    constexpr std::string_view kBegin = "-----BEGIN ";
    const std::string_view rest = text.substr(kBegin.size());
    const std::string_view label = rest.substr(0, std::min(rest.find("-----"), rest.size()));
    if (label == "CMS" || label == "PKCS7") {
        return named(std::string(kCms) + " as PEM", std::string(kCmsRemedy) + "PEM -in FILE", name);
    }
    if (label.ends_with("CERTIFICATE")) {
        return named("a certificate as PEM", "--cert FILE", name);
    }
    if (label.ends_with("PUBLIC KEY")) {
        return named("a public key as PEM", "--key FILE", name);
    }
    if (label.ends_with("PRIVATE KEY")) {
        return named("a private key as PEM", "openssl pkey -pubout -in FILE (for --key)", name);
    }
    return named("PEM text", "openssl asn1parse -in FILE (shows what it holds)", name);
}

// A DER or BER SEQUENCE: what a certificate, a key and a signed message begin with.
std::string namedDer(std::string_view bytes, std::string_view name) {
    // Tag and length in front of the identifier take six bytes at most; there it stands in signed
    // data, while certificates have other identifiers there or none.
    if (bytes.substr(0, 6 + kSignedData.size()).find(kSignedData) != std::string_view::npos) {
        return named(kCms, std::string(kCmsRemedy) + "DER -in FILE", name);
    }
    return named("binary ASN.1 data, such as a certificate or a key",
                 "--cert FILE for a certificate, --key FILE for a key", name);
}

bool isDerSequence(std::string_view bytes) {
    // A length of two bytes or more, or the indefinite one: texts do not go on like that.
    return bytes.size() > 2 && bytes[0] == '\x30' && (bytes[1] & '\x80') != 0;
}

// Base64 (RFC 4648) from the first to the last character; a single word is nothing to guess by.
bool isBase64(std::string_view text) {
    constexpr std::size_t kLeast = 40;
    const auto belongs = [](char c) {
        return text::isSpaceAscii(c) || text::isDigitAscii(c) || c == '+' || c == '/' || c == '=' ||
               (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    };
    // Prose without punctuation has blanks in its lines; base64 is broken by line ends only.
    return text.size() >= kLeast && text.substr(0, kLeast).find(' ') == std::string_view::npos &&
           std::all_of(text.begin(), text.end(), belongs);
}

// HTML's names know no case.
bool startsWithNoCase(std::string_view text, std::string_view start) {
    return text::equalsNoCase(text.substr(0, start.size()), start);
}

} // namespace

std::string withFileName(std::string_view remedy, std::string_view name) {
    const std::string file = shellWord(name);
    std::string out(remedy);
    for (std::size_t at = 0; (at = out.find("FILE", at)) != std::string::npos; at += file.size()) {
        out.replace(at, 4, file);
    }
    return out;
}

std::string noPackage(std::string_view name) {
    return named("a ZIP archive with no signature document in it", "unzip -l FILE", name);
}

std::string withArchiveRemedy(const std::string& complaint, std::string_view name) {
    return complaint.starts_with(api::kNotRead)
               ? withRemedy(complaint, withFileName("unzip -t FILE", name))
               : complaint;
}

std::string orForeignFormat(ByteView bytes, std::string_view name, std::string_view otherwise) {
    const std::string_view all = asText(bytes);
    for (const Format& format : kBinary) {
        if (all.starts_with(format.start)) {
            return named(format.what, format.remedy, name);
        }
    }
    if (isDerSequence(all)) {
        return namedDer(all, name);
    }
    // From here on texts: formats that people write, and that may begin with a mark or blanks.
    const std::string_view text = withoutSpace(all);
    if (text.empty()) {
        return withRemedy("the file is empty", withFileName("another copy of FILE", name));
    }
    if (text.starts_with("-----BEGIN ")) {
        return namedPem(text, name);
    }
    if (startsWithNoCase(text, "<!doctype html") || startsWithNoCase(text, "<html")) {
        return named("an HTML page", "another copy of FILE (what was saved is a page about it)",
                     name);
    }
    // Neither of them can begin an XML document.
    if (text[0] == '{' || text[0] == '[') {
        return named("JSON text", "a file with the XML itself instead of FILE", name);
    }
    if (isBase64(text)) {
        return named("base64 text", "base64 -d FILE | xmldsig verify -", name);
    }
    return printable(otherwise);
}

} // namespace vantrel::cli
