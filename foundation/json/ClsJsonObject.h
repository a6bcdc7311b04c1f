// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_JSON_CLSJSONOBJECT_H
#define FOUNDATION_JSON_CLSJSONOBJECT_H

#include "foundation/base/ClsBase.h"
#include "foundation/json/json_value.h"
#include "foundation/text/XString.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

/// A JSON object, for options and structured results.
///
/// A path names a value: member names divided by dots, array elements by index in brackets, as in
/// "signatures[0].references[2].uri". Setting a value creates the objects on its path; an array
/// grows by an element when the index is its length.
class ClsJsonObject final : public ClsBase {
public:
    ClsJsonObject() = default;
    ~ClsJsonObject() override = default;
    /// A new, empty object that the caller deletes; null when out of memory.
    [[nodiscard]] static ClsJsonObject* createNewCls();

    void _toString(XString& out) override;
    void dotNetDispose() override;

    /// Replaces the content by a JSON text, which must be an object; content unchanged on failure.
    bool Load(const XString& json);
    /// The JSON text, without white space.
    bool Emit(XString& json);
    void Clear();

    [[nodiscard]] bool HasMember(const XString& path);
    /// Number of elements; -1 when it is no array.
    [[nodiscard]] int SizeOfArray(const XString& path);
    /// Number of members of the object itself.
    [[nodiscard]] int get_Size();
    /// The text of a string, number, true, false or null; false, with empty text, when absent.
    bool StringOf(const XString& path, XString& text);
    /// 0 when absent or no integer; a string that holds an integer counts.
    [[nodiscard]] std::int64_t IntOf(const XString& path);
    /// True for true, for the text "true" and for numbers other than 0.
    [[nodiscard]] bool BoolOf(const XString& path);
    [[nodiscard]] bool IsNullOf(const XString& path);

    bool UpdateString(const XString& path, const XString& value);
    bool UpdateInt(const XString& path, std::int64_t value);
    bool UpdateBool(const XString& path, bool value);
    bool UpdateNull(const XString& path);
    bool Delete(const XString& path);

    // The same for the other objects of the library.
    [[nodiscard]] bool load(std::string_view json, LogBase& log);
    // Null when absent; valid until the next change.
    [[nodiscard]] const json::JsonValue* find(std::string_view path) const noexcept;
    [[nodiscard]] bool stringOf(std::string_view path, StringBuffer& out) const;
    [[nodiscard]] bool boolOf(std::string_view path) const noexcept;
    [[nodiscard]] std::int64_t intOf(std::string_view path) const noexcept;

private:
    bool update(std::string_view path, json::JsonValue value);

    json::JsonValue m_root{json::JsonValue::Kind::Object};
};

} // namespace vantrel

#endif
