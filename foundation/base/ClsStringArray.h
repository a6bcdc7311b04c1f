// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_CLSSTRINGARRAY_H
#define FOUNDATION_BASE_CLSSTRINGARRAY_H

#include "foundation/base/ClsBase.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"

#include <string_view>

namespace vantrel {

/// A list of texts, UTF-8 inside.
class ClsStringArray final : public ClsBase {
public:
    ClsStringArray() = default;
    ~ClsStringArray() override = default;
    /// A new, empty list that the caller deletes; null when out of memory.
    [[nodiscard]] static ClsStringArray* createNewCls();

    void dotNetDispose() override;

    bool Append(const XString& text);
    /// False when there is no element `index`.
    bool GetString(int index, XString& text);
    [[nodiscard]] int get_Count();
    void Clear();

    bool appendUtf8(const char* text);
    bool appendView(std::string_view text);
    // Null when out of range; valid until the list changes.
    [[nodiscard]] const char* getStringUtf8(int index);

private:
    ExtPtrArraySb m_strings;
};

} // namespace vantrel

#endif
