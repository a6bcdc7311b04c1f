#include "cli/report_text.h"

#include "cli/terminal.h"
#include <vantrel/json_value.h>

#include <array>
#include <cstdint>
#include <set>
#include <utility>

namespace vantrel::cli {

namespace {

using json::JsonValue;

// References beyond this number are summed up, but for those that do not match or
// of which something is to be said.
constexpr std::size_t kListedReferences = 20;
// Exclusions of one reference likewise.
constexpr std::size_t kListedExclusions = 10;
// What stands for a report that is too large is short itself.
constexpr std::size_t kMaxBriefReport = 1024;

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

std::string wordsOf(const JsonValue& object, std::string_view name) {
    std::string words;
    for (const JsonValue& word : listOf(object, name)) {
        words += words.empty() ? "" : ", ";
        words += printable(word.text());
    }
    return words;
}

std::string line(std::string_view label, std::string_view text) {
    std::string out = "    " + std::string(label);
    out.append(label.size() < 10 ? 10 - label.size() : 1, ' ');
    return out + std::string(text) + "\n";
}

Colour colourOf(std::string_view status) {
    if (status == "valid" || status == "match") {
        return Colour::Good;
    }
    return status == "not-checked" ? Colour::Note : Colour::Bad;
}

std::string heading(const JsonValue& signature) {
    std::string out = "  signature " + std::to_string(numberOf(signature, "index"));
    if (const std::string_view id = textOf(signature, "id"); !id.empty()) {
        out += " \"" + printable(id) + "\"";
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
        if (why == "enveloped-signature") {
            continue;
        }
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
        return "elements " + wordsOf(reference, "paths") + exceptions(reference);
    }
    if (covers == "external") {
        return "external " + uri;
    }
    return "\"" + uri + "\"";
}

std::string referenceLine(const JsonValue& reference) {
    const std::string_view status = textOf(reference, "status");
    std::string text = targetOf(reference) + ", " +
                       algorithmName(textOf(reference, "digestMethod")) + ": " +
                       coloured(status, colourOf(status));
    if (status != "match" && status != "not-checked") {
        text += " (reason " + std::to_string(numberOf(reference, "reason")) + ")";
    }
    if (const JsonValue* const isSigned = reference.find("signed");
        isSigned != nullptr && isSigned->kind() == JsonValue::Kind::False) {
        text += ", not signed by the value";
    }
    if (const std::string words = wordsOf(reference, "accommodations"); !words.empty()) {
        text += " [" + words + "]";
    }
    return line("covers", text);
}

std::string referenceLines(const JsonValue& signature) {
    const std::vector<JsonValue>& references = listOf(signature, "references");
    std::string out;
    std::size_t unlisted = 0;
    std::size_t withExceptions = 0;
    std::set<std::string_view> leniencies;
    for (const JsonValue& reference : references) {
        const bool matches = textOf(reference, "status") == "match";
        if (references.size() <= kListedReferences || !matches ||
            numberOf(reference, "index") < 10) {
            out += referenceLine(reference);
            continue;
        }
        ++unlisted;
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
        out += line("", text + " (--json lists all)");
    }
    return out;
}

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
    if (flagOf(key, "nameFromDocument")) {
        text += " (the name comes from the document and is not vouched for)";
    }
    std::string out = line(label, text);
    if (const std::string_view serial = textOf(key, "serial"); !serial.empty()) {
        out += line("", "issued by " + printable(textOf(key, "issuer")) + ", serial 0x" +
                            printable(serial));
        out += line("", "valid from " + printable(textOf(key, "notBefore")) + " to " +
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

} // namespace

std::string algorithmName(std::string_view identifier) {
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
    const std::size_t mark = identifier.find_last_of("#/:");
    if (mark != std::string_view::npos && mark + 1 < identifier.size()) {
        identifier.remove_prefix(mark + 1);
    }
    return printable(identifier);
}

std::string fileHeading(std::string_view name, std::string_view status) {
    return printable(name) + ": " + coloured(status, colourOf(status)) + "\n";
}

std::string signatureText(std::string_view json) {
    JsonValue signature;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, signature, faultAt)) {
        return "  (no report)\n";
    }
    const std::string_view status = textOf(signature, "status");
    std::string out = heading(signature) + ": " + coloured(status, colourOf(status)) + "\n";
    if (const std::string_view reason = textOf(signature, "reason"); !reason.empty()) {
        out += line("reason", printable(reason));
    }
    out += line("method", algorithmName(textOf(signature, "signatureMethod")) + ", " +
                              algorithmName(textOf(signature, "canonicalizationMethod")));
    if (const std::string_view profile = textOf(signature, "profile"); !profile.empty()) {
        out += line("profile", printable(profile));
    }
    out += keyLines(signature) + referenceLines(signature);
    if (const std::string_view stamp = textOf(signature, "timestamp"); stamp != "absent") {
        const std::string_view time = textOf(signature, "timestampTime");
        const std::string_view by = textOf(signature, "timestampAuthority");
        out += line("stamp", coloured(stamp, colourOf(stamp)) +
                                 (time.empty() ? "" : ", " + printable(time)) +
                                 (by.empty() ? "" : ", by " + printable(by)));
    }
    if (const std::string words = wordsOf(signature, "accommodations"); !words.empty()) {
        out += line("leniency", coloured(words, Colour::Note));
    }
    if (const std::string words = wordsOf(signature, "warnings"); !words.empty()) {
        out += line("warnings", coloured(words, Colour::Note));
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
    std::string out = heading(signature) + "\n";
    out += line("path", printable(textOf(signature, "path")));
    out += line("method", algorithmName(textOf(signature, "signatureMethod")) + ", " +
                              algorithmName(textOf(signature, "canonicalizationMethod")));
    for (const JsonValue& reference : listOf(signature, "references")) {
        std::string text = "\"" + printable(textOf(reference, "uri")) + "\"";
        if (flagOf(reference, "external")) {
            text += " (external)";
        }
        for (const JsonValue& transform : listOf(reference, "transforms")) {
            text += ", " + algorithmName(transform.text());
        }
        out += line("reference", text);
        out += line("", algorithmName(textOf(reference, "digestMethod")) + " " +
                            printable(textOf(reference, "digestValue")));
    }
    for (const JsonValue& entry : listOf(signature, "keyInfo")) {
        const std::string holds = wordsOf(entry, "holds");
        out += line("keyinfo",
                    printable(textOf(entry, "element")) + (holds.empty() ? "" : ": " + holds));
    }
    for (const JsonValue& key : listOf(signature, "keys")) {
        out += keyLine("key", key);
    }
    out += line("stamp", flagOf(signature, "timestamp") ? "present" : "absent");
    if (const std::string words = wordsOf(signature, "warnings"); !words.empty()) {
        out += line("warnings", coloured(words, Colour::Note));
    }
    return out;
}

} // namespace vantrel::cli
