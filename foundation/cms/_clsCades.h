#ifndef FOUNDATION_CMS_CLSCADES_H
#define FOUNDATION_CMS_CLSCADES_H

#include "foundation/text/XString.h"

namespace vantrel {

class ClsHttp;
class LogBase;

// Options of CMS operations, and the connection by which a time-stamp authority is reached. The
// options are a JSON object; {"requireTrustedTsa": true} refuses time-stamps whose authority does
// not lead to a certificate of the store. Nothing is checked here: who uses the options does that.
class _clsCades {
public:
    void get_CmsOptions(XString& options) const { options.copyFromX(m_cmsOptions); }
    void put_CmsOptions(const XString& options) { m_cmsOptions.copyFromX(options); }
    [[nodiscard]] const XString& cmsOptions() const noexcept { return m_cmsOptions; }

    // Not owned; must outlive its use.
    void setTsaHttpObj(ClsHttp& http, LogBase& /*log*/) noexcept { m_tsaHttp = &http; }
    [[nodiscard]] ClsHttp* tsaHttpObj() const noexcept { return m_tsaHttp; }

private:
    XString m_cmsOptions; // JSON text
    ClsHttp* m_tsaHttp = nullptr;
};

} // namespace vantrel

#endif
