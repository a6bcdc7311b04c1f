#include "cli/input.h"

#include <vantrel/_vlLogger.h>
#include <vantrel/files.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

// Documents are read whole: canonicalization needs the text at hand, and the library addresses it
// by offsets of 32 bits. Only lists of names, which have no limit, are read line by line.
namespace vantrel::cli {

bool readInput(const std::string& name, DataBuffer& bytes, std::string& complaint) {
    _vlLogger log;
    // Both stop at the limit instead of reading on: an endless pipe is refused, not swallowed.
    const bool ok = name == "-" ? io::readStandardInput(kMaxInputSize, bytes, log)
                                : io::readFile(name, kMaxInputSize, bytes, log);
    if (!ok) {
        complaint = log.lastErrorLine();
    }
    return ok;
}

NameSource::~NameSource() {
    if (m_list != nullptr && m_list != stdin) {
        std::fclose(m_list);
    }
}

bool NameSource::openList(const std::string& path, std::string& complaint) {
    // "e": closed in programs that this one might start.
    m_list = path == "-" ? stdin : std::fopen(path.c_str(), "re");
    if (m_list == nullptr) {
        complaint = path + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

bool NameSource::next(std::string& name) {
    if (m_position < m_names.size()) {
        name = m_names[m_position++];
        return true;
    }
    if (m_list == nullptr) {
        return false;
    }
    // getline() grows the line as it needs to. A line may hold NUL bytes, hence its length is taken
    // from the call.
    char* line = nullptr;
    std::size_t capacity = 0;
    ssize_t length = 0;
    name.clear();
    while (name.empty() && (length = getline(&line, &capacity, m_list)) >= 0) {
        name.assign(line, static_cast<std::size_t>(length));
        while (!name.empty() && (name.back() == '\n' || name.back() == '\r')) {
            name.pop_back();
        }
    }
    std::free(line);
    return !name.empty();
}

} // namespace vantrel::cli
