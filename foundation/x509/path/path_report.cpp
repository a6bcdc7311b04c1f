// SPDX-License-Identifier: MIT
#include "foundation/x509/path/path_report.h"

#include "foundation/asn1/asn1_time.h"
#include "foundation/json/json_writer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/VantrelX509.h"

namespace vantrel::x509 {

std::string subjectText(const VantrelX509& certificate) {
    // The reverse of the order in the certificate, as RFC 4514 2.1 has it.
    StringBuffer text;
    return DistinguishedName::fromDer(certificate.subject(), true, text) ? std::string(text.view())
                                                                         : std::string();
}

void writePathResult(const PathResult& result, json::JsonWriter& out) {
    // Fixed members in a fixed order, present even when they are empty, so that scripts need not
    // ask.
    std::string time;
    asn1::appendIsoTime(result.time, time);
    out.beginObject();
    out.textMember("status", result.trusted ? "trusted" : "not-trusted");
    out.textMember("time", time);
    out.key("path");
    out.beginArray();
    for (const VantrelX509* const certificate : result.path) {
        out.text(subjectText(*certificate));
    }
    out.endArray();
    out.key("policies");
    out.beginArray();
    for (const std::string& policy : result.policies) {
        out.text(policy);
    }
    out.endArray();
    out.key("problems");
    out.beginArray();
    for (const PathProblem& problem : result.problems) {
        out.beginObject();
        out.textMember("code", pathFaultWord(problem.fault));
        out.textMember("certificate", subjectText(*problem.certificate));
        out.textMember("text", problem.text);
        out.endObject();
    }
    out.endArray();
    out.endObject();
}

} // namespace vantrel::x509
