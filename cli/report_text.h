#ifndef CLI_REPORT_TEXT_H
#define CLI_REPORT_TEXT_H

#include <string>
#include <string_view>

namespace vantrel::cli {

// The reports for people, made from the structured results of the library. What comes from the
// document is made printable.

// "invoice.xml: valid", in colour where that is wanted.
[[nodiscard]] std::string fileHeading(std::string_view name, std::string_view status);
// One verified signature, from ClsXmlDSig's LastJsonData.
[[nodiscard]] std::string signatureText(std::string_view json);
// Whether that result says only that the report passes its limit.
[[nodiscard]] bool isTooLargeReport(std::string_view json);
// One signature as it stands, from ClsXmlDSig::DescribeSignature.
[[nodiscard]] std::string descriptionText(std::string_view json);

// The short name of an algorithm: what is known of its identifier, else its last part.
[[nodiscard]] std::string algorithmName(std::string_view identifier);

} // namespace vantrel::cli

#endif
