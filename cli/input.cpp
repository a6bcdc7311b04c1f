// SPDX-License-Identifier: MIT
#include "cli/input.h"

#include "cli/terminal.h"
#include <vantrel/_vlLogger.h>
#include <vantrel/files.h>
#include <vantrel/package_run.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <system_error>

#include <sys/stat.h>

// The only place of the tool that reads what it is given by name. Documents are read whole:
// canonicalization needs the text at hand, and the library addresses it by offsets of 32 bits. Only
// lists of names, which have no limit, are read line by line.
namespace vantrel::cli {

namespace {

// A list of names may be wrong from the first to the last, and a directory large: a guess is made
// for the first few names only, and among so many files.
constexpr int kMostGuesses = 10;
constexpr std::size_t kMostCandidates = 10000;
std::atomic<int> g_guesses = 0; // files are read on several threads

// The name in the same directory that is nearest to one that is not there; empty when none is near.
std::string nearestName(const std::string& name) {
    namespace fs = std::filesystem;
    if (g_guesses.fetch_add(1) >= kMostGuesses) {
        return "";
    }
    const fs::path path(name);
    std::vector<std::string> names;
    std::error_code problem;
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    fs::directory_iterator place(folder, problem);
    for (; !problem && place != fs::directory_iterator() && names.size() < kMostCandidates;
         place.increment(problem)) {
        names.push_back(place->path().filename().string());
    }
    const std::string wanted = path.filename().string();
    const std::vector<std::string_view> candidates(names.begin(), names.end());
    const std::string_view found = nearest(wanted, candidates);
    return found.empty() ? "" : (path.parent_path() / found).string();
}

// The system's reason in words, and what helps against it: a name that was probably meant, the
// right to read, or, for a directory, `insteadOfDirectory`. Reasons beyond these three are rare,
// and what helps against them is not for this tool to say.
std::string unreadable(const std::string& name, int systemError, std::string_view otherwise,
                       const std::string& insteadOfDirectory) {
    switch (systemError) {
    case 0: return std::string(otherwise);
    case ENOENT: {
        const std::string near = nearestName(name);
        const std::string folder = std::filesystem::path(name).parent_path().string();
        return withRemedy(std::strerror(systemError),
                          near.empty() ? "ls " + shellWord(folder.empty() ? "." : folder)
                                       : shellWord(near));
    }
    case EACCES: return withRemedy(std::strerror(systemError), "chmod +r " + shellWord(name));
    case EISDIR: return withRemedy(std::strerror(systemError), insteadOfDirectory);
    default: return std::strerror(systemError);
    }
}

} // namespace

bool readInput(const std::string& name, DataBuffer& bytes, std::string& complaint) {
    _vlLogger log;
    int systemError = 0;
    // Both stop at the limit instead of reading on: an endless pipe is refused, not swallowed.
    const bool ok = name == "-" ? io::readStandardInput(kMaxInputSize, bytes, log)
                                : io::readFile(name, kMaxInputSize, bytes, systemError, log);
    if (!ok) {
        complaint = unreadable(name, systemError, log.lastErrorLine(), "-r " + shellWord(name));
    }
    return ok;
}

// Only a large file is looked at beforehand: what that costs would be felt with many small ones.
bool readInput(const std::string& name, DataBuffer& bytes,
               std::shared_ptr<const io::RandomAccess>& package, std::string& complaint) {
    _vlLogger log;
    int systemError = 0;
    auto large = std::make_unique<io::FileAccess>();
    const bool ok = name == "-" ? io::readStandardInput(kMaxInputSize, bytes, log)
                                : io::readFileUnless(api::isPackage, name, kMaxInputSize, bytes,
                                                     *large, systemError, log);
    if (!ok) {
        complaint = unreadable(name, systemError, log.lastErrorLine(), "-r " + shellWord(name));
        return false;
    }
    if (large->isOpen()) {
        package = std::move(large);
    } else if (api::isPackage(bytes.view())) {
        package = std::make_shared<io::MemoryAccess>(bytes);
    }
    return true;
}

bool readOptionFile(std::string_view option, const std::string& path, DataBuffer& bytes,
                    std::string& complaint) {
    _vlLogger log;
    int systemError = 0;
    const bool ok = path == "-" ? io::readStandardInput(kMaxInputSize, bytes, log)
                                : io::readFile(path, kMaxInputSize, bytes, systemError, log);
    if (!ok) {
        complaint = whyNotRead(option, path, systemError, log.lastErrorLine());
    }
    return ok;
}

std::string whyNotRead(std::string_view option, const std::string& path, int systemError,
                       std::string_view otherwise) {
    const std::string given = std::string(option) + " ";
    return given + path + ": " +
           unreadable(path, systemError, otherwise, given + shellWord(path + "/FILE"));
}

NameSource::~NameSource() {
    if (m_list != nullptr && m_list != stdin) {
        std::fclose(m_list);
    }
}

bool NameSource::open(const Arguments& arguments, bool inputByDefault, std::string& complaint) {
    const std::string* const list = arguments.last("--files-from");
    m_names = arguments.operands();
    m_recursive = arguments.has("--recursive");
    if (arguments.has("--null")) {
        m_lineEnd = '\0';
    }
    // Without a list it would mean nothing, and whoever wrote it thinks that it does.
    if (list == nullptr && arguments.has("--null")) {
        complaint = withRemedy("--null is for --files-from only", "--files-from FILE");
        return false;
    }
    if (m_names.empty() && list == nullptr && inputByDefault) {
        m_names.emplace_back("-");
    }
    // Two readers of standard input would each get a part of it.
    const auto inputs = std::count(m_names.begin(), m_names.end(), "-");
    if (inputs + (list != nullptr && *list == "-" ? 1 : 0) > 1) {
        complaint =
            withRemedy("the standard input can be read only once", "./- for a file with that name");
        return false;
    }
    if (m_names.empty() && list == nullptr) {
        complaint = withRemedy("no file is named", "- for the standard input");
        return false;
    }
    // Directories are not gone through beforehand just to count: work begins with the first file.
    m_total = list != nullptr || m_recursive ? 0 : m_names.size();
    // The next name is taken from the end, where files of a directory can be put in its place.
    std::reverse(m_names.begin(), m_names.end());
    if (list == nullptr) {
        return true;
    }
    // "e": closed in programs that this one might start.
    m_list = *list == "-" ? stdin : std::fopen(list->c_str(), "re");
    int systemError = errno;
    std::error_code ignored;
    // Opening one succeeds, and reading it would pass for an empty list.
    if (m_list != nullptr && *list != "-" && std::filesystem::is_directory(*list, ignored)) {
        systemError = EISDIR;
    } else if (m_list != nullptr) {
        struct stat facts {};
        m_listIsFile = ::fstat(::fileno(m_list), &facts) == 0 && S_ISREG(facts.st_mode);
        return true;
    }
    complaint = whyNotRead("--files-from", *list, systemError, "it cannot be opened");
    return false;
}

bool NameSource::next(std::string& name, bool mayWait) {
    // A loop, since a directory may hold nothing.
    for (;;) {
        if (!m_names.empty()) {
            name = std::move(m_names.back());
            m_names.pop_back();
        } else if (m_list == nullptr || !(mayWait || m_listIsFile) || !nextLine(name)) {
            return false;
        }
        std::error_code ignored;
        const bool directory =
            m_recursive && name != "-" && std::filesystem::is_directory(name, ignored);
        // One that cannot be listed is left to its reader, who finds out why.
        if (!directory || !expand(name)) {
            ++m_found;
            return true;
        }
    }
}

bool NameSource::nextLine(std::string& name) {
    // getdelim() grows the line as it needs to. A line may hold NUL bytes, hence its length is
    // taken from the call.
    char* line = nullptr;
    std::size_t capacity = 0;
    ssize_t length = 0;
    name.clear();
    while (name.empty() && (length = getdelim(&line, &capacity, m_lineEnd, m_list)) >= 0) {
        name.assign(line, static_cast<std::size_t>(length));
        if (name.ends_with(m_lineEnd)) {
            name.pop_back();
        }
        // Between NULs a name is meant as it stands.
        while (m_lineEnd == '\n' && name.ends_with('\r')) {
            name.pop_back();
        }
    }
    std::free(line);
    return !name.empty();
}

// One directory at a time, so that memory grows with the largest of them and their depth only.
bool NameSource::expand(const std::string& directory) {
    namespace fs = std::filesystem;
    std::error_code problem;
    std::vector<std::string> found;
    fs::directory_iterator place(directory, problem);
    for (; !problem && place != fs::directory_iterator(); place.increment(problem)) {
        std::error_code ignored;
        // A link to a directory could lead back to where we are; pipes and devices wait for ever.
        const bool below = place->is_directory(ignored) && !place->is_symlink(ignored);
        if (below || place->is_regular_file(ignored)) {
            found.push_back(place->path().string());
        }
    }
    if (problem) {
        return false;
    }
    // The system lists them in any order; a report that changes with it could not be compared.
    std::sort(found.begin(), found.end(), std::greater<>());
    m_names.insert(m_names.end(), std::make_move_iterator(found.begin()),
                   std::make_move_iterator(found.end()));
    return true;
}

} // namespace vantrel::cli
