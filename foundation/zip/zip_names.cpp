// SPDX-License-Identifier: MIT
#include "foundation/zip/zip_names.h"

#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"

#include <algorithm>

namespace vantrel::zip {

namespace {

// They hide in listings, and end a name early for programs in C.
bool isControl(char c) noexcept {
    return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) == 0x7F;
}

// "C:", "c:x"
bool hasDrive(std::string_view name) noexcept {
    const char letter = name.empty() ? '\0' : text::toLowerAscii(name[0]);
    return name.size() > 1 && name[1] == ':' && letter >= 'a' && letter <= 'z';
}

} // namespace

std::string foldedName(std::string_view name) {
    std::string folded(name);
    for (char& c : folded) {
        c = c == '\\' ? '/' : text::toLowerAscii(c);
    }
    if (folded.ends_with('/')) {
        folded.pop_back();
    }
    return folded;
}

std::string_view faultOfName(std::string_view name) {
    if (name.empty()) {
        return "has no name";
    }
    // An archive that does not say so may mean the code page of the machine that wrote it; only
    // what is UTF-8 reads the same everywhere.
    if (!text::isValidUtf8(name)) {
        return "has a name that is not UTF-8";
    }
    if (std::any_of(name.begin(), name.end(), isControl)) {
        return "has a control character in its name";
    }
    if (name[0] == '/' || name[0] == '\\' || hasDrive(name)) {
        return "has an absolute name";
    }
    // Backslashes divide, too, since they do where the archive may be unpacked.
    std::string steps = foldedName(name);
    for (std::size_t at = 0; at <= steps.size();) {
        const std::size_t end = std::min(steps.find('/', at), steps.size());
        const std::string_view step = std::string_view(steps).substr(at, end - at);
        if (step == "..") {
            return "has a name that leads out of its folder";
        }
        if (step.empty() || step == ".") {
            return "has a name with an empty step";
        }
        at = end + 1;
    }
    return {};
}

} // namespace vantrel::zip
