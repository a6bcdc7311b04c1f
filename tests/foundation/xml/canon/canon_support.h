// SPDX-License-Identifier: MIT
#ifndef TESTS_FOUNDATION_XML_CANON_CANON_SUPPORT_H
#define TESTS_FOUNDATION_XML_CANON_CANON_SUPPORT_H

#include "foundation/xml/canon/XmlCanon.h"
#include "tests/support/recording_log.h"

#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace vantrel::test {

// One canonicalization: what is asked, and the octets or nothing.
struct CanonCall {
    std::string form = "inc"; // "inc" or "exc", "+c" for comments
    std::string prefixes = {};
    std::string id = {};
    unsigned offset = 0;
};

inline void setUp(XmlCanon& canon, const CanonCall& call) {
    canon.m_method = call.form.starts_with("exc") ? 2 : 1;
    canon.m_withComments = call.form.ends_with("+c");
    std::istringstream list(call.prefixes);
    for (std::string prefix; list >> prefix;) {
        canon.m_inclusivePrefixes.appendView(prefix);
    }
}

// `text` after a marker that must stay in the output buffer, since results are appended.
inline std::optional<std::string> run(XmlCanon& canon, const StringBuffer& text,
                                      const CanonCall& call, RecordingLog& log) {
    constexpr std::string_view kBefore = "before";
    StringBuffer out{kBefore};
    const bool ok = canon.xmlCanonicalize(text, call.id.empty() ? nullptr : call.id.c_str(),
                                          call.offset, out, log);
    if (!out.view().starts_with(kBefore) || (!ok && out.view() != kBefore)) {
        return "the output buffer was not appended to";
    }
    return ok ? std::optional<std::string>(out.view().substr(kBefore.size())) : std::nullopt;
}

inline std::optional<std::string> canonical(std::string_view text, const CanonCall& call) {
    XmlCanon canon;
    setUp(canon, call);
    RecordingLog log;
    return run(canon, StringBuffer{text}, call, log);
}

} // namespace vantrel::test

#endif
