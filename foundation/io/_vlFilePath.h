// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_VLFILEPATH_H
#define FOUNDATION_IO_VLFILEPATH_H

namespace vantrel {

class LogBase;
class XString;

// Paths as texts; nothing here looks at the file system.
class _vlFilePath final {
public:
    _vlFilePath() = delete;

    // out := dir, one "/", name. An empty part brings no separator.
    static bool CombineDirAndFilepath(const XString& dir, const XString& name, XString& out);
};

class FileSys final {
public:
    FileSys() = delete;

    // True for a regular file, links followed.
    [[nodiscard]] static bool fileExistsX(const XString& path) noexcept;

    // Looks for the regular file `name` in or below `dir` and yields its path with all links
    // resolved. `name` comes from a document and is not trusted: an absolute name, one with a ".."
    // component, and one that leads out of `dir` through a link count as not found, as does
    // anything but a regular file; an info line then says why. `path` changes only on success.
    [[nodiscard]] static bool findFileBelow(const XString& dir, const XString& name, XString& path,
                                            LogBase& log);
};

} // namespace vantrel

#endif
