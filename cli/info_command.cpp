// `xmldsig info`: what a document's signatures say of themselves, nothing verified.

#include "cli/commands.h"
#include "cli/document.h"
#include "cli/report_text.h"
#include "cli/terminal.h"
#include "dsig/document/limits.h"
#include "foundation/json/json_writer.h"

#include <cstdint>
#include <new>

namespace vantrel::cli {

namespace {

struct Description {
    std::string_view status = "error";
    std::string profile;
    std::vector<std::string> signatures; // JSON objects
};

int describe(const std::string& name, Description& found, std::string& complaint) {
    ClsXmlDSig verifier;
    if (!loadDocument(name, verifier, complaint)) {
        return kCannotTell;
    }
    found.profile = verifier.profileName();
    const int count = verifier.get_NumSignatures();
    std::uint64_t octets = 0;
    for (int i = 0; i < count; ++i) {
        verifier.put_Selector(i);
        XString json;
        if (!verifier.DescribeSignature(json)) {
            complaint = "signature " + std::to_string(i) + " cannot be described";
            return kCannotTell;
        }
        octets += json.getUtf8Sb().getSize();
        if (octets > dsig::Limits().reportOctets) {
            complaint = "the report is larger than its limit (reportOctets)";
            found.signatures.clear();
            return kCannotTell;
        }
        found.signatures.emplace_back(json.getUtf8Sb().view());
    }
    found.status = count > 0 ? "ok" : "no-signature";
    return count > 0 ? kEverythingHolds : kSomethingFails;
}

std::string asJson(const std::string& name, const Description& found,
                   const std::string& complaint) {
    StringBuffer text;
    json::JsonWriter out(text);
    out.beginObject();
    out.textMember("file", name);
    out.textMember("status", found.status);
    out.textMember("error", complaint);
    out.textMember("profile", found.profile);
    out.key("signatures");
    out.beginArray();
    for (const std::string& signature : found.signatures) {
        out.raw(signature);
    }
    out.endArray();
    out.endObject();
    if (!out.ok()) {
        throw std::bad_alloc();
    }
    return std::string(text.view()) + "\n";
}

std::string asText(const std::string& name, const Description& found) {
    std::string out = printable(name) + ": " + std::to_string(found.signatures.size()) +
                      (found.signatures.size() == 1 ? " signature" : " signatures");
    if (!found.profile.empty()) {
        out += ", profile " + printable(found.profile);
    }
    out += "\n";
    for (const std::string& signature : found.signatures) {
        out += descriptionText(signature);
    }
    return out;
}

int runInfo(const Arguments& arguments) {
    const bool json = arguments.has("--json");
    return forEachFile(arguments, false, [json](const std::string& name, std::string& complaint) {
        Description found;
        const int code = describe(name, found, complaint);
        if (json) {
            writeOutput(asJson(name, found, complaint));
        } else if (code != kCannotTell) {
            writeOutput(asText(name, found));
        }
        return code;
    });
}

} // namespace

Command infoCommand() {
    return {"info",
            "[--json] FILE...",
            "Lists the signatures of a document without verifying them.",
            {{"--json", "", "one JSON object a file, one a line"}},
            runInfo};
}

} // namespace vantrel::cli
