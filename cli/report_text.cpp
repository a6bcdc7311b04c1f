// SPDX-License-Identifier: MIT
#include "cli/report_text.h"

#include "cli/terminal.h"
#include "cli/text_lines.h"
#include <vantrel/json_value.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <utility>

// The text is made from the JSON and never from the document, so it cannot say more than the
// report. Numbers, flags and the fixed words of the library are taken as they are; every other text
// passes printable() before a colour is put around it.
namespace vantrel::cli {

namespace {

using json::JsonValue;

// References beyond this number are summed up, but for those that do not match or
// of which something is to be said.
constexpr std::size_t kListedReferences = 20;
// Exclusions of one reference likewise.
constexpr std::size_t kListedExclusions = 10;
// Failed references beyond this number are told in one line each.
constexpr int kExplainedFailures = 10;
// What stands for a report that is too large is short itself.
constexpr std::size_t kMaxBriefReport = 1024;

// Members of an object. One that is missing or of another kind counts as empty, 0, false: a report
// without it has nothing to say there. Texts are views into the parsed value.
std::string_view textOf(const JsonValue& object, std::string_view name) {
    const JsonValue* const value = object.find(name);
    return value != nullptr ? value->text() : std::string_view();
}

std::int64_t numberOf(const JsonValue& object, std::string_view name) {
    const JsonValue* const value = object.find(name);
    std::int64_t number = 0;
    return value != nullptr && value->integer(number) ? number : 0;
}

bool flagOf(const JsonValue& object, std::string_view name) {
    const JsonValue* const value = object.find(name);
    return value != nullptr && value->kind() == JsonValue::Kind::True;
}

const std::vector<JsonValue>& listOf(const JsonValue& object, std::string_view name) {
    static const std::vector<JsonValue> none;
    const JsonValue* const value = object.find(name);
    return value != nullptr ? value->elements() : none;
}

// The codes of a list, joined by commas.
std::string wordsOf(const JsonValue& object, std::string_view name) {
    std::string words;
    for (const JsonValue& word : listOf(object, name)) {
        words += words.empty() ? "" : ", ";
        words += printable(word.text());
    }
    return words;
}

// Whether a leniency was needed.
bool holds(const JsonValue& object, std::string_view leniency) {
    const std::vector<JsonValue>& codes = listOf(object, "accommodations");
    return std::any_of(codes.begin(), codes.end(),
                       [&](const JsonValue& code) { return code.text() == leniency; });
}

// Of a signature, a reference or a time-stamp; whatever is not known to be good is shown as bad.
Colour colourOf(std::string_view status) {
    if (status == "valid" || status == "match") {
        return Colour::Good;
    }
    return status == "not-checked" ? Colour::Note : Colour::Bad;
}

// "signature 0", with its Id where it has one; two may share an Id, no two an index. `behind`
// stands behind it on the line.
std::string heading(const JsonValue& signature, std::string_view behind) {
    constexpr std::size_t kLeastOfId = 12;
    std::string out = "  signature " + std::to_string(numberOf(signature, "index"));
    if (const std::string_view id = textOf(signature, "id"); !id.empty()) {
        const std::size_t used = out.size() + columnsOf(behind) + 3; // with blank and quotes
        const std::size_t room = kTextColumns > used ? kTextColumns - used : 0;
        out += " \"" + shortened(printable(id), std::max(room, kLeastOfId)) + "\"";
    }
    return out + std::string(behind) + "\n";
}

// "valid", with what of it was not looked at: a reader must not take more from it.
std::string verdict(const JsonValue& signature) {
    const std::string_view status = textOf(signature, "status");
    std::string out = coloured(status, colourOf(status));
    if (status != "valid") {
        return out;
    }
    const std::vector<JsonValue>& references = listOf(signature, "references");
    const auto checked =
        std::count_if(references.begin(), references.end(), [](const JsonValue& reference) {
            return textOf(reference, "status") == "match" && !holds(reference, "digest.tolerated");
        });
    const std::int64_t all = numberOf(signature, "referenceCount");
    if (checked < all) {
        out += coloured(", " + std::to_string(all - checked) + " of " + std::to_string(all) +
                            " references NOT checked",
                        Colour::Bad);
    }
    return out;
}

// What was left out of the covered part, the signature itself apart.
std::string exceptions(const JsonValue& reference) {
    std::string text;
    std::size_t unlisted = 0;
    std::size_t listed = 0;
    for (const JsonValue& exclusion : listOf(reference, "excluded")) {
        const std::string_view why = textOf(exclusion, "why");
        // Every enveloped signature leaves itself out; to say so each time would hide what matters.
        if (why == "enveloped-signature") {
            continue;
        }
        // Counted all the same, so that nobody takes the list for complete.
        if (listed == kListedExclusions) {
            ++unlisted;
            continue;
        }
        text += listed++ == 0 ? " except " : ", ";
        text += printable(textOf(exclusion, "path")) + " (" + printable(why) + ")";
    }
    if (unlisted > 0) {
        text += " and " + std::to_string(unlisted) + " more (--json lists all)";
    }
    return text;
}

// What a reference's digest is over, in words. "The whole document" only when nothing but the
// signature itself is missing from it.
std::string targetOf(const JsonValue& reference) {
    const std::string_view covers = textOf(reference, "covers");
    const std::string uri = printable(textOf(reference, "uri"));
    if (covers == "document") {
        const std::string without = exceptions(reference);
        return without.empty() ? "the whole document" : "the document" + without;
    }
    if (covers == "element" && !textOf(reference, "path").empty()) {
        return "element " + printable(textOf(reference, "path")) + " (" + uri + ")" +
               exceptions(reference);
    }
    if (covers == "elements") {
        const std::string paths = wordsOf(reference, "paths");
        return (paths.empty() ? "nothing" : "elements " + paths) + exceptions(reference);
    }
    if (const std::string_view part = textOf(reference, "part"); !part.empty()) {
        return "part " + printable(part);
    }
    if (covers == "external") {
        const std::string_view file = textOf(reference, "file");
        const bool isOther = !file.empty() && file != textOf(reference, "uri");
        return "external " + uri + (isOther ? " (file " + printable(file) + ")" : "");
    }
    // Nothing was found that it names, or it was not looked for.
    return "\"" + uri + "\"";
}

// One reference: what it covers, how its digest came out, and by which leniencies.
std::string referenceLine(const JsonValue& reference) {
    const std::string_view status = textOf(reference, "status");
    std::string text = targetOf(reference) + ", " +
                       algorithmName(textOf(reference, "digestMethod")) + ": " +
                       coloured(status, colourOf(status));
    // The code of RefFailReason, which docs and scripts go by.
    if (status != "match" && status != "not-checked") {
        text += " (reason " + std::to_string(numberOf(reference, "reason")) + ")";
    }
    // A digest that matches proves nothing where the signature value is not over the reference.
    if (const JsonValue* const isSigned = reference.find("signed");
        isSigned != nullptr && isSigned->kind() == JsonValue::Kind::False) {
        text += ", not signed by the value";
    }
    if (const std::string words = wordsOf(reference, "accommodations"); !words.empty()) {
        text += " [" + words + "]";
    }
    return entry("covers", text);
}

// The cause of a failure and what may mend it, each way on a line of its own.
std::string causeLines(std::string_view label, const JsonValue& object, bool withTries) {
    const JsonValue* const cause = object.find("cause");
    if (cause == nullptr) {
        return {};
    }
    std::string out = entry(label, printable(textOf(*cause, "text")) + " [" +
                                       printable(textOf(*cause, "code")) + "]");
    if (const std::string_view evidence = textOf(*cause, "evidence"); !evidence.empty()) {
        out += entry("", printable(evidence));
    }
    for (const JsonValue& one : listOf(*cause, "try")) {
        out += withTries ? entry("", "try: " + printable(one.text())) : "";
    }
    return out;
}

// What is to be said of a reference that does not match: both digests, where they differ, and why.
std::string failureLines(const JsonValue& reference) {
    std::string out;
    const JsonValue* const digest = reference.find("digest");
    if (textOf(reference, "status") == "mismatch" && digest != nullptr) {
        out += entry("", "signed:   " + printable(textOf(*digest, "stored")));
        out += entry("", "computed: " + printable(textOf(*digest, "computed")));
    }
    return out + causeLines("", reference, true);
}

// All references, or the first of very many with a summary of those that match. What does not match
// is always listed.
std::string referenceLines(const std::vector<JsonValue>& references) {
    std::string out;
    std::size_t unlisted = 0;
    std::size_t withExceptions = 0;
    std::set<std::string_view> leniencies;
    int failures = 0;
    for (const JsonValue& reference : references) {
        const bool matches = textOf(reference, "status") == "match";
        if (references.size() <= kListedReferences || !matches ||
            numberOf(reference, "index") < 10) {
            out += referenceLine(reference);
            // Not asked for is no failure; the verdict has said so.
            const bool failed = !matches && textOf(reference, "status") != "not-checked";
            if (failed && failures++ < kExplainedFailures) {
                out += failureLines(reference);
            }
            continue;
        }
        ++unlisted;
        // The summary must not hide that parts of the document were left out, nor that a leniency
        // was needed.
        withExceptions += exceptions(reference).empty() ? 0 : 1;
        for (const JsonValue& word : listOf(reference, "accommodations")) {
            leniencies.insert(word.text());
        }
    }
    if (unlisted > 0) {
        std::string text = "and " + std::to_string(unlisted) + " more that match";
        if (withExceptions > 0) {
            text += ", " + std::to_string(withExceptions) + " of them with exceptions";
        }
        for (const std::string_view word : leniencies) {
            text += " [" + printable(word) + "]";
        }
        out += entry("", text + " (--json lists all)");
    }
    return out;
}

// One key: type, size, where it came from and whose it is said to be.
std::string keyLine(std::string_view label, const JsonValue& key) {
    std::string text = printable(textOf(key, "type"));
    if (const std::string_view curve = textOf(key, "curve"); !curve.empty()) {
        text += " " + printable(curve);
    } else {
        text += " " + std::to_string(numberOf(key, "bits"));
    }
    text += ", from " + printable(textOf(key, "source"));
    if (const std::string_view subject = textOf(key, "subject"); !subject.empty()) {
        text += ", " + printable(subject);
    }
    // The key is the caller's, the certificate the document's: anybody can put a name beside a key.
    if (flagOf(key, "nameFromDocument")) {
        text += " (the name comes from the document and is not vouched for)";
    }
    std::string out = entry(label, text);
    // Only a certificate has a serial number, and with it an issuer and dates.
    if (const std::string_view serial = textOf(key, "serial"); !serial.empty()) {
        out += entry("", "issued by " + printable(textOf(key, "issuer")) + ", serial 0x" +
                             printable(serial));
        out += entry("", "valid from " + printable(textOf(key, "notBefore")) + " to " +
                             printable(textOf(key, "notAfter")));
    }
    return out;
}

// The key that verified; where none did, all that were there.
std::string keyLines(const JsonValue& signature) {
    std::string used;
    std::string all;
    for (const JsonValue& key : listOf(signature, "keys")) {
        if (flagOf(key, "used")) {
            used += keyLine("key", key);
        } else {
            all += keyLine("tried", key);
        }
    }
    return used.empty() ? all : used;
}

// Whose key verified the value, and the key itself by its fingerprint.
std::string signerLine(const JsonValue& signature) {
    const JsonValue* const signer = signature.find("signer");
    if (signer == nullptr) {
        return {};
    }
    // A bare key has a fingerprint and no name; what the document says of it elsewhere is no name.
    const std::string subject = printable(textOf(*signer, "subject"));
    return entry("signer", (subject.empty() ? "not named by a certificate" : subject) +
                               ", key sha256 " + printable(textOf(*signer, "spkiSha256")));
}

// What the caller can do about a refusal, where an option decides it.
std::string_view remedyOf(std::string_view refusal) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kRemedies = {{
        {"not-pinned", "--pin sha256:HEX with the fingerprint that the signer told you"},
        {"not-trusted", "--anchor FILE (whom you trust)"},
        {"not-vouched", "--key FILE, --pin sha256:HEX or --anchor FILE"},
        {"no-timestamp", "--timestamps, with --anchor FILE of the authority"},
        {"not-all-checked", "--ref-data N=FILE or --ref-dir DIR, without --no-references"},
        {"target-not-covered",
         "xmldsig verify --json FILE (path and excluded say what is covered)"},
        {"signing-certificate-mismatch", "--cert FILE (the certificate that the signer meant)"},
    }};
    const auto found = std::find_if(kRemedies.begin(), kRemedies.end(),
                                    [&](const auto& each) { return each.first == refusal; });
    return found == kRemedies.end() ? std::string_view() : found->second;
}

// What may mend a problem of a certification path.
std::string_view remedyOfPath(std::string_view problem) {
    if (problem == "expired") {
        return "--timestamps (with --anchor FILE of the authority), or --at TIME";
    }
    if (problem == "revocation-unknown") {
        return "--crl FILE";
    }
    return problem == "no-path" ? "--cert FILE (the authorities between)" : "";
}

// What the caller's policy says of the signature; nothing without one.
std::string acceptanceLines(const JsonValue& signature) {
    if (signature.find("accepted") == nullptr) {
        return {};
    }
    if (flagOf(signature, "accepted")) {
        return entry(coloured("accepted", Colour::Good), "by the policy of the command line");
    }
    std::string out = entry("not accepted:", coloured(wordsOf(signature, "refusals"), Colour::Bad));
    for (const JsonValue& refusal : listOf(signature, "refusals")) {
        if (const std::string_view remedy = remedyOf(refusal.text()); !remedy.empty()) {
            out += entry("", "try: " + std::string(remedy));
        }
    }
    return out;
}

// Loud, with a policy and without one: whoever gives a key believes that it was what verified, and
// the document's own comes first.
std::string unusedKeyLines(const JsonValue& signature) {
    const std::vector<JsonValue>& warnings = listOf(signature, "warnings");
    if (std::none_of(warnings.begin(), warnings.end(),
                     [](const JsonValue& word) { return word.text() == "key-not-used"; })) {
        return {};
    }
    return entry("", coloured("the key that you gave was NOT used, another one verified",
                              Colour::Bad)) +
           entry("", "try: --only-key");
}

// Whether the signer's certificate leads to an anchor, by which way, and what is to be said of it.
std::string trustLines(const JsonValue& signature) {
    const JsonValue* const trust = signature.find("trust");
    if (trust == nullptr) {
        return {};
    }
    const bool trusted = textOf(*trust, "status") == "trusted";
    std::string out = entry("trust", coloured(trusted ? "trusted" : "not trusted",
                                              trusted ? Colour::Good : Colour::Bad) +
                                         " at " + printable(textOf(*trust, "time")));
    // From the signer to the anchor, as far as the way was found.
    for (const JsonValue& certificate : listOf(*trust, "path")) {
        out += entry("", "path: " + printable(certificate.text()));
    }
    // Beside a path that holds, too: a weak algorithm, say, is told and refuses nothing by itself.
    for (const JsonValue& problem : listOf(*trust, "problems")) {
        const std::string_view whose = textOf(problem, "certificate");
        out += entry("", printable(textOf(problem, "code")) + ": " +
                             (whose.empty() ? "" : printable(whose) + ": ") +
                             printable(textOf(problem, "text")));
        const std::string_view remedy = remedyOfPath(textOf(problem, "code"));
        out += remedy.empty() ? "" : entry("", "try: " + std::string(remedy));
    }
    return out;
}

} // namespace

