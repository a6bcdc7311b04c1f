// SPDX-License-Identifier: MIT
#ifndef CLI_FOREIGN_FORMAT_H
#define CLI_FOREIGN_FORMAT_H

#include <vantrel/byte_view.h>

#include <string>
#include <string_view>

namespace vantrel::cli {

// What a file is that could not be read as XML, where its first bytes say so: a complaint that
// names the format and what to do with such a file (terminal.h), else `otherwise`, which is why it
// could not be read. Asked only when reading has failed: a document that is read is XML, whatever
// it looks like. `name`: the file's, for the command that helps.
[[nodiscard]] std::string orForeignFormat(ByteView bytes, std::string_view name,
                                          std::string_view otherwise);

// The complaint about an archive that is no package with signatures.
[[nodiscard]] std::string noPackage(std::string_view name);

// What helps with one that cannot be read, added to a complaint about that; others stay.
[[nodiscard]] std::string withArchiveRemedy(const std::string& complaint, std::string_view name);

// A remedy in which every FILE is replaced by the name, quoted for a shell where it needs that.
[[nodiscard]] std::string withFileName(std::string_view remedy, std::string_view name);

} // namespace vantrel::cli

#endif
