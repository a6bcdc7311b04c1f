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
#include <vantrel/package_run.h>
#include <vantrel/verification.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace vantrel::cli {

namespace {

// One of the texts that the verifier keeps of its last operation.
std::string textOf(ClsXmlDSig& verifier, void (ClsXmlDSig::*getter)(XString&)) {
    XString text;
    (verifier.*getter)(text);
    return std::string(text.getUtf8Sb().view());
}

// Of very many names the first are listed.
constexpr int kListed = 20;

// What can be named, where the caller has to: `0 "a", 1 "b"`.
std::string numbered(int index, const std::string& name) {
    return std::to_string(index) + " \"" + name + "\"";
}

// The list of `count` of them, of which there are at least the first.
std::string listed(int count, const std::vector<std::string>& first) {
    std::string out;
    for (const std::string& one : first) {
        out += (out.empty() ? "" : ", ") + one;
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

// What was found in a file, which may hold several documents: octets go out only where no other
// signature of the file could have been meant.
struct MeantOctets {
    int signatures = 0;
    int meant = 0;
    std::vector<std::string> names; // of the first of those that are meant, numbered
    int code = kEverythingHolds;
    std::string complaint; // about the first of them
    ClsBinData octets;     // of the first of them
};

// Likewise one reference: the only one, or the one that is named. Told apart from octets that
// cannot be made: this is a mistake of the caller, the other says something of the document.
bool chooseReference(const VerifySettings& settings, ClsXmlDSig& verifier, int& reference,
                     std::string& complaint) {
    const int count = verifier.get_NumReferences();
    reference = settings.reference().value_or(0);
    if (count > 1 && !settings.reference()) {
        std::vector<std::string> uris;
        for (int i = 0; i < std::min(count, kListed); ++i) {
            XString uri;
            (void)verifier.ReferenceUri(i, uri); // false leaves it empty
            uris.push_back(numbered(i, std::string(uri.getUtf8Sb().view())));
        }
        complaint = withRemedy(std::to_string(count) +
                                   " references and none is named: " + listed(count, uris),
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

// Makes the octets of the reference that is meant, or of SignedInfo; none where there are none to
// be had, and the code and the complaint say why.
void makeOctets(const VerifySettings& settings, bool signedInfo, ClsXmlDSig& verifier,
                MeantOctets& found) {
    int reference = 0;
    if (!api::prepareSelected(settings.options(), verifier, found.complaint) ||
        (!signedInfo && !chooseReference(settings, verifier, reference, found.complaint))) {
        found.code = kCannotTell;
        return;
    }
    const bool ok = signedInfo ? verifier.SignedInfoOctets(found.octets)
                               : verifier.DigestInput(reference, found.octets);
    if (settings.wantsLog()) {
        const std::string log = printableLines(textOf(verifier, &ClsXmlDSig::get_LastErrorText));
        std::fwrite(log.data(), 1, log.size(), stderr);
    }
    if (!ok) {
        found.code = kSomethingFails;
        found.complaint = textOf(verifier, &ClsXmlDSig::get_LastErrorLine);
        if (found.complaint.empty()) {
            found.complaint = "there are no octets to digest";
        }
    }
}

// Looks through one document. Octets of another signature than the caller thinks of would only
// mislead him, so that exactly one must be meant.
void lookThrough(const VerifySettings& settings, bool signedInfo, const LoadedDocument& document,
                 MeantOctets& found) {
    ClsXmlDSig& verifier = document.verifier;
    found.signatures += verifier.get_NumSignatures();
    // Of several signatures with one Id the first is meant.
    if (settings.options().id && found.meant > 0) {
        return;
    }
    const std::vector<int> indexes =
        api::selectedIn(settings.options(), document.firstIndex, verifier);
    if (found.meant == 0 && indexes.size() == 1) {
        verifier.put_Selector(indexes.front());
        makeOctets(settings, signedInfo, verifier, found);
    }
    for (const int index : indexes) {
        if (found.meant++ < kListed) {
            found.names.push_back(numbered(document.firstIndex + index, idOf(verifier, index)));
        }
    }
}

// Why not exactly one is meant.
int complainOfChoice(const VerifySettings& settings, const MeantOctets& found,
                     std::string& complaint) {
    const VerifyOptions& options = settings.options();
    if (found.meant > 1) {
        complaint = withRemedy(std::to_string(found.meant) + " signatures and none is named: " +
                                   listed(found.meant, found.names),
                               "--signature 0");
        return kCannotTell;
    }
    if (options.id) {
        complaint = withRemedy(api::noSuchId(*options.id),
                               "xmldsig info (lists the signatures with their Ids)");
        return kCannotTell;
    }
    complaint = options.signature ? noSuchSignature(*options.signature, found.signatures)
                                  : "there is no signature";
    return options.signature ? kCannotTell : kSomethingFails;
}

// One file on its way: the verifier is set up as for a verification, or its octets might be others.
// A document without signatures is no usage error unless one was named.
int runFile(const VerifySettings& settings, bool signedInfo, const std::string& name,
            std::string& complaint) {
    MeantOctets found;
    DocumentSteps steps;
    steps.prepare = [&settings](ClsXmlDSig& verifier, std::string& why) {
        return settings.prepare(verifier, why);
    };
    steps.work = [&](const LoadedDocument& document, std::string& /*why*/) {
        lookThrough(settings, signedInfo, document, found);
        return true;
    };
    if (!forEachDocument(name, settings.options(), steps, complaint)) {
        return kCannotTell;
    }
    if (found.meant != 1) {
        return complainOfChoice(settings, found, complaint);
    }
    if (found.code == kEverythingHolds) {
        writeOutput(asText(found.octets.data().view()));
    }
    complaint = found.complaint;
    return found.code;
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
