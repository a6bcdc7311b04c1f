// SPDX-License-Identifier: MIT
#include "dsig/transform/profile_detection.h"

#include "dsig/transform/profile_markers.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/multi_search.h"

#include <array>

namespace vantrel::dsig {

namespace {

// The markers are looked for together, in one pass over the document. One pass matters because the
// text can have any size, and most documents have none of them. The order is that of kMarkers, not
// that in which profiles are tried: it was chosen so that few places of usual documents have to be
// looked at twice (multi_search.h puts each eighth marker into one bucket).
enum MarkerIndex : std::size_t {
    Sii,
    PolishHealthRegistry,
    PolishFinance1,
    PolishFinance2,
    PolishSocialInsurance,
    Hl7,
    ItalianHealthRecord,
    PeruUbl,
    PolishHealthItCentre,
    CmaStp,
    Sat,
    Doda,
    SignedDoc,
    SkXml,
    Lau,
    TimeStamp,
    MarkerCount
};

constexpr std::array<std::string_view, MarkerCount> kMarkers = {
    marker::kSii,
    marker::kPolishHealthRegistry,
    marker::kPolishFinance1,
    marker::kPolishFinance2,
    marker::kPolishSocialInsurance,
    marker::kHl7,
    marker::kItalianHealthRecord,
    marker::kPeruUbl,
    marker::kPolishHealthItCentre,
    marker::kCmaStp,
    marker::kSat,
    marker::kDodaStart,
    marker::kSignedDoc,
    marker::kSkXml,
    marker::kLauStart,
    marker::kTimeStamp,
};

constexpr text::NeedleSet kMarkerSet(kMarkers);

// The profiles of which a document has at most one: the first whose markers are there.
enum class Profile { Sii, PeruUbl, AttrSort, AttrSortAlways, CmaStp, SatDoda };

struct ProfileRule {
    MarkerIndex marker;
    MarkerIndex also; // needed as well; the same again when there is no second
    Profile profile;
    std::string_view name;
};

// A document may carry the markers of several systems, an invoice that names a tax service in an
// HL7 envelope for instance; the first rule that holds is applied and the others are not.
// The order matters.
constexpr ProfileRule kProfileRules[] = {
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

// The byte offset leads to the place that decided, where a document is recognised by surprise. It
// counts in the text that was searched.
void logMarker(LogBase& log, std::string_view text, std::size_t offset) {
    log.logText("profileMarker", text);
    log.LogDataLong("profileMarkerOffset", static_cast<std::int64_t>(offset));
}

void apply(Profile profile, Rules& rules, LogBase& log) {
    switch (profile) {
    case Profile::Sii:
        rules.siiDocument = true;
        rules.noAttrSortRetry = true;
        // The cut of the document before must not serve for this one's SignedInfo.
        rules.siiDteXml.clear();
        return;
    case Profile::PeruUbl:
        rules.profileCode = 3;
        rules.peruUbl = true;
        return;
    case Profile::AttrSortAlways: rules.alwaysAttrSortBug = true; [[fallthrough]];
    case Profile::AttrSort:
        logAttrSortEmulation(log);
        rules.attrSortBug = true;
        return;
    case Profile::CmaStp: rules.cmaStpDocument = true; return;
    case Profile::SatDoda: rules.satDoda = true; return;
    }
}

// What a load does not touch: the ZATCA rules are the options' matter, and the last cut and the
// profile code stay until another takes their place.
Rules withoutProfile(const Rules& before) {
    Rules rules;
    rules.zatca = before.zatca;
    rules.profileCode = before.profileCode;
    rules.siiDteOffset = before.siiDteOffset;
    rules.siiDteXml = before.siiDteXml;
    return rules;
}

} // namespace

void detectProfile(std::string_view xml, Rules& rules, LogBase& log) {
    rules = withoutProfile(rules);
    std::array<std::size_t, MarkerCount> found{};
    text::findAll(xml, kMarkerSet, found);
    const auto isThere = [&found](MarkerIndex index) {
        return found[index] != std::string_view::npos;
    };
    // Not a profile by itself: it only tells the digest step whether it has to keep the canonical
    // form as a text, to search it for the block.
    rules.mayHoldLau = isThere(Lau);
    // Nor this: signatures are not searched for what is nowhere.
    rules.mayHoldTimestamp = isThere(TimeStamp);

    for (const ProfileRule& rule : kProfileRules) {
        if (isThere(rule.marker) && isThere(rule.also)) {
            logMarker(log, kMarkers[rule.marker], found[rule.marker]);
            rules.profileName = rule.name;
            apply(rule.profile, rules, log);
            break;
        }
    }
    if (isThere(SignedDoc) && isThere(SkXml)) {
        logMarker(log, kMarkers[SignedDoc], found[SignedDoc]);
        rules.skXmlSignedDoc = true;
        // The rules of both apply; the report has room for one name.
        rules.profileName = rules.profileName.empty() ? "sk-xml" : rules.profileName;
    }
}

void setZatcaFromOptions(const StringBuffer& options, Rules& rules, LogBase& log) {
    rules.zatca = options.containsSubstringNoCase("ZATCA");
    if (rules.zatca) {
        rules.noAttrSortRetry = true;
        log.LogInfo("Will validate according to ZATCA rules...");
    }
}

void logAttrSortEmulation(LogBase& log) {
    log.LogInfo("Will duplicate the XML canonicalization attribute sorting bug...");
}

} // namespace vantrel::dsig
