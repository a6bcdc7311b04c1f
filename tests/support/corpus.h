// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_CORPUS_H
#define TESTS_SUPPORT_CORPUS_H

#include <string>

#include <gtest/gtest.h>

// Where tests find their data. The shared corpus is a folder of outside test suites that lies
// beside the source tree (../shared) or where the environment variable VANTREL_SHARED points; it is
// never part of the tree, and a test that needs it is skipped, with a message, where it is absent.
namespace vantrel::test {

// Full path of a file below the source tree, below tests/vectors, below the build tree.
[[nodiscard]] std::string sourcePath(const std::string& relative);
[[nodiscard]] std::string vectorPath(const std::string& relative);
[[nodiscard]] std::string binaryPath(const std::string& relative);

// The shared folder, or "" when there is none.
[[nodiscard]] const std::string& sharedFolder();
// Full path below the shared folder, or "" when it does not exist.
[[nodiscard]] std::string sharedPath(const std::string& relative);
// The same below its corpus.
[[nodiscard]] std::string corpusPath(const std::string& relative);

[[nodiscard]] bool fileExists(const std::string& path);

} // namespace vantrel::test

// Declares `path` as the full path of `relative` below the corpus, or skips the test.
#define VANTREL_NEED_CORPUS(path, relative)                                                        \
    const std::string path = ::vantrel::test::corpusPath(relative);                                \
    if (path.empty()) {                                                                            \
        GTEST_SKIP() << "the shared corpus has no " << (relative)                                  \
                     << " (looked beside the source tree and in VANTREL_SHARED)";                  \
    }                                                                                              \
    static_assert(true)

#endif
