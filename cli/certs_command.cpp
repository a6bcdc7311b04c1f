// SPDX-License-Identifier: MIT
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

// What was found of one file so far.
struct Found {
    int signatures = 0;
    int certificates = 0;
    std::uint64_t octets = 0;
};

// Writes the certificates of one document, of the signature `wanted` or of all; of a package the
// indexes run on. They are written as they are found, so memory does not grow with their number;
// the limit bounds the output.
bool writeDocument(const LoadedDocument& document, const std::optional<int>& wanted, Found& found,
                   std::string& complaint) {
    ClsXmlDSig& verifier = document.verifier;
    const int count = verifier.get_NumSignatures();
    found.signatures += count;
    for (int i = 0; i < count; ++i) {
        if (wanted && *wanted != document.firstIndex + i) {
            continue;
        }
        verifier.put_Selector(i);
        ClsStringArray certificates;
        (void)verifier.GetCerts(certificates); // false where there is none, which is no failure
        for (int k = 0; k < certificates.get_Count(); ++k, ++found.certificates) {
            const std::string_view text = certificates.getStringUtf8(k);
            found.octets += text.size();
            if (found.octets > dsig::Limits().reportOctets) {
                complaint = withRemedy("the certificates are larger than the limit (reportOctets)",
                                       "--signature N, one at a time");
                return false;
            }
            writeOutput(asPem(text));
        }
    }
    return true;
}

int runFile(const std::optional<int>& wanted, const VerifyOptions& options, const std::string& name,
            std::string& complaint) {
    Found found;
    DocumentSteps steps;
    steps.work = [&](const LoadedDocument& document, std::string& error) {
        return writeDocument(document, wanted, found, error);
    };
    if (!forEachDocument(name, options, steps, complaint)) {
        return kCannotTell;
    }
    if (wanted && *wanted >= found.signatures) {
        complaint = noSuchSignature(*wanted, found.signatures);
        return kCannotTell;
    }
    if (found.signatures == 0) {
        complaint = "there is no signature";
        return kSomethingFails;
    }
    // Said on standard error, but no failure: a signature need not carry certificates.
    if (found.certificates == 0) {
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
    const VerifyOptions options = partOption(arguments);
    return forEachFile(arguments, false, [&](const std::string& name, std::string& why) {
        return runFile(wanted, options, name, why);
    });
}

} // namespace vantrel::cli
