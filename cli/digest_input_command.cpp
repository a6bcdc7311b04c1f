// `xmldsig digest-input`: the very octets that a digest or the signature value is computed over.
// For finding out why a digest does not match: the octets go to standard output byte for byte and
// can be compared with those that the signer had. They are made by the steps of a verification,
// with the same options, leniencies included; whether the digest then matches does not matter here.
// Exit code 1: the document has no such octets, and the reason is on standard error.

#include "cli/commands.h"
#include "cli/document.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include "cli/verify_settings.h"
#include <vantrel/ClsBinData.h>

#include <cstdio>

namespace vantrel::cli {

namespace {

// One of the texts that the verifier keeps of its last operation.
std::string textOf(ClsXmlDSig& verifier, void (ClsXmlDSig::*getter)(XString&)) {
    XString text;
    (verifier.*getter)(text);
    return std::string(text.getUtf8Sb().view());
}

// Without a selection the first signature is meant.
bool selectOne(const VerifySettings& settings, ClsXmlDSig& verifier, std::string& complaint) {
    std::vector<int> indexes;
    if (!settings.select(verifier, indexes, complaint)) {
        return false;
    }
    verifier.put_Selector(indexes.front());
    return settings.prepareSelected(verifier, complaint);
}

// Writes the octets of the reference that is asked for, the first by default, or of SignedInfo, and
// nothing at all when there are none to be had.
int writeOctets(const VerifySettings& settings, bool signedInfo, ClsXmlDSig& verifier,
                std::string& complaint) {
    const int reference = settings.reference().value_or(0);
    // Told apart from octets that cannot be made: the first is a mistake of the caller, the second
    // says something of the document.
    if (!signedInfo && reference >= verifier.get_NumReferences()) {
        complaint = "there is no reference with index " + std::to_string(reference) +
                    "; the signature has " + std::to_string(verifier.get_NumReferences());
        return kCannotTell;
    }
    ClsBinData octets;
    const bool ok =
        signedInfo ? verifier.SignedInfoOctets(octets) : verifier.DigestInput(reference, octets);
    if (settings.wantsLog()) {
        const std::string log = printableLines(textOf(verifier, &ClsXmlDSig::get_LastErrorText));
        std::fwrite(log.data(), 1, log.size(), stderr);
    }
    if (!ok) {
        complaint = textOf(verifier, &ClsXmlDSig::get_LastErrorLine);
        if (complaint.empty()) {
            complaint = "there are no octets to digest";
        }
        return kSomethingFails;
    }
    writeOutput(asText(octets.data().view()));
    return kEverythingHolds;
}

// One file on its way; a document without signatures is no usage error unless one was named.
int runFile(const VerifySettings& settings, bool signedInfo, const std::string& name,
            std::string& complaint) {
    ClsXmlDSig verifier;
    if (!settings.prepare(verifier, complaint) || !loadDocument(name, verifier, complaint)) {
        return kCannotTell;
    }
    if (verifier.get_NumSignatures() == 0 && !settings.selectsOne()) {
        complaint = "there is no signature";
        return kSomethingFails;
    }
    if (!selectOne(settings, verifier, complaint)) {
        return kCannotTell;
    }
    return writeOctets(settings, signedInfo, verifier, complaint);
}

} // namespace

int runDigestInput(const Arguments& arguments) {
    std::string complaint;
    VerifySettings settings;
    if (!settings.load(arguments, complaint)) {
        complain(complaint);
        return kCannotTell;
    }
    const bool signedInfo = arguments.has("--signed-info");
    return forEachFile(arguments, false, [&](const std::string& name, std::string& why) {
        return runFile(settings, signedInfo, name, why);
    });
}

} // namespace vantrel::cli
