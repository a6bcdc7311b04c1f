#ifndef CLI_INPUT_H
#define CLI_INPUT_H

#include <vantrel/DataBuffer.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace vantrel::cli {

inline constexpr std::uint32_t kMaxInputSize = 0x7FFFFFFF; // 2 GiB - 1, as the library's limit

// Reads a file, or standard input for "-", to its end; `bytes` then hold it all. False, with the
// reason in `complaint`, when it cannot be read or is larger than kMaxInputSize; `bytes` are then
// of no use. A file whose name is "-" is reached as "./-".
[[nodiscard]] bool readInput(const std::string& name, DataBuffer& bytes, std::string& complaint);

// The names of the files to work on, one after another: the operands, then the lines of the file
// given with --files-from, which is read as the work goes on, so that a list may come from a
// program that is still writing it. Owns the list's stream, standard input apart. Not for several
// threads at once.
class NameSource final {
public:
    explicit NameSource(std::vector<std::string> names) : m_names(std::move(names)) {}
    NameSource(const NameSource&) = delete;
    NameSource& operator=(const NameSource&) = delete;
    ~NameSource();

    // Adds the lines of a file to the names; "-" is standard input. Called once at most. False,
    // with the reason in `complaint`, when it cannot be opened.
    [[nodiscard]] bool openList(const std::string& path, std::string& complaint);
    // False at the end. A line ends in LF or CRLF; empty ones are passed over. A read error ends
    // the list.
    [[nodiscard]] bool next(std::string& name);
    // The number of names, 0 when a list makes it unknown: for the progress bar and the threads.
    [[nodiscard]] std::size_t total() const noexcept {
        return m_list == nullptr ? m_names.size() : 0;
    }

private:
    std::vector<std::string> m_names;
    std::size_t m_position = 0;
    std::FILE* m_list = nullptr;
};

} // namespace vantrel::cli

#endif
