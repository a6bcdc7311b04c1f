#ifndef CLI_DOCUMENT_H
#define CLI_DOCUMENT_H

#include "cli/commands.h"
#include <vantrel/ClsXmlDSig.h>

#include <functional>
#include <string>

namespace vantrel::cli {

// Loads one file into `verifier`. False, with the reason in `complaint`.
[[nodiscard]] bool loadDocument(const std::string& name, ClsXmlDSig& verifier,
                                std::string& complaint);

// Runs `work` on every operand (or on standard input where none is given and that is allowed) and
// returns the highest exit code. What `work` leaves in `complaint` is printed with the file's name.
[[nodiscard]] int forEachFile(
    const Arguments& arguments, bool inputByDefault,
    const std::function<int(const std::string& name, std::string& complaint)>& work);

} // namespace vantrel::cli

#endif
