// `xmldsig certs`: the certificates of KeyInfo as PEM. Which certificates these are, the library
// says (ClsXmlDSig::GetCerts): those in X509Data, in tokens that are referred to, and none of a
// store, since the tool gives it none here. They are not checked in any way, and one that several
// signatures carry is written for each. Exit code 1 says that there is no signature; a signature
// without certificates is no failure.

#include "cli/commands.h"
#include "cli/document.h"
#include "cli/terminal.h"
#include "cli/verify_settings.h"
#include <vantrel/ClsStringArray.h>
#include <vantrel/limits.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace vantrel::cli {

namespace {

// Base64 characters a line.
constexpr std::size_t kPemLine = 64; // RFC 7468

// The text of the document may be broken into lines of any length.
std::string asPem(std::string_view text) {
    std::string base64;
    std::copy_if(text.begin(), text.end(), std::back_inserter(base64),
                 [](char c) { return c != ' ' && c != '\t' && c != '\r' && c != '\n'; });
    std::string out = "-----BEGIN CERTIFICATE-----\n";
    for (std::size_t at = 0; at < base64.size(); at += kPemLine) {
        out.append(base64, at, kPemLine);
        out += '\n';
    }
    return out + "-----END CERTIFICATE-----\n";
}

// Writes the certificates of one file, of the signature `wanted` or of all. They are written as
// they are found, so memory does not grow with their number; the limit bounds the output.
int runFile(const std::optional<int>& wanted, const std::string& name, std::string& complaint) {
    ClsXmlDSig verifier;
    if (!loadDocument(name, verifier, complaint)) {
        return kCannotTell;
    }
    const int count = verifier.get_NumSignatures();
    if (wanted && *wanted >= count) {
        complaint = noSuchSignature(*wanted, count);
        return kCannotTell;
    }
    if (count == 0) {
        complaint = "there is no signature";
        return kSomethingFails;
    }
    int certificates = 0;
    std::uint64_t octets = 0;
    for (int i = wanted.value_or(0); i < (wanted ? *wanted + 1 : count); ++i) {
        verifier.put_Selector(i);
        ClsStringArray found;
        (void)verifier.GetCerts(found); // false where there is none, which is no failure here
        for (int k = 0; k < found.get_Count(); ++k, ++certificates) {
            const std::string_view text = found.getStringUtf8(k);
            octets += text.size();
            if (octets > dsig::Limits().reportOctets) {
                complaint = withRemedy("the certificates are larger than the limit (reportOctets)",
                                       "--signature N, one at a time");
                return kCannotTell;
            }
            writeOutput(asPem(text));
        }
    }
    // Said on standard error, but no failure: a signature need not carry certificates.
    if (certificates == 0) {
        complaint = "KeyInfo holds no certificate";
    }
    return kEverythingHolds;
}

} // namespace

int runCerts(const Arguments& arguments) {
    std::optional<int> wanted;
    std::string complaint;
    if (!arguments.number("--signature", 0, 0x7FFFFFFE, wanted, complaint)) {
        complain(complaint);
        return kCannotTell;
    }
    return forEachFile(arguments, false, [&wanted](const std::string& name, std::string& why) {
        return runFile(wanted, name, why);
    });
}

} // namespace vantrel::cli
