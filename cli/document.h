// SPDX-License-Identifier: MIT
#ifndef CLI_DOCUMENT_H
#define CLI_DOCUMENT_H

#include "cli/commands.h"
#include <vantrel/ClsXmlDSig.h>
#include <vantrel/package_run.h>

#include <functional>
#include <string>
#include <string_view>

// What the commands that work on one document at a time have in common. `verify` works on many in
// parallel and goes by ordered_runner.h instead.
namespace vantrel::cli {

// Loads one file ("-": standard input) into `verifier`, in the encoding that it declares. False,
// with the reason in `complaint` and no document loaded, when it cannot be read, is a package or no
// well-formed XML; a document without signatures loads.
[[nodiscard]] bool loadDocument(const std::string& name, ClsXmlDSig& verifier,
                                std::string& complaint);

// The complaint about --part where the file is no package.
inline constexpr std::string_view kPartOfNoPackage = "--part is for packages";

// A document of a file, and the number of signatures in those before it.
struct LoadedDocument {
    ClsXmlDSig& verifier;
    int firstIndex = 0;
};

// What is done with each document: `prepare` (may be empty) gives a verifier its settings before it
// loads one, `work` gets it loaded. False, with the reason in `complaint`, ends the run.
struct DocumentSteps {
    std::function<bool(ClsXmlDSig& verifier, std::string& complaint)> prepare;
    std::function<bool(const LoadedDocument& document, std::string& complaint)> work;
};

// Takes the document in a file through the steps, or each signature document of a package: of
// `options` the part (empty for all) and the limits count. False, with the reason in `complaint`,
// where one cannot be read, or when a step is.
[[nodiscard]] bool forEachDocument(const std::string& name, const VerifyOptions& options,
                                   const DocumentSteps& steps, std::string& complaint);
// Options with nothing but the part that is named.
[[nodiscard]] VerifyOptions partOption(const Arguments& arguments);

// Runs `work` on every file that is named (input.h), or on standard input where none is and that is
// allowed, and returns the highest exit code. What `work` leaves in `complaint` is printed with the
// file's name, made printable. A file that fails does not keep the others from being worked on. No
// file at all, or standard input named twice, is a usage error: kCannotTell, and nothing is worked
// on.
[[nodiscard]] int forEachFile(
    const Arguments& arguments, bool inputByDefault,
    const std::function<int(const std::string& name, std::string& complaint)>& work);

} // namespace vantrel::cli

#endif
