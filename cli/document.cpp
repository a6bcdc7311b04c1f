// SPDX-License-Identifier: MIT
#include "cli/document.h"

#include "cli/foreign_format.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/ClsBinData.h>
#include <vantrel/package_run.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

// One document after the other, each read whole, worked on, and gone before the next one.
namespace vantrel::cli {

namespace {

bool load(const std::string& name, ClsBinData& bytes, ClsXmlDSig& verifier,
          std::string& complaint) {
    // The bytes as they are: the library reads their encoding from byte-order mark and declaration.
    if (!verifier.LoadSignatureBd(bytes)) {
        XString line;
        verifier.get_LastErrorLine(line);
        // A PDF or a ZIP fails at its first octet, and "not well-formed" would help nobody.
        complaint = orForeignFormat(bytes.data().view(), name,
                                    line.isEmpty() ? "the document could not be loaded"
                                                   : line.getUtf8Sb().view());
        return false;
    }
    return true;
}

// What is no package at all is only an archive of files.
bool forEachPart(std::shared_ptr<const io::RandomAccess> package, const std::string& name,
                 const std::string& part,
                 const std::function<bool(const LoadedDocument&, std::string&)>& work,
                 std::string& complaint) {
    VerifyOptions options;
    options.part = part;
    int first = 0;
    bool isFound = false;
    const bool ok = api::forEachSignaturePart(
        std::move(package), options,
        [&](ClsXmlDSig& verifier, const std::string& /*part*/, std::string& error) {
            isFound = true;
            const int before = std::exchange(first, first + verifier.get_NumSignatures());
            return work({verifier, before}, error);
        },
        complaint);
    if (!ok) {
        complaint = withArchiveRemedy(complaint, name);
    } else if (!isFound) {
        complaint = noPackage(name);
    }
    return ok && isFound;
}

} // namespace

bool loadDocument(const std::string& name, ClsXmlDSig& verifier, std::string& complaint) {
    ClsBinData bytes;
    return readInput(name, bytes.data(), complaint) && load(name, bytes, verifier, complaint);
}

bool forEachDocument(
    const std::string& name, const std::string& part,
    const std::function<bool(const LoadedDocument& document, std::string& complaint)>& work,
    std::string& complaint) {
    ClsBinData bytes;
    std::shared_ptr<const io::RandomAccess> package;
    if (!readInput(name, bytes.data(), package, complaint)) {
        return false;
    }
    if (package != nullptr) {
        return forEachPart(std::move(package), name, part, work, complaint);
    }
    if (!part.empty()) {
        complaint = "--part is for packages";
        return false;
    }
    ClsXmlDSig verifier;
    return load(name, bytes, verifier, complaint) && work({verifier, 0}, complaint);
}

int forEachFile(const Arguments& arguments, bool inputByDefault,
                const std::function<int(const std::string& name, std::string& complaint)>& work) {
    NameSource names;
    std::string problem;
    if (!names.open(arguments, inputByDefault, problem)) {
        complain(problem);
        return kCannotTell;
    }
    // The worst outcome of all, which is the highest number.
    int code = kEverythingHolds;
    for (std::string name; names.next(name);) {
        std::string complaint;
        code = std::max(code, work(name, complaint));
        // Behind what the work wrote, and with the file's name, since there may be many.
        if (!complaint.empty()) {
            complain(printable(name) + ": " + complaint);
        }
    }
    // Nothing that could fail is no success: most likely the wrong directory was named.
    if (names.foundNothing()) {
        complain(kNothingFound);
        return kCannotTell;
    }
    return code;
}

} // namespace vantrel::cli
