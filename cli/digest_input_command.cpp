// SPDX-License-Identifier: MIT
// `xmldsig digest-input`: the very octets that a digest or the signature value is computed over.
// For finding out why a digest does not match: the octets go to standard output byte for byte and
// can be compared with those that the signer had. They are made by the steps of a verification,
// with the same options, leniencies included; whether the digest then matches does not matter here.
// Exit code 1: the document has no such octets, and the reason is on standard error.

#include "cli/commands.h"
#include "cli/confine.h"
#include "cli/document.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include "cli/verify_settings.h"
#include <vantrel/ClsBinData.h>
#include <vantrel/json_value.h>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace vantrel::cli {

namespace {

// One of the texts that the verifier keeps of its last operation.
std::string textOf(ClsXmlDSig& verifier, void (ClsXmlDSig::*getter)(XString&)) {
    XString text;
    (verifier.*getter)(text);
    return std::string(text.getUtf8Sb().view());
}

// What can be named, where the caller has to: "0 "a", 1 "b"". Of very many the first are listed.
std::string listed(int count, const std::function<std::string(int)>& nameOf) {
    constexpr int kListed = 20;
    std::string out;
    for (int i = 0; i < std::min(count, kListed); ++i) {
        out += (i == 0 ? "" : ", ") + std::to_string(i) + " \"" + nameOf(i) + "\"";
    }
    if (count > kListed) {
        out += " and " + std::to_string(count - kListed) + " more (xmldsig info lists all)";
    }
    return out;
}

// The Id of a signature, from its description; empty where it has none.
std::string idOf(ClsXmlDSig& verifier, int index) {
    XString description;
    json::JsonValue value;
    std::size_t faultAt = 0;
    verifier.put_Selector(index);
    const bool described = verifier.DescribeSignature(description) &&
                           json::parseJson(description.getUtf8Sb().view(), value, faultAt);
    const json::JsonValue* const id = described ? value.find("id") : nullptr;
    return id != nullptr ? std::string(id->text()) : std::string();
}

// Exactly one signature must be meant: octets of another than the caller thinks of would only
// mislead him.
bool selectOne(const VerifySettings& settings, ClsXmlDSig& verifier, std::string& complaint) {
    std::vector<int> indexes;
    if (!settings.select(verifier, indexes, complaint)) {
        return false;
    }
    if (indexes.size() > 1) {
        const int count = static_cast<int>(indexes.size());
        complaint = withRemedy(std::to_string(count) + " signatures and none is named: " +
                                   listed(count, [&](int i) { return idOf(verifier, i); }),
                               "--signature 0");
        return false;
    }
    verifier.put_Selector(indexes.front());
    return api::prepareSelected(settings.options(), verifier, complaint);
}

// Likewise one reference: the only one, or the one that is named. Told apart from octets that
// cannot be made: this is a mistake of the caller, the other says something of the document.
bool chooseReference(const VerifySettings& settings, ClsXmlDSig& verifier, int& reference,
                     std::string& complaint) {
    const int count = verifier.get_NumReferences();
    reference = settings.reference().value_or(0);
    const auto uriOf = [&verifier](int i) {
        XString uri;
        (void)verifier.ReferenceUri(i, uri); // false leaves it empty
        return std::string(uri.getUtf8Sb().view());
    };
    if (count > 1 && !settings.reference()) {
        complaint = withRemedy(std::to_string(count) +
                                   " references and none is named: " + listed(count, uriOf),
                               "--reference 0");
        return false;
    }
    if (reference >= count) {
        complaint = "there is no reference with index " + std::to_string(reference) +
                    "; the signature has " + std::to_string(count);
        complaint = count == 0 ? withRemedy(complaint, "--signed-info")
                               : withRemedy(complaint, "--reference " + std::to_string(count - 1));
        return false;
    }
    return true;
}

// Writes the octets of the reference that is meant, or of SignedInfo, and nothing at all when there
// are none to be had.
int writeOctets(const VerifySettings& settings, bool signedInfo, ClsXmlDSig& verifier,
                std::string& complaint) {
    int reference = 0;
    if (!signedInfo && !chooseReference(settings, verifier, reference, complaint)) {
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

// One file on its way: the verifier is set up as for a verification, or its octets might be others.
// A document without signatures is no usage error unless one was named.
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

// The settings are read once, before the first file: what is wrong with them is said only once.
int runDigestInput(const Arguments& arguments) {
    std::string complaint;
    VerifySettings settings;
    if (!settings.load(arguments, complaint)) {
        complain(complaint);
        return kCannotTell;
    }
    const bool signedInfo = arguments.has("--signed-info");
    confine(arguments, settings, Names::Now);
    return forEachFile(arguments, false, [&](const std::string& name, std::string& why) {
        return runFile(settings, signedInfo, name, why);
    });
}

} // namespace vantrel::cli
