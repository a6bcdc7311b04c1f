// Recognising documents of national and industry systems by the markers in their text.

#include "dsig/object/_clsXmlDSigBase.h"
#include "dsig/transform/profile_markers.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/multi_search.h"

#include <array>

namespace vantrel {

namespace marker = dsig::marker;

namespace {

// The markers are looked for together, in one pass over the document.
enum MarkerIndex : std::size_t {
    Sii,
    PeruUbl,
    PolishFinance1,
    PolishFinance2,
    PolishSocialInsurance,
    Hl7,
    ItalianHealthRecord,
    PolishHealthRegistry,
    PolishHealthItCentre,
    CmaStp,
    Sat,
    Doda,
    SignedDoc,
    SkXml,
    Lau,
    MarkerCount
};

constexpr std::array<std::string_view, MarkerCount> kMarkers = {
    marker::kSii,
    marker::kPeruUbl,
    marker::kPolishFinance1,
    marker::kPolishFinance2,
    marker::kPolishSocialInsurance,
    marker::kHl7,
    marker::kItalianHealthRecord,
    marker::kPolishHealthRegistry,
    marker::kPolishHealthItCentre,
    marker::kCmaStp,
    marker::kSat,
    marker::kDodaStart,
    marker::kSignedDoc,
    marker::kSkXml,
    marker::kLauStart,
};

using Profile = dsig::DocumentProfile;

struct ProfileRule {
    MarkerIndex marker;
    MarkerIndex also; // needed as well; the same again when there is no second
    Profile profile;
    std::string_view name;
};

// The order matters.
constexpr ProfileRule kRules[] = {
    {Sii, Sii, Profile::Sii, "sii"},
    {PeruUbl, PeruUbl, Profile::PeruUbl, "peru-ubl"},
    {PolishFinance1, PolishFinance1, Profile::AttrSort, "poland-finance"},
    {PolishFinance2, PolishFinance2, Profile::AttrSort, "poland-finance"},
    {PolishSocialInsurance, PolishSocialInsurance, Profile::AttrSort, "poland-social-insurance"},
    {Hl7, Hl7, Profile::AttrSort, "hl7"},
    {ItalianHealthRecord, ItalianHealthRecord, Profile::AttrSort, "italy-health-record"},
    {PolishHealthRegistry, PolishHealthRegistry, Profile::AttrSort, "poland-health-registry"},
    {PolishHealthItCentre, PolishHealthItCentre, Profile::AttrSortAlways,
     "poland-health-it-centre"},
    {CmaStp, CmaStp, Profile::CmaStp, "cma-stp"},
    {Sat, Doda, Profile::SatDoda, "sat-doda"},
};

void logMarker(LogBase& log, std::string_view text, std::size_t offset) {
    log.logText("profileMarker", text);
    log.LogDataLong("profileMarkerOffset", static_cast<std::int64_t>(offset));
}

} // namespace

void _clsXmlDSigBase::detectSpecial(const StringBuffer& xml, LogBase& log) {
    m_isSiiDocument = false;
    m_isSatDoda = false;
    m_alwaysDuplicateAttrSortBug = false;
    m_isPeruUbl = false;
    m_duplicateAttrSortBug = false;
    m_noAttrSortRetry = false;
    m_isSkXmlSignedDoc = false;
    m_cmaStpDocument = false;
    m_profileName = {};

    std::array<std::size_t, MarkerCount> found{};
    text::findAll(xml.view(), kMarkers, found);
    const auto isThere = [&found](MarkerIndex index) {
        return found[index] != std::string_view::npos;
    };
    m_mayHoldLau = isThere(Lau);

    for (const ProfileRule& rule : kRules) {
        if (isThere(rule.marker) && isThere(rule.also)) {
            logMarker(log, kMarkers[rule.marker], found[rule.marker]);
            m_profileName = rule.name;
            applyProfile(rule.profile, log);
            break;
        }
    }
    if (isThere(SignedDoc) && isThere(SkXml)) {
        logMarker(log, kMarkers[SignedDoc], found[SignedDoc]);
        m_isSkXmlSignedDoc = true;
        m_profileName = m_profileName.empty() ? "sk-xml" : m_profileName;
    }
}

void _clsXmlDSigBase::applyProfile(dsig::DocumentProfile profile, LogBase& log) {
    switch (profile) {
    case Profile::Sii:
        m_isSiiDocument = true;
        m_noAttrSortRetry = true;
        m_siiDteXml.clear();
        return;
    case Profile::PeruUbl:
        m_profileCode = 3;
        m_isPeruUbl = true;
        return;
    case Profile::AttrSortAlways: m_alwaysDuplicateAttrSortBug = true; [[fallthrough]];
    case Profile::AttrSort:
        logAttrSortEmulation(log);
        m_duplicateAttrSortBug = true;
        return;
    case Profile::CmaStp: m_cmaStpDocument = true; return;
    case Profile::SatDoda: m_isSatDoda = true; return;
    }
}

} // namespace vantrel
