// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_SIGNED_INFO_PATTERN_H
#define DSIG_VERIFY_SIGNED_INFO_PATTERN_H

#include "dsig/document/document.h"
#include "dsig/document/selection.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/scan/xml_document.h"

#include <string>
#include <string_view>

namespace vantrel::dsig {

// The canonical form of a SignedInfo with a run of references that differ in Id and digest alone
// (RepeatedRun). It is learned from one of them, and put together for the others and for the
// SignedInfo of signatures beside this one that read the same: canonicalization leaves an Id and a
// digest without markup as they stand, and nothing else depends on them. Whatever differs in
// anything else is none of these. It belongs to one document and must not outlive it.
class SignedInfoPattern final {
public:
    // Learns from the selected signature, whose SignedInfo is canonicalized as `canonicalizer` says
    // but for most of its run; `algorithm` is what SignedInfo asks for. False where nothing can be
    // learned; the log may have the reason.
    [[nodiscard]] bool learn(Document& document, const Selection& selection,
                             xml::ElementId signedInfo, const XmlCanon& canonicalizer,
                             const StringBuffer& algorithm, LogBase& log);
    // The form of the SignedInfo of the selected signature; false, nothing done, where it is none
    // of these.
    [[nodiscard]] bool compose(Document& document, const Selection& selection,
                               xml::ElementId signedInfo, StringBuffer& form);
    [[nodiscard]] const StringBuffer& algorithm() const noexcept { return m_algorithm; }

private:
    // A text in two pieces around the signature's Id; one piece where it has none.
    struct AroundId {
        std::string_view front;
        std::string_view back;

        [[nodiscard]] bool take(std::string_view text, std::string_view id) noexcept;
        [[nodiscard]] bool is(std::string_view text, std::string_view id) const noexcept;
    };
    // What surrounds the run.
    struct Extent {
        std::string_view outside; // of SignedInfo, from where its signature begins
        std::string_view front;   // of SignedInfo, before the run
        std::string_view back;
    };

    [[nodiscard]] static bool extentOf(Document& document, const Selection& selection,
                                       xml::ElementId signedInfo, Extent& extent);
    [[nodiscard]] static std::string_view between(Document& document, const Selection& selection,
                                                  std::size_t number);
    [[nodiscard]] bool cutForm(const RepeatedRun& run);

    xml::ChildFinder m_last;                   // signature that was asked about
    xml::ElementId m_parent = xml::kNoElement; // of the signature
    AroundId m_outside;
    std::string_view m_front;
    std::string_view m_back;
    std::string_view m_between; // two references
    bool m_hasBetween = false;  // there were two
    StringBuffer m_algorithm;

    // The canonical form, without most of the run, and its pieces.
    StringBuffer m_form;
    std::string_view m_formFront;
    std::string_view m_head;
    std::string_view m_middle;
    std::string_view m_tail;
    std::string_view m_formBack;
    const char* m_runHead = nullptr; // of the references
};

} // namespace vantrel::dsig

#endif