std::string algorithmName(std::string_view identifier) {
    // Their last parts would not tell inclusive from exclusive, or say nothing at all ("#").
    constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kKnown = {{
        {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315", "c14n"},
        {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315#WithComments", "c14n with comments"},
        {"http://www.w3.org/2001/10/xml-exc-c14n#", "exclusive c14n"},
        {"http://www.w3.org/2001/10/xml-exc-c14n#WithComments", "exclusive c14n with comments"},
    }};
    for (const auto& [known, name] : kKnown) {
        if (identifier == known) {
            return std::string(name);
        }
    }
    // "http://www.w3.org/2001/04/xmlenc#sha256" and "urn:x:sha256" are both sha256.
    const std::size_t mark = identifier.find_last_of("#/:");
    if (mark != std::string_view::npos && mark + 1 < identifier.size()) {
        identifier.remove_prefix(mark + 1);
    }
    return printable(identifier);
}

std::string fileHeading(std::string_view name, std::string_view status,
                        std::string_view acceptance) {
    const std::string behind = acceptance.empty() ? "" : ", " + std::string(acceptance);
    const Colour colour = acceptance == "accepted" ? Colour::Good : Colour::Bad;
    return shortened(printable(name), kTextColumns - status.size() - behind.size() - 2) + ": " +
           coloured(status, colourOf(status)) + coloured(behind, colour) + "\n";
}

std::string containerText(const Container& container) {
    // Exempt is what the kind of package does not ask to be covered.
    // Beyond so many only those are told apart that need a look.
    constexpr std::size_t kListedParts = 40;
    std::string out = entry("package", printable(container.kind) + ", " +
                                           std::to_string(container.parts.size()) + " parts");
    std::size_t unlisted = 0;
    for (const ContainerPart& part : container.parts) {
        if (container.parts.size() > kListedParts && (part.covered || part.exempt)) {
            ++unlisted;
            continue;
        }
        std::string by;
        for (const int index : part.by) {
            by += (by.empty() ? "covered by signature " : ", ") + std::to_string(index);
        }
        if (!part.covered) {
            by = part.exempt ? "exempt" : coloured("NOT covered by a valid signature", Colour::Bad);
        }
        out += entry("part",
                     printable(part.name) + " (" + std::to_string(part.size) + " octets): " + by);
    }
    if (unlisted > 0) {
        out += entry("", "and " + std::to_string(unlisted) +
                             " more that are covered or need not be (--json lists all)");
    }
    return out;
}

std::string signatureText(std::string_view json) {
    JsonValue signature;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, signature, faultAt)) {
        return "  (no report)\n";
    }
    std::string out = heading(signature, ": " + verdict(signature));
    if (const std::string_view part = textOf(signature, "part"); !part.empty()) {
        out += entry("part", printable(part));
    }
    out += acceptanceLines(signature) + unusedKeyLines(signature);
    if (const std::string_view reason = textOf(signature, "reason"); !reason.empty()) {
        out += entry("reason", printable(reason));
    }
    // Of a valid signature it is worth a line only where nobody looked.
    const std::string_view value = textOf(signature, "value");
    if (textOf(signature, "status") != "valid" || value != "valid") {
        out += entry("value", coloured(value, colourOf(value)));
    }
    // A failed reference says for itself what mends it.
    const JsonValue* const cause = signature.find("cause");
    out += causeLines("cause", signature,
                      cause != nullptr && textOf(*cause, "code") != "reference-failed");
    out += entry("method", algorithmName(textOf(signature, "signatureMethod")) + ", " +
                               algorithmName(textOf(signature, "canonicalizationMethod")));
    if (const std::string_view profile = textOf(signature, "profile"); !profile.empty()) {
        out += entry("profile", printable(profile));
    }
    out += signerLine(signature) + keyLines(signature) +
           referenceLines(listOf(signature, "references")) +
           referenceLines(listOf(signature, "manifest"));
    // "not-checked" is shown: the document claims a time that nobody looked at.
    if (const std::string_view stamp = textOf(signature, "timestamp"); stamp != "absent") {
        const std::string_view time = textOf(signature, "timestampTime");
        const std::string_view by = textOf(signature, "timestampAuthority");
        out += entry("stamp", coloured(stamp, colourOf(stamp)) +
                                  (time.empty() ? "" : ", " + printable(time)) +
                                  (by.empty() ? "" : ", by " + printable(by)));
    }
    out += trustLines(signature);
    if (const std::string words = wordsOf(signature, "accommodations"); !words.empty()) {
        out += entry("leniency", coloured(words, Colour::Note));
    }
    if (const std::string words = wordsOf(signature, "warnings"); !words.empty()) {
        out += entry("warnings", coloured(words, Colour::Note));
    }
    return out;
}

