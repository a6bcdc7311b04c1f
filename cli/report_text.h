// SPDX-License-Identifier: MIT
#ifndef CLI_REPORT_TEXT_H
#define CLI_REPORT_TEXT_H

#include <vantrel/verify.h>

#include <string>
#include <string_view>

namespace vantrel::cli {

// The reports for people, made from the structured results of the library, so that people and
// scripts are told the same. What comes from the document is made printable. Each text ends in a
// line end; what is no such JSON gives a line that says so.

// "invoice.xml: valid", in colour where that is wanted; with a policy "invoice.xml: valid, not
// accepted" (`acceptance`; empty without one).
[[nodiscard]] std::string fileHeading(std::string_view name, std::string_view status,
                                      std::string_view acceptance);
// The parts of a package, each with the signatures that cover it, to stand behind such a heading.
[[nodiscard]] std::string containerText(const Container& container);
// One verified signature, from ClsXmlDSig's LastJsonData. Of very many references or exclusions the
// ones that match without a remark are only counted; --json has them all.
[[nodiscard]] std::string signatureText(std::string_view json);
// Whether that result says only that the report passes its limit, and hence nothing of the
// signature: such a file has no report.
[[nodiscard]] bool isTooLargeReport(std::string_view json);
// One signature as it stands, from ClsXmlDSig::DescribeSignature.
[[nodiscard]] std::string descriptionText(std::string_view json);

// The short name of an algorithm: what is known of its identifier, else its last part, printable.
[[nodiscard]] std::string algorithmName(std::string_view identifier);

} // namespace vantrel::cli

#endif
