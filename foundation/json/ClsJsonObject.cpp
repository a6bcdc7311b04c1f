// SPDX-License-Identifier: MIT
#include "foundation/json/ClsJsonObject.h"

#include "foundation/base/CritSecExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/json/json_writer.h"
#include "foundation/text/no_throw.h"
#include "foundation/text/strings.h"

#include <charconv>
#include <exception>
#include <new>
#include <utility>

namespace vantrel {

namespace {

using json::JsonValue;

// One step of a path: a member's name, or an index.
struct Step {
    std::string_view name;
    std::size_t index = 0;
    bool isIndex = false;
};

// Takes the first step off a path that is not empty. False when the path is malformed.
bool takeStep(std::string_view& path, Step& step) noexcept {
    if (path.front() == '[') {
        const std::size_t close = path.find(']');
        if (close == std::string_view::npos) {
            return false;
        }
        const char* const end = path.data() + close;
        const auto [stop, error] = std::from_chars(path.data() + 1, end, step.index);
        step.isIndex = true;
        path.remove_prefix(close + 1);
        if (error != std::errc() || stop != end) {
            return false;
        }
    } else {
        step.name = path.substr(0, path.find_first_of(".["));
        step.isIndex = false;
        path.remove_prefix(step.name.size());
        if (step.name.empty()) {
            return false;
        }
    }
    if (path.starts_with('.')) {
        path.remove_prefix(1);
        return !path.empty() && path.front() != '[';
    }
    return path.empty() || path.front() == '[';
}

const JsonValue* follow(const JsonValue& from, const Step& step) noexcept {
    if (!step.isIndex) {
        return from.find(step.name);
    }
    return step.index < from.elements().size() ? &from.elements()[step.index] : nullptr;
}

JsonValue::Kind containerFor(const Step& step) noexcept {
    return step.isIndex ? JsonValue::Kind::Array : JsonValue::Kind::Object;
}

// True when the whole path can be followed or made: what is there is of the right kind, what is not
// there begins at the next index.
bool canMake(const JsonValue& root, std::string_view path) noexcept {
    const JsonValue* at = &root;
    std::size_t steps = 0;
    while (!path.empty()) {
        Step step;
        if (!takeStep(path, step) || ++steps >= json::kMaxJsonDepth) {
            return false;
        }
        if (at == nullptr || at->kind() == JsonValue::Kind::Null) {
            at = nullptr;
            if (step.index != 0) {
                return false;
            }
            continue;
        }
        if (at->kind() != containerFor(step) || step.index > at->elements().size()) {
            return false;
        }
        at = follow(*at, step);
    }
    return steps != 0;
}

// As follow(), but makes what is missing; only where canMake() agreed.
JsonValue& followOrMake(JsonValue& from, const Step& step) {
    if (from.kind() == JsonValue::Kind::Null) {
        from = JsonValue(containerFor(step));
    }
    if (step.isIndex) {
        return step.index < from.elements().size() ? from.elements()[step.index]
                                                   : from.elements().emplace_back();
    }
    if (JsonValue* const known = from.find(step.name); known != nullptr) {
        return *known;
    }
    json::JsonMember member;
    member.name = step.name;
    return from.members().emplace_back(std::move(member)).value;
}

} // namespace

ClsJsonObject* ClsJsonObject::createNewCls() {
    try {
        return new ClsJsonObject();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void ClsJsonObject::_toString(XString& out) { Emit(out); }

void ClsJsonObject::dotNetDispose() {
    ClsBase::dotNetDispose();
    Clear();
}

bool ClsJsonObject::Load(const XString& json) {
    return MethodFrame::runLater(*this, "Load", [&](MethodFrame& frame) {
        return frame.finish(load(json.getUtf8Sb().view(), m_log));
    });
}

bool ClsJsonObject::load(std::string_view json, LogBase& log) {
    JsonValue value;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, value, faultAt)) {
        log.LogError("The text is not valid JSON.");
        log.LogDataLong("byteOffset", static_cast<std::int64_t>(faultAt));
        return false;
    }
    if (!value.isObject()) {
        log.LogError("The JSON text is not an object.");
        return false;
    }
    m_root = std::move(value);
    return true;
}

bool ClsJsonObject::Emit(XString& json) {
    const CritSecExitor lock(m_critSec);
    json.clear();
    json::JsonWriter writer(json.getUtf8Sb_rw());
    writer.value(m_root);
    return writer.ok();
}

void ClsJsonObject::Clear() {
    const CritSecExitor lock(m_critSec);
    m_root = JsonValue(JsonValue::Kind::Object);
}

const JsonValue* ClsJsonObject::find(std::string_view path) const noexcept {
    const JsonValue* value = path.empty() ? nullptr : &m_root;
    while (value != nullptr && !path.empty()) {
        Step step;
        value = takeStep(path, step) ? follow(*value, step) : nullptr;
    }
    return value;
}

bool ClsJsonObject::stringOf(std::string_view path, StringBuffer& out) const {
    out.clear();
    const JsonValue* const value = find(path);
    if (value == nullptr || value->isArray() || value->isObject()) {
        return false;
    }
    switch (value->kind()) {
    case JsonValue::Kind::Null: return out.setView("null");
    case JsonValue::Kind::True: return out.setView("true");
    case JsonValue::Kind::False: return out.setView("false");
    default: return out.setView(value->text());
    }
}

std::int64_t ClsJsonObject::intOf(std::string_view path) const noexcept {
    const JsonValue* const value = find(path);
    std::int64_t number = 0;
    if (value != nullptr && !value->integer(number)) {
        const std::string_view text = value->text();
        static_cast<void>(std::from_chars(text.data(), text.data() + text.size(), number));
    }
    return number;
}

bool ClsJsonObject::boolOf(std::string_view path) const noexcept {
    const JsonValue* const value = find(path);
    if (value == nullptr) {
        return false;
    }
    switch (value->kind()) {
    case JsonValue::Kind::True: return true;
    case JsonValue::Kind::String: return text::equalsNoCase(value->text(), "true");
    case JsonValue::Kind::Number: return intOf(path) != 0;
    default: return false;
    }
}

bool ClsJsonObject::HasMember(const XString& path) {
    const CritSecExitor lock(m_critSec);
    return find(path.getUtf8Sb().view()) != nullptr;
}

int ClsJsonObject::SizeOfArray(const XString& path) {
    const CritSecExitor lock(m_critSec);
    const JsonValue* const value = find(path.getUtf8Sb().view());
    return value != nullptr && value->isArray() ? static_cast<int>(value->elements().size()) : -1;
}

int ClsJsonObject::get_Size() {
    const CritSecExitor lock(m_critSec);
    return static_cast<int>(m_root.members().size());
}

bool ClsJsonObject::StringOf(const XString& path, XString& text) {
    const CritSecExitor lock(m_critSec);
    text.clear();
    return stringOf(path.getUtf8Sb().view(), text.getUtf8Sb_rw());
}

std::int64_t ClsJsonObject::IntOf(const XString& path) {
    const CritSecExitor lock(m_critSec);
    return intOf(path.getUtf8Sb().view());
}

bool ClsJsonObject::BoolOf(const XString& path) {
    const CritSecExitor lock(m_critSec);
    return boolOf(path.getUtf8Sb().view());
}

bool ClsJsonObject::IsNullOf(const XString& path) {
    const CritSecExitor lock(m_critSec);
    const JsonValue* const value = find(path.getUtf8Sb().view());
    return value != nullptr && value->kind() == JsonValue::Kind::Null;
}

bool ClsJsonObject::update(std::string_view path, JsonValue value) {
    if (!canMake(m_root, path)) {
        return false;
    }
    JsonValue* at = &m_root;
    while (!path.empty()) {
        Step step;
        static_cast<void>(takeStep(path, step));
        at = &followOrMake(*at, step);
    }
    *at = std::move(value);
    return true;
}

bool ClsJsonObject::UpdateString(const XString& path, const XString& value) {
    const CritSecExitor lock(m_critSec);
    return text::noThrow(false, [&] {
        return update(path.getUtf8Sb().view(),
                      JsonValue::ofText(std::string(value.getUtf8Sb().view())));
    });
}

bool ClsJsonObject::UpdateInt(const XString& path, std::int64_t value) {
    const CritSecExitor lock(m_critSec);
    return text::noThrow(
        false, [&] { return update(path.getUtf8Sb().view(), JsonValue::ofInteger(value)); });
}

bool ClsJsonObject::UpdateBool(const XString& path, bool value) {
    const CritSecExitor lock(m_critSec);
    return text::noThrow(false,
                         [&] { return update(path.getUtf8Sb().view(), JsonValue::ofBool(value)); });
}

bool ClsJsonObject::UpdateNull(const XString& path) {
    const CritSecExitor lock(m_critSec);
    return text::noThrow(false, [&] { return update(path.getUtf8Sb().view(), JsonValue()); });
}

bool ClsJsonObject::Delete(const XString& path) {
    const CritSecExitor lock(m_critSec);
    std::string_view rest = path.getUtf8Sb().view();
    JsonValue* parent = &m_root;
    Step step;
    while (!rest.empty() && parent != nullptr) {
        if (!takeStep(rest, step)) {
            return false;
        }
        if (!rest.empty()) {
            parent = const_cast<JsonValue*>(follow(*parent, step));
        }
    }
    if (path.isEmpty() || parent == nullptr || follow(*parent, step) == nullptr) {
        return false;
    }
    if (step.isIndex) {
        parent->elements().erase(parent->elements().begin() +
                                 static_cast<std::ptrdiff_t>(step.index));
    } else {
        std::vector<json::JsonMember>& members = parent->members();
        for (auto member = members.begin(); member != members.end(); ++member) {
            if (member->name == step.name) {
                members.erase(member);
                break;
            }
        }
    }
    return true;
}

} // namespace vantrel
