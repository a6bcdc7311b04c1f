// SPDX-License-Identifier: MIT
#include "foundation/io/_vlFilePath.h"

#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <sys/stat.h>

namespace vantrel {

namespace {

struct FreeText {
    void operator()(char* text) const noexcept { std::free(text); }
};
using SystemText = std::unique_ptr<char, FreeText>;

bool isRegularFile(const char* path) noexcept {
    struct stat status {};
    return ::stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

bool hasParentStep(std::string_view name) noexcept {
    while (!name.empty()) {
        const std::size_t end = std::min(name.find('/'), name.size());
        if (name.substr(0, end) == "..") {
            return true;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return false;
}

// Why a name may not be looked for; null when it may.
const char* refusalOf(std::string_view name) noexcept {
    if (name.empty()) {
        return "The external file has no name.";
    }
    if (name.find('\0') != std::string_view::npos) {
        return "The name of the external file holds a NUL character.";
    }
    if (name.front() == '/') {
        return "The external file is not taken: its path is absolute.";
    }
    if (hasParentStep(name)) {
        return "The external file is not taken: its path climbs with \"..\".";
    }
    return nullptr;
}

bool isBelow(std::string_view path, std::string_view dir) noexcept {
    if (!dir.ends_with('/')) {
        return path.size() > dir.size() && path.starts_with(dir) && path[dir.size()] == '/';
    }
    return path.size() > dir.size() && path.starts_with(dir);
}

} // namespace

bool _vlFilePath::CombineDirAndFilepath(const XString& dir, const XString& name, XString& out) {
    StringBuffer joined(dir.getUtf8Sb());
    const bool divided = joined.isEmpty() || name.isEmpty() || joined.endsWith("/");
    if ((!divided && !joined.appendChar('/')) || !joined.append(name.getUtf8Sb())) {
        return false;
    }
    return out.setFromSbUtf8(joined);
}

bool FileSys::fileExistsX(const XString& path) noexcept {
    const std::string_view text = path.getUtf8Sb().view();
    return text.find('\0') == std::string_view::npos && isRegularFile(path.getUtf8());
}

bool FileSys::findFileBelow(const XString& dir, const XString& name, XString& path, LogBase& log) {
    if (const char* const refusal = refusalOf(name.getUtf8Sb().view()); refusal != nullptr) {
        log.LogInfo(refusal);
        return false;
    }
    XString joined;
    if (!_vlFilePath::CombineDirAndFilepath(dir, name, joined)) {
        return false;
    }
    const SystemText base(::realpath(dir.getUtf8(), nullptr));
    if (!base) {
        log.LogInfo("The directory for external files does not exist.");
        return false;
    }
    const SystemText resolved(::realpath(joined.getUtf8(), nullptr));
    if (!resolved) {
        log.LogInfo("The directory holds no such file.");
        return false;
    }
    if (!isBelow(resolved.get(), base.get())) {
        log.LogInfo("The external file is not taken: a link leads out of the directory.");
        return false;
    }
    if (!isRegularFile(resolved.get())) {
        log.LogInfo("The external file is not taken: it is no regular file.");
        return false;
    }
    return path.setFromUtf8(resolved.get());
}

} // namespace vantrel
