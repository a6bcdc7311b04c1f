// SPDX-License-Identifier: MIT
#include "cli/confine.h"

#include <vantrel/sandbox.h>

#include <cstddef>

namespace vantrel::cli {

namespace {

// Each name costs some calls of the system; a document costs more, but with very many of them the
// names alone would be felt. Reading is then left as it is.
constexpr std::size_t kMostNamesBound = 256;

// Folders may hold links to files elsewhere, which were meant when the folder was named.
bool knowsAllNames(const Arguments& arguments, Names names) {
    return names == Names::Now && !arguments.has("--files-from") && !arguments.has("--recursive") &&
           arguments.operands().size() <= kMostNamesBound;
}

} // namespace

void confine(const Arguments& arguments, const VerifySettings& settings, Names names) {
    if (arguments.has("--no-sandbox")) {
        return;
    }
    sandbox::Needs needs;
    needs.anyFile = !knowsAllNames(arguments, names);
    if (!needs.anyFile) {
        needs.readable = arguments.operands();
        std::erase(needs.readable, "-");
        const std::vector<std::string>& folders = settings.options().referenceFolders;
        needs.readable.insert(needs.readable.end(), folders.begin(), folders.end());
        for (const ReferenceData& data : settings.options().referenceData) {
            needs.readable.push_back(data.file);
        }
    }
    const std::string* const output = arguments.last("--output");
    if (output != nullptr && *output != "-") {
        needs.written = *output;
    }
    // What could not be had is no reason to verify nothing: it is said by `version --verbose`.
    static_cast<void>(sandbox::enter(needs));
}

std::string sandboxLine() {
    if (!sandbox::isBuilt()) {
        return "sandbox: not in this build\n";
    }
    const sandbox::Bounds bounds = sandbox::available();
    std::string out;
    if (bounds.landlock > 0) {
        out = "Landlock " + std::to_string(bounds.landlock);
    }
    if (bounds.calls) {
        out += std::string(out.empty() ? "" : ", ") + "seccomp";
    }
    return "sandbox: " + (out.empty() ? "none, the kernel has neither Landlock nor seccomp" : out) +
           "\n";
}

} // namespace vantrel::cli
