// `xmldsig c14n`: the canonical form of a document or of one of its elements.

#include "cli/commands.h"
#include "cli/document.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/_vlLogger.h>

namespace vantrel::cli {

namespace {

bool canonicalize(const Arguments& arguments, XString& document, XString& canonical,
                  std::string& complaint) {
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
    complaint = line.isEmpty() ? "the document cannot be canonicalized"
                               : std::string(line.getUtf8Sb().view());
    return false;
}

int runFile(const Arguments& arguments, const std::string& name, std::string& complaint) {
    DataBuffer bytes;
    if (!readInput(name, bytes, complaint)) {
        return kCannotTell;
    }
    _vlLogger log;
    if (!bytes.convertXmlToUtf8(log)) {
        complaint = log.lastErrorLine();
        return kCannotTell;
    }
    XString document;
    document.getUtf8Sb_rw().takeFromDb(bytes);
    XString canonical;
    if (!canonicalize(arguments, document, canonical, complaint)) {
        return kCannotTell;
    }
    writeOutput(canonical.getUtf8Sb().view());
    return kEverythingHolds;
}

int runC14n(const Arguments& arguments) {
    if (arguments.has("--prefixes") && !arguments.has("--exclusive")) {
        complain("--prefixes is for --exclusive only");
        return kCannotTell;
    }
    if (const std::string* const id = arguments.last("--id"); id != nullptr && id->empty()) {
        complain("--id needs an Id");
        return kCannotTell;
    }
    return forEachFile(arguments, true,
                       [&arguments](const std::string& name, std::string& complaint) {
                           return runFile(arguments, name, complaint);
                       });
}

} // namespace

Command c14nCommand() {
    return {"c14n",
            "[options] [FILE]",
            "Writes the canonical form of a document, byte for byte.",
            {{"--exclusive", "", "Exclusive XML Canonicalization 1.0 (default: Canonical XML 1.0)"},
             {"--with-comments", "", "keep comments"},
             {"--id", "ID", "only the element with this Id and its subtree"},
             {"--prefixes", "LIST", "InclusiveNamespaces prefix list (exclusive only)"}},
            runC14n};
}

} // namespace vantrel::cli
