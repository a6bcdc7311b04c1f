// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_CLSSTRINGBUILDER_H
#define FOUNDATION_BASE_CLSSTRINGBUILDER_H

#include "foundation/base/ClsBase.h"
#include "foundation/text/XString.h"

#include <cstdint>

namespace vantrel {

/// Text that the application builds and hands to other objects, UTF-8 inside. Unlike a plain string
/// it may be large without being copied on its way.
class ClsStringBuilder final : public ClsBase {
public:
    ClsStringBuilder() = default;
    ~ClsStringBuilder() override = default;
    /// A new, empty builder that the caller deletes; null when out of memory.
    [[nodiscard]] static ClsStringBuilder* createNewCls();

    void _toString(XString& out) override;
    void dotNetDispose() override;

    bool Append(const XString& text);
    bool AppendSb(const ClsStringBuilder& other);
    bool AppendInt(int number);
    bool AppendLine(const XString& text, bool crlf);
    /// Decodes bytes of the named character set and appends the text; false when they are not
    /// valid.
    bool AppendBytes(const void* data, std::uint32_t size, const XString& charset);
    bool SetString(const XString& text);
    bool GetAsString(XString& text);
    void Clear();
    /// Number of bytes of the UTF-8 text.
    [[nodiscard]] std::uint32_t get_Length();
    bool Contains(const XString& text, bool caseSensitive);
    int Replace(const XString& find, const XString& replacement);
    void Trim();

    // The text itself, for the other public objects.
    [[nodiscard]] XString& xstring() noexcept { return m_text; }
    [[nodiscard]] const XString& xstring() const noexcept { return m_text; }

private:
    XString m_text;
};

} // namespace vantrel

#endif