bool isTooLargeReport(std::string_view json) {
    JsonValue signature;
    std::size_t faultAt = 0;
    // Hardly any report has these words, so hardly any is read for this.
    return json.size() <= kMaxBriefReport &&
           json.find("\"status\":\"error\",\"reason\":\"") != std::string_view::npos &&
           json::parseJson(json, signature, faultAt) && textOf(signature, "status") == "error";
}

std::string descriptionText(std::string_view json) {
    JsonValue signature;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, signature, faultAt)) {
        return "  (no description)\n";
    }
    std::string out = heading(signature, "");
    if (const std::string_view part = textOf(signature, "part"); !part.empty()) {
        out += entry("part", printable(part));
    }
    out += entry("path", printable(textOf(signature, "path")));
    out += entry("method", algorithmName(textOf(signature, "signatureMethod")) + ", " +
                               algorithmName(textOf(signature, "canonicalizationMethod")));
    for (const JsonValue& reference : listOf(signature, "references")) {
        std::string text = "\"" + printable(textOf(reference, "uri")) + "\"";
        if (flagOf(reference, "external")) {
            text += " (external)";
        }
        for (const JsonValue& transform : listOf(reference, "transforms")) {
            text += ", " + algorithmName(transform.text());
        }
        out += entry("reference", text);
        out += entry("", algorithmName(textOf(reference, "digestMethod")) + " " +
                             printable(textOf(reference, "digestValue")));
    }
    for (const JsonValue& part : listOf(signature, "keyInfo")) {
        const std::string holds = wordsOf(part, "holds");
        out += entry("keyinfo",
                     printable(textOf(part, "element")) + (holds.empty() ? "" : ": " + holds));
    }
    for (const JsonValue& key : listOf(signature, "keys")) {
        out += keyLine("key", key);
    }
    out += entry("stamp", flagOf(signature, "timestamp") ? "present" : "absent");
    if (const std::string words = wordsOf(signature, "warnings"); !words.empty()) {
        out += entry("warnings", coloured(words, Colour::Note));
    }
    return out;
}

} // namespace vantrel::cli
