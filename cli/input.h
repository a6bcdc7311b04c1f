// SPDX-License-Identifier: MIT
#ifndef CLI_INPUT_H
#define CLI_INPUT_H

#include "cli/options.h"
#include <vantrel/DataBuffer.h>
#include <vantrel/random_access.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::cli {

inline constexpr std::uint32_t kMaxInputSize = 0x7FFFFFFF; // 2 GiB - 1, as the library's limit

// Reads a file, or standard input for "-", to its end; `bytes` then hold it all. False, with the
// reason in `complaint`, when it cannot be read or is larger than kMaxInputSize; `bytes` are then
// of no use. A file whose name is "-" is reached as "./-".
[[nodiscard]] bool readInput(const std::string& name, DataBuffer& bytes, std::string& complaint);

// The same, but a package stays where it is and is handed out instead: a large file is then not
// held as a whole. `package` is null for anything else.
[[nodiscard]] bool readInput(const std::string& name, DataBuffer& bytes,
                             std::shared_ptr<const io::RandomAccess>& package,
                             std::string& complaint);

// The same for a file that an option names; the complaint begins with both names.
[[nodiscard]] bool readOptionFile(std::string_view option, const std::string& path,
                                  DataBuffer& bytes, std::string& complaint);
// The complaint about such a file or folder by the system's reason, a value of errno, with what
// helps against it; `otherwise` where it is 0.
[[nodiscard]] std::string whyNotRead(std::string_view option, const std::string& path,
                                     int systemError, std::string_view otherwise);

// What is said when directories were named and hold no file (NameSource::foundNothing).
inline constexpr std::string_view kNothingFound = "there is no file below the directories";

// The names of the files to work on, one after another: the operands, then the names in the file
// given with --files-from, which is read as the work goes on, so that a list may come from a
// program that is still writing it. With --recursive a name of a directory stands for the files
// below it, in the order of their names. Owns the list's stream, standard input apart. Not for
// several threads at once.
class NameSource final {
public:
    NameSource() = default;
    NameSource(const NameSource&) = delete;
    NameSource& operator=(const NameSource&) = delete;
    ~NameSource();

    // Takes what the command line names; called once. Where it names nothing, standard input is
    // meant if `inputByDefault`. False, with the reason in `complaint`, for a usage error: no file
    // at all, standard input named twice, a list that cannot be opened.
    [[nodiscard]] bool open(const Arguments& arguments, bool inputByDefault,
                            std::string& complaint);
    // False at the end; with `mayWait` false also where a list is to be read whose writer may be
    // waited for. A line of a list ends in LF or CRLF, with --null in NUL; empty ones are
    // passed over. A read error ends the list.
    [[nodiscard]] bool next(std::string& name, bool mayWait);
    // The number of names, 0 when a list or a directory makes it unknown: for the progress bar and
    // the threads.
    [[nodiscard]] std::size_t total() const noexcept { return m_total; }
    // Whether directories were named and no file was found in any of them, nor elsewhere; known at
    // the end. A list may be empty, since nobody chose that.
    [[nodiscard]] bool foundNothing() const noexcept { return m_recursive && m_found == 0; }

private:
    [[nodiscard]] bool nextLine(std::string& name);
    // False when it cannot be listed.
    [[nodiscard]] bool expand(const std::string& directory);

    std::vector<std::string> m_names; // still to come, the next one last
    std::size_t m_total = 0;
    std::size_t m_found = 0;
    bool m_recursive = false;
    char m_lineEnd = '\n';
    std::FILE* m_list = nullptr;
    bool m_listIsFile = false; // all of it is there
};

} // namespace vantrel::cli

#endif
