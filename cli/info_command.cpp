// SPDX-License-Identifier: MIT
// `xmldsig info`: what a document's signatures say of themselves, nothing verified. Nothing of it
// may be relied on: it is the document's own text, keys and names included. Exit code 1 says that
// there is no signature.

#include "cli/commands.h"
#include "cli/document.h"
#include "cli/report_text.h"
#include "cli/terminal.h"
#include <vantrel/json_writer.h>
#include <vantrel/limits.h>
#include <vantrel/report_json.h>

#include <cstdint>
#include <new>

namespace vantrel::cli {

namespace {

// What is said of one file.
struct Description {
    std::string_view status = "error";
    std::string profile;
    int count = 0;
    std::string signatures; // text, or JSON objects with commas between them
};

// Adds the signatures of one document. False when one cannot be described, or they are too many.
bool describeSignatures(ClsXmlDSig& verifier, bool json, std::uint64_t& octets, Description& found,
                        std::string& complaint) {
    found.profile = found.count == 0 ? verifier.profileName() : found.profile;
    for (int i = 0; i < verifier.get_NumSignatures(); ++i) {
        if (!verifier.IsSignature(i)) {
            continue;
        }
        // Of the first signature: what a profile is known by may stand in it alone.
        found.profile = found.count == 0 ? verifier.ProfileOf(i) : found.profile;
        verifier.put_Selector(i);
        XString description;
        if (!verifier.DescribeSignature(description)) {
            complaint = "signature " + std::to_string(found.count) + " cannot be described";
            return false;
        }
        // Counted over all signatures: each description is within its limit, but there may be very
        // many of them.
        octets += description.getUtf8Sb().getSize();
        if (octets > dsig::Limits().reportOctets) {
            complaint = api::kReportTooLarge;
            return false;
        }
        if (json) {
            found.signatures += found.count == 0 ? "" : ",";
            found.signatures += description.getUtf8Sb().view();
        } else {
            found.signatures += descriptionText(description.getUtf8Sb().view());
        }
        ++found.count;
    }
    return true;
}

// Describes every signature of the file. On kCannotTell the reason is in `complaint`, and nothing
// of what was found so far is shown: half a list would pass for a whole one.
int describe(const std::string& name, const VerifyOptions& options, bool json, Description& found,
             std::string& complaint) {
    std::uint64_t octets = 0;
    DocumentSteps steps;
    steps.work = [&](const LoadedDocument& document, std::string& error) {
        return describeSignatures(document.verifier, json, octets, found, error);
    };
    if (!forEachDocument(name, options, steps, complaint)) {
        found.signatures.clear();
        return kCannotTell;
    }
    found.status = found.count > 0 ? "ok" : "no-signature";
    return found.count > 0 ? kEverythingHolds : kSomethingFails;
}

// The object of one file. Every key is there in every case, and the signatures, which are JSON
// already, go to the output without being copied together.
void writeJson(const std::string& name, const Description& found, const std::string& complaint) {
    StringBuffer text;
    json::JsonWriter out(text);
    out.beginObject();
    out.textMember("file", name);
    out.textMember("status", found.status);
    out.textMember("error", withoutRemedy(complaint));
    out.textMember("profile", found.profile);
    out.key("signatures");
    out.beginArray();
    // The writer remembers that memory ran out instead of throwing.
    if (!out.ok()) {
        throw std::bad_alloc();
    }
    writeOutput(text.view());
    writeOutput(found.signatures);
    writeOutput("]}\n");
}

void writeText(const std::string& name, const Description& found) {
    std::string heading = printable(name) + ": " + std::to_string(found.count) +
                          (found.count == 1 ? " signature" : " signatures");
    if (!found.profile.empty()) {
        heading += ", profile " + printable(found.profile);
    }
    writeOutput(heading + "\n");
    writeOutput(found.signatures);
}

} // namespace

int runInfo(const Arguments& arguments) {
    const bool json = arguments.has("--json");
    const VerifyOptions options = partOption(arguments);
    return forEachFile(arguments, false, [&](const std::string& name, std::string& complaint) {
        Description found;
        const int code = describe(name, options, json, found, complaint);
        if (json) {
            writeJson(name, found, complaint);
            // Otherwise the complaint says it all.
        } else if (code != kCannotTell) {
            writeText(name, found);
        }
        return code;
    });
}

} // namespace vantrel::cli
