#include "cli/document.h"

#include "cli/foreign_format.h"
#include "cli/input.h"
#include "cli/terminal.h"
#include <vantrel/ClsBinData.h>

#include <algorithm>
#include <string_view>

// One document after the other, each read whole, worked on, and gone before the next one.
namespace vantrel::cli {

bool loadDocument(const std::string& name, ClsXmlDSig& verifier, std::string& complaint) {
    ClsBinData bytes;
    if (!readInput(name, bytes.data(), complaint)) {
        return false;
    }
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
