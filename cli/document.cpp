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
                 const VerifyOptions& options, const DocumentSteps& steps, std::string& complaint) {
    int first = 0;
    bool isFound = false;
    api::PackageSteps ofPackage;
    ofPackage.prepare = steps.prepare;
    ofPackage.done = [&](ClsXmlDSig& verifier, std::string& error) {
        isFound = true;
        const int before = std::exchange(first, first + verifier.get_NumSignatures());
        return steps.work({verifier, before}, error);
    };
    const bool ok = api::forEachSignaturePart(std::move(package), options, ofPackage, complaint);
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
    std::shared_ptr<const io::RandomAccess> package;
    if (!readInput(name, bytes.data(), package, complaint)) {
        return false;
    }
    if (package != nullptr) {
        complaint = withRemedy(
            "this is a ZIP archive, and no package is written",
            withFileName("unzip FILE (work on the signature document, and zip it again)", name));
        return false;
    }
    return load(name, bytes, verifier, complaint);
}

VerifyOptions partOption(const Arguments& arguments) {
    VerifyOptions options;
    if (const std::string* const part = arguments.last("--part")) {
        options.part = *part;
    }
    return options;
}

bool forEachDocument(const std::string& name, const VerifyOptions& options,
                     const DocumentSteps& steps, std::string& complaint) {
    ClsBinData bytes;
    std::shared_ptr<const io::RandomAccess> package;
    if (!readInput(name, bytes.data(), package, complaint)) {
        return false;
    }
    if (package != nullptr) {
        return forEachPart(std::move(package), name, options, steps, complaint);
    }
    if (!options.part.empty()) {
        complaint = kPartOfNoPackage;
        return false;
    }
    ClsXmlDSig verifier;
    return (!steps.prepare || steps.prepare(verifier, complaint)) &&
           load(name, bytes, verifier, complaint) && steps.work({verifier, 0}, complaint);
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
    for (std::string name; names.next(name, true);) {
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
