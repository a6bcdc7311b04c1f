// SPDX-License-Identifier: MIT
// The very octets that a verification hashes, for whoever wants to see them. Looking changes
// nothing: both work on a copy of the rules in force, and keep no report.

#include "dsig/document/locate_signature.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"
#include "dsig/reference/first_reference.h"
#include "dsig/transform/element_space.h"
#include "dsig/transform/profile_detection.h"
#include "dsig/transform/signature_profile.h"
#include "dsig/verify/reference_pass.h"
#include "dsig/verify/signed_octets.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/MethodFrame.h"

#include <algorithm>

namespace vantrel {

dsig::Rules ClsXmlDSig::logRulesByOptions(LogBase& log) const {
    log.LogDataSb("uncommonOptions", m_log.options());
    dsig::Rules byOptions = rules();
    dsig::setZatcaFromOptions(m_log.options(), byOptions, log);
    return byOptions;
}

namespace {

// Checks the references below `end` for what they find out of the document; their failures do not
// matter here. True when one was found right without the signature's own profile.
bool applyReferences(int end, dsig::ReferenceQuery query, dsig::Rules& rules, LogBase& log) {
    LogNull quiet(log);
    bool plainly = false;
    for (query.index = 0; query.index < end; ++query.index) {
        const dsig::ReferenceResult result = dsig::checkReference(query, rules, quiet);
        plainly =
            plainly || (result.matched() &&
                        !result.accommodations.contains(dsig::accommodation::kProfileSpace) &&
                        !result.accommodations.contains(dsig::accommodation::kProfileDerived));
    }
    return plainly;
}

} // namespace

// The references before it come first in a verification, too, and what they find out (an attribute
// order, ZATCA rules) decides what is digested.
bool ClsXmlDSig::DigestInput(int index, ClsBinData& out) {
    return MethodFrame::runLater(*this, "DigestInput", [&](MethodFrame& frame) {
        dsig::Rules inForce = logRulesByOptions(m_log);
        ExtPtrArraySb dirs;
        dsig::splitDirs(m_externalRefDirs, dirs);
        const dsig::Selection selected = selection();
        if (document() != nullptr) {
            document()->account.begin(selected.index);
        }
        dsig::ReferenceQuery query{
            document(), selected, 0, {&m_externalData, m_selector, &dirs, m_state->parts.get()}};
        static_cast<void>(
            applyReferences(std::min(index, get_NumReferences()), query, inForce, m_log));
        query.index = index;
        query.keepOctets = true;
        const dsig::ReferenceResult result = dsig::checkReference(query, inForce, m_log);
        // A digest that does not match is no failure here: whoever looks for the reason wants the
        // octets, which may be none. Nothing is appended where nothing was digested.
        return frame.finish(!result.computedDigest.isEmpty() && out.data().append(result.octets));
    });
}

// The checks of the references come first in a verification, and what they find out of the document
// (a cut, an attribute order, ZATCA rules) decides what the value is over.
bool ClsXmlDSig::SignedInfoOctets(ClsBinData& out) {
    return MethodFrame::runLater(*this, "SignedInfoOctets", [&](MethodFrame& frame) {
        dsig::Rules inForce = logRulesByOptions(m_log);
        ExtPtrArraySb dirs;
        dsig::splitDirs(m_externalRefDirs, dirs);
        const dsig::Selection selected = selection();
        if (document() != nullptr) {
            document()->account.begin(selected.index);
        }
        const bool plainly = applyReferences(
            get_NumReferences(),
            {document(), selected, 0, {&m_externalData, m_selector, &dirs, m_state->parts.get()}},
            inForce, m_log);
        DSigReference first;
        XmlSigLocate locator;
        dsig::SignedOctets octets;
        dsig::CodeSet leniencies;
        const bool made =
            dsig::parseFirstReference(document(), selected, first, m_log) &&
            dsig::locateSelectedSignature(selected, first.m_digestValue, locator, m_log) &&
            dsig::makeSignedOctets(structure(), selected, inForce, locator, first, octets,
                                   leniencies, m_log);
        // Who leaves white space out of what is referred to does so here as well, and who does not
        // leaves it in both.
        if (made && !plainly && dsig::leavesOutSpace(dsig::signatureProfile(selected))) {
            octets.text = dsig::withoutElementSpace(octets.text.view());
        }
        return frame.finish(made && out.data().append(octets.octets()));
    });
}

} // namespace vantrel
