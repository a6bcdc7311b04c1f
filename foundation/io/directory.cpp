// SPDX-License-Identifier: MIT
#include "foundation/io/directory.h"

#include "foundation/text/LogBase.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace vantrel::io {

namespace fs = std::filesystem;

bool isDirectory(std::string_view path) {
    std::error_code error;
    return fs::is_directory(fs::path(path), error);
}

bool listFiles(std::string_view directory, std::vector<std::string>& paths, LogBase& log) {
    std::vector<std::string> found;
    std::error_code error;
    fs::directory_iterator entry(fs::path(directory), error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code unreadable; // of one entry: it is passed over
        if (entry->is_regular_file(unreadable)) {
            found.push_back(entry->path().string());
        }
    }
    if (error) {
        log.LogError("The directory cannot be read.");
        log.logText("directory", directory);
        return false;
    }
    std::sort(found.begin(), found.end());
    std::move(found.begin(), found.end(), std::back_inserter(paths));
    return true;
}

} // namespace vantrel::io
