#include "cli/file_acceptance.h"

#include <vantrel/json_value.h>

#include <algorithm>

namespace vantrel::cli {

// The library judges a signature and says so in the report; the tool reads it there, so that the
// file can say nothing else than its signatures do.
bool FileAcceptance::add(std::string_view json) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, value, faultAt)) {
        return false;
    }
    const json::JsonValue* const accepted = value.find("accepted");
    const json::JsonValue* const refusals = value.find("refusals");
    if (accepted == nullptr || refusals == nullptr) {
        return false;
    }
    // Both members are there whenever there is a policy; one that is missing was not judged.
    ++m_signatures;
    m_accepted += accepted->kind() == json::JsonValue::Kind::True ? 1 : 0;
    // Each code once for the file, in the order in which they are met.
    for (const json::JsonValue& code : refusals->elements()) {
        const std::string word(code.text());
        if (std::ranges::find(m_refusals, word) == m_refusals.end()) {
            m_refusals.push_back(word);
        }
    }
    return true;
}

void FileAcceptance::write(bool accepted, json::JsonWriter& out) const {
    out.booleanMember("accepted", accepted);
    out.key("refusals");
    out.beginArray();
    // With --accept any a file may be accepted though one of its signatures is not: its codes would
    // then read as reasons against the file.
    if (!accepted) {
        for (const std::string& code : m_refusals) {
            out.text(code);
        }
    }
    out.endArray();
}

} // namespace vantrel::cli
