// SPDX-License-Identifier: MIT
// `xmldsig c14n`: the canonical form of a document or of one of its elements. The octets go to
// standard output as they are, without a line end behind them, so that their digest can be taken by
// any other program. Several files give their forms one after the other. A document that has no
// canonical form (not well-formed, no element with the Id, or more than one) ends in exit code 2
// and writes nothing.

#include "cli/commands.h"
#include "cli/document.h"
#include "cli/foreign_format.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/_vlLogger.h>
#include <vantrel/package_run.h>

#include <memory>
#include <utility>

namespace vantrel::cli {

namespace {

// The canonical form of the whole document or of the element with --id. False, with the reason in
// `complaint`; nothing has been written then.
bool canonicalize(const Arguments& arguments, const std::string& name, XString& document,
                  XString& canonical, std::string& complaint) {
    // Any name but the exclusive one means Canonical XML 1.0.
    XString version(arguments.has("--exclusive") ? "EXCL_C14N" : "C14N");
    const bool withComments = arguments.has("--with-comments");
    const std::string* const id = arguments.last("--id");
    const std::string* const prefixes = arguments.last("--prefixes");
    XString fragment(id != nullptr ? *id : "");
    XString prefixList(prefixes != nullptr ? *prefixes : "");
    ClsXmlDSig canonicalizer;
    if (canonicalizer.CanonicalizeFragment(document, fragment, version, prefixList, withComments,
                                           canonical)) {
        return true;
    }
    XString line;
    canonicalizer.get_LastErrorLine(line);
    // With an Id the document may be well-formed and still have no such element, or two.
    complaint = orForeignFormat(asBytes(document.getUtf8Sb().view()), name,
                                line.isEmpty() ? "the document cannot be canonicalized"
                                               : line.getUtf8Sb().view());
    if (id != nullptr && !hasRemedy(complaint)) {
        complaint = withRemedy(complaint, "another --id, or none for the whole document");
    }
    return false;
}

// A document, or the part of a package that is named.
bool readPartOrInput(const VerifyOptions& options, const std::string& name, DataBuffer& bytes,
                     std::string& complaint) {
    std::shared_ptr<const io::RandomAccess> package;
    if (!readInput(name, bytes, package, complaint)) {
        return false;
    }
    if (package == nullptr) {
        complaint = options.part.empty() ? std::string() : std::string(kPartOfNoPackage);
        return options.part.empty();
    }
    if (options.part.empty()) {
        complaint = withRemedy("this is a package, and none of its parts is named",
                               withFileName("--part NAME (unzip -l FILE lists them)", name));
        return false;
    }
    bytes.clear();
    const bool isRead = api::readPart(std::move(package), options, bytes, complaint);
    complaint = withArchiveRemedy(complaint, name);
    return isRead;
}

// One file, read and written whole: a form that breaks off in the middle would be taken for one.
int runFile(const Arguments& arguments, const std::string& name, std::string& complaint) {
    DataBuffer bytes;
    if (!readPartOrInput(partOption(arguments), name, bytes, complaint)) {
        return kCannotTell;
    }
    _vlLogger log;
    // The operations on texts take UTF-8. What the XML declaration says afterwards does not matter:
    // it is no part of a canonical form.
    if (!bytes.convertXmlToUtf8(log)) {
        complaint = orForeignFormat(bytes.view(), name, log.lastErrorLine());
        return kCannotTell;
    }
    XString document;
    // Takes the bytes over: there is only one copy of a large document.
    document.getUtf8Sb_rw().takeFromDb(bytes);
    XString canonical;
    if (!canonicalize(arguments, name, document, canonical, complaint)) {
        return kCannotTell;
    }
    writeOutput(canonical.getUtf8Sb().view());
    return kEverythingHolds;
}

} // namespace

int runC14n(const Arguments& arguments) {
    // Canonical XML 1.0 knows no such list; to pass over it would give octets that nobody asked
    // for.
    if (arguments.has("--prefixes") && !arguments.has("--exclusive")) {
        complain(withRemedy("--prefixes is for --exclusive only", "--exclusive"));
        return kCannotTell;
    }
    // An empty Id would silently mean the whole document.
    if (const std::string* const id = arguments.last("--id"); id != nullptr && id->empty()) {
        complain(withRemedy("--id needs an Id", "no --id, for the whole document"));
        return kCannotTell;
    }
    return forEachFile(arguments, true,
                       [&arguments](const std::string& name, std::string& complaint) {
                           return runFile(arguments, name, complaint);
                       });
}

} // namespace vantrel::cli
