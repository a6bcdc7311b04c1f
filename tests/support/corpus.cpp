// SPDX-License-Identifier: MIT
#include "tests/support/corpus.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace vantrel::test {

namespace {

std::string findSharedFolder() {
    std::error_code ignored;
    const char* const named = std::getenv("VANTREL_SHARED");
    if (named != nullptr) {
        return std::filesystem::is_directory(named, ignored) ? named : "";
    }
    const std::filesystem::path beside =
        std::filesystem::path(VANTREL_SOURCE_DIR).parent_path() / "shared";
    return std::filesystem::is_directory(beside / "corpus", ignored) ? beside.string() : "";
}

} // namespace

std::string sourcePath(const std::string& relative) {
    return std::string(VANTREL_SOURCE_DIR) + "/" + relative;
}

std::string vectorPath(const std::string& relative) {
    return sourcePath("tests/vectors/" + relative);
}

std::string binaryPath(const std::string& relative) {
    return std::string(VANTREL_BINARY_DIR) + "/" + relative;
}

const std::string& sharedFolder() {
    static const std::string folder = findSharedFolder();
    return folder;
}

std::string sharedPath(const std::string& relative) {
    if (sharedFolder().empty()) {
        return "";
    }
    const std::string path = sharedFolder() + "/" + relative;
    return fileExists(path) ? path : "";
}

std::string corpusPath(const std::string& relative) { return sharedPath("corpus/" + relative); }

bool fileExists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

} // namespace vantrel::test
