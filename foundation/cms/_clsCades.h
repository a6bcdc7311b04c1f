// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CMS_CLSCADES_H
#define FOUNDATION_CMS_CLSCADES_H

#include "foundation/text/XString.h"

namespace vantrel {

class ClsHttp;
class LogBase;

// Options of CMS operations, and the connection by which a time-stamp authority is reached. The
// options are a JSON object; {"requireTrustedTsa": true} refuses time-stamps whose authority does
// not lead to a certificate of the store. Nothing is checked here: who uses the options does that,
// so that a text that is no JSON fails the operation and not its preparation. A base of the objects
// that run such operations; it locks nothing, which they do.
class _clsCades {
public:
    // The JSON text as it was given; empty by default, which means no option.
    void get_CmsOptions(XString& options) const { options.copyFromX(m_cmsOptions); }
    void put_CmsOptions(const XString& options) { m_cmsOptions.copyFromX(options); }
    [[nodiscard]] const XString& cmsOptions() const noexcept { return m_cmsOptions; }

    // The connection, with its proxy, login and time limits. Null by default: a plain one is then
    // made for each request. Not owned; must outlive its use.
    void setTsaHttpObj(ClsHttp& http, LogBase& /*log*/) noexcept { m_tsaHttp = &http; }
    [[nodiscard]] ClsHttp* tsaHttpObj() const noexcept { return m_tsaHttp; }

private:
    XString m_cmsOptions; // JSON text
    ClsHttp* m_tsaHttp = nullptr;
};

} // namespace vantrel

#endif
