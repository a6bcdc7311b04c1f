#include "cli/file_acceptance.h"

#include <vantrel/json_value.h>

#include <algorithm>

namespace vantrel::cli {

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
    ++m_signatures;
    m_accepted += accepted->kind() == json::JsonValue::Kind::True ? 1 : 0;
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
    if (!accepted) {
        for (const std::string& code : m_refusals) {
            out.text(code);
        }
    }
    out.endArray();
}

} // namespace vantrel::cli
