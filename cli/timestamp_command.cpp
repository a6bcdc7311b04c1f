// SPDX-License-Identifier: MIT
// `xmldsig timestamp`: adds an encapsulated signature time-stamp from a time-stamp authority. The
// only command that opens a connection (https: through a program), and the only one that writes a
// document. The signed parts stay as they are, octet for octet where they are canonicalized; what
// is added stands in the unsigned properties. Exit code 2, and nothing written, when the authority
// gave no token that is one over this signature.

#include "cli/commands.h"
#include "cli/document.h"
#include "cli/terminal.h"
#include "cli/verify_settings.h"
#include <vantrel/ClsHttp.h>
#include <vantrel/ClsJsonObject.h>
#include <vantrel/ClsStringBuilder.h>
#include <vantrel/_vlLogger.h>
#include <vantrel/files.h>
#include <vantrel/strings.h>
#include <vantrel/transport_program.h>

#include <algorithm>
#include <array>
#include <utility>

namespace vantrel::cli {

namespace {

// The options, read and checked.
struct TimestampSettings {
    std::string authority;
    std::string hash = "sha256";
    bool requestCertificate = true;
    std::optional<int> signature;
    std::optional<std::string> output;
    // Carries out the request; empty for our own connection, which has no TLS.
    std::string transport;
};

// A program that is named is taken for http: as well: it may know a proxy.
std::string transportFor(const Arguments& arguments, std::string_view authority) {
    if (const std::string* const named = arguments.last("--transport")) {
        return *named;
    }
    constexpr std::string_view kSecure = "https:";
    const bool isSecure = text::equalsNoCase(authority.substr(0, kSecure.size()), kSecure);
    return isSecure ? "curl" : "";
}

// False, with the reason in `complaint`, for a usage error.
bool readSettings(const Arguments& arguments, TimestampSettings& settings, std::string& complaint) {
    const std::string* const authority = arguments.last("--tsa");
    if (authority == nullptr || authority->empty()) {
        complaint = withRemedy("--tsa is needed: the URL of the time-stamp authority",
                               "--tsa http://HOST/PATH");
        return false;
    }
    settings.authority = *authority;
    if (const std::string* const hash = arguments.last("--hash")) {
        settings.hash = *hash;
    }
    settings.requestCertificate = !arguments.has("--no-cert");
    if (const std::string* const output = arguments.last("--output")) {
        settings.output = *output;
    }
    settings.transport = transportFor(arguments, *authority);
    // There is one output; two documents in it would be none.
    if (arguments.operands().size() > 1) {
        complaint =
            withRemedy("one file at a time can be time-stamped", "xmldsig timestamp for each file");
        return false;
    }
    return arguments.number("--signature", 0, 0x7FFFFFFE, settings.signature, complaint);
}

// The last error line of the log, or, where it has none, the given text.
std::string lastError(ClsXmlDSig& verifier, std::string_view otherwise) {
    XString line;
    verifier.get_LastErrorLine(line);
    return std::string(line.isEmpty() ? otherwise : line.getUtf8Sb().view());
}

// The document goes out as UTF-8, whatever encoding it came in; its declaration must not say
// otherwise. The canonical form does not hold the declaration, so no digest changes.
void declareUtf8(StringBuffer& document) {
    const std::string_view text = document.view();
    if (!text.starts_with("<?xml")) {
        return;
    }
    const std::string_view declaration = text.substr(0, text.find("?>"));
    const std::size_t name = declaration.find("encoding");
    const std::size_t open = declaration.find_first_of("\"'", name);
    if (name == std::string_view::npos || open == std::string_view::npos) {
        return;
    }
    const std::size_t close = declaration.find(declaration[open], open + 1);
    if (close == std::string_view::npos) {
        return;
    }
    const std::string_view encoding = declaration.substr(open + 1, close - open - 1);
    if (text::equalsNoCase(encoding, "UTF-8")) {
        return;
    }
    document.removeChunk(static_cast<std::uint32_t>(open + 1),
                         static_cast<std::uint32_t>(encoding.size()));
    document.insertAt(StringBuffer("UTF-8"), static_cast<std::uint32_t>(open + 1));
}

// The library leaves an empty time-stamp where the authority did not answer, and says why in the
// log; the tool writes nothing. Error lines alone mean little: a token may verify on a second try.
bool isStamped(ClsXmlDSig& verifier, const StringBuffer& document, std::string& complaint) {
    XString problem;
    verifier.get_FirstErrorLine(problem);
    if (!problem.isEmpty() && document.containsSubstring("></xades:EncapsulatedTimeStamp>")) {
        complaint = problem.getUtf8Sb().view();
        return false;
    }
    // The result is read back as any reader will: what was inserted must be a time-stamp in the
    // tree.
    ClsXmlDSig stamped;
    XString text;
    text.setFromSbUtf8(document);
    if (!stamped.LoadSignature(text)) {
        complaint = lastError(stamped, "the result is not well-formed");
        return false;
    }
    stamped.put_Selector(verifier.get_Selector());
    if (!stamped.HasEncapsulatedTimeStamp()) {
        complaint = "no time-stamp could be added";
        return false;
    }
    return true;
}

// The transport, leaving the reason of a failure in `trouble`, which must outlive it.
HttpTransport keepingError(HttpTransport transport, std::string& trouble) {
    return [transport = std::move(transport), &trouble](const HttpRequest& request) {
        HttpResponse response = transport(request);
        trouble = response.error;
        return response;
    };
}

// Reads, stamps, checks and writes one document. Nothing is written unless it bears a time-stamp;
// an output file that exists is replaced.
int stampFile(const TimestampSettings& settings, const std::string& name, std::string& complaint) {
    ClsXmlDSig verifier;
    if (!loadDocument(name, verifier, complaint)) {
        return kCannotTell;
    }
    const int count = verifier.get_NumSignatures();
    // A signature that was named and is not there is a usage error; a document that has none is a
    // finding.
    if (settings.signature.value_or(0) >= count) {
        complaint = count == 0 && !settings.signature ? "there is no signature"
                                                      : noSuchSignature(*settings.signature, count);
        return settings.signature ? kCannotTell : kSomethingFails;
    }
    verifier.put_Selector(settings.signature.value_or(0));
    // Must outlive the request, as the verifier only borrows it.
    ClsHttp http;
    std::string trouble;
    if (!settings.transport.empty()) {
        http.SetTransport(keepingError(io::transportBy(settings.transport), trouble));
    }
    verifier.SetHttpObj(http);
    ClsJsonObject options;
    options.UpdateString(XString("tsaUrl"), XString(settings.authority));
    options.UpdateString(XString("hashAlgorithm"), XString(settings.hash));
    options.UpdateBool(XString("requestCert"), settings.requestCertificate);
    ClsStringBuilder result;
    if (!verifier.AddEncapsulatedTimeStamp(options, result)) {
        complaint = trouble.empty() ? lastError(verifier, "no time-stamp could be added") : trouble;
        return kCannotTell;
    }
    StringBuffer& document = result.xstring().getUtf8Sb_rw();
    if (!isStamped(verifier, document, complaint)) {
        // The program's own words say more than that there was no answer.
        complaint = trouble.empty() ? complaint : trouble;
        return kCannotTell;
    }
    declareUtf8(document);
    if (!settings.output || *settings.output == "-") {
        writeOutput(document.view());
        return kEverythingHolds;
    }
    _vlLogger log;
    if (!io::writeFile(*settings.output, asBytes(document.view()), log)) {
        complaint = log.lastErrorLine();
        return kCannotTell;
    }
    return kEverythingHolds;
}

} // namespace

int runTimestamp(const Arguments& arguments) {
    TimestampSettings settings;
    std::string complaint;
    if (!readSettings(arguments, settings, complaint)) {
        complain(complaint);
        return kCannotTell;
    }
    return forEachFile(arguments, false, [&settings](const std::string& name, std::string& why) {
        return stampFile(settings, name, why);
    });
}

} // namespace vantrel::cli
