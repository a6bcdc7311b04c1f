// SPDX-License-Identifier: MIT
#include "dsig/html/signature_card.h"

#include "dsig/html/escape.h"
#include "dsig/html/members.h"
#include "dsig/html/words.h"
#include "dsig/report/codes.h"
#include "dsig/report/refusals.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace vantrel::dsig::html {

namespace {

using json::JsonValue;

// Longer texts of a report are shown without their middle. Names in certificates can be of any
// length.
constexpr std::size_t kMostText = 600;

// Everything that is said of a report goes through here or through code().
std::string escaped(std::string_view text) {
    std::string out;
    appendShortened(text, kMostText, out);
    return out;
}

std::string code(std::string_view text) { return "<code>" + escaped(text) + "</code>"; }

// `html` is escaped already, and so in the functions below wherever a parameter has this name.
std::string link(const std::string& id, const std::string& html) {
    return "<a href=\"#" + id + "\">" + html + "</a>";
}

std::string coloured(std::string_view tone, const std::string& html) {
    return "<b class=\"" + std::string(tone) + "\">" + html + "</b>";
}

// The words are those of the JSON report. "not-checked" is neither good nor bad: nobody looked.
std::string_view toneOf(std::string_view status) {
    if (status == "valid" || status == "match") {
        return "good";
    }
    return status == "not-checked" ? "note" : "bad";
}

// A term and what is said of it; nothing where nothing is. Entries that say nothing would make a
// reader search for their meaning.
void appendEntry(std::string_view term, const std::string& html, std::string& out) {
    if (!html.empty()) {
        out.append("<dt>").append(term).append("</dt><dd>").append(html).append("</dd>\n");
    }
}

std::string paragraph(const std::string& html) { return html.empty() ? "" : "<p>" + html + "</p>"; }

// The codes of a list, joined by commas. Codes are shown as they are: whoever looks one up in the
// documents or in the JSON finds it.
std::string words(const JsonValue& object, std::string_view name) {
    std::string out;
    for (const JsonValue& word : listOf(object, name)) {
        out += (out.empty() ? "" : ", ") + code(word.text());
    }
    return out;
}

// There is one at most.
const JsonValue* usedKey(const JsonValue& report) {
    for (const JsonValue& key : listOf(report, "keys")) {
        if (flagOf(key, "used")) {
            return &key;
        }
    }
    return nullptr;
}

// The source tells whose word the key is.
std::string keyWords(const JsonValue& key) {
    std::string out = escaped(textOf(key, "type"));
    const std::string_view curve = textOf(key, "curve");
    if (!curve.empty()) {
        out += " " + escaped(curve);
    } else if (numberOf(key, "bits") > 0) {
        out += " " + std::to_string(numberOf(key, "bits"));
    }
    return out + ", from " + escaped(textOf(key, "source"));
}

// Whose certificate it is, and when and by whom it was issued. These are claims of the certificate;
// whether anybody vouches for it is a warning's business.
std::string holder(const JsonValue& certificate) {
    const std::string_view subject = textOf(certificate, "subject");
    if (subject.empty()) {
        return {};
    }
    std::string out = paragraph("<b>" + escaped(subject) + "</b>");
    out += paragraph("<span class=\"dim\">issued by " + escaped(textOf(certificate, "issuer")) +
                     ", serial number " + code(textOf(certificate, "serial")) + ", valid " +
                     escaped(textOf(certificate, "notBefore")) + " to " +
                     escaped(textOf(certificate, "notAfter")) + "</span>");
    return out;
}

// The signer as the report names it, or else the certificate of the key that verified.
void appendSigner(const JsonValue& report, std::string& out) {
    const JsonValue* const key = usedKey(report);
    const JsonValue* const named = report.find("signer");
    const JsonValue* const signer = named != nullptr ? named : key;
    if (signer != nullptr) {
        const std::string name = holder(*signer);
        std::string_view fingerprint = textOf(*signer, "spkiSha256");
        // A key without a name is told by its fingerprint.
        appendEntry("Signer",
                    (name.empty() ? "<p>Nobody is named.</p>" : name) +
                        (fingerprint.empty() ? "" : paragraph("key " + code(fingerprint))),
                    out);
    }
    if (key != nullptr) {
        appendEntry("Key", keyWords(*key), out);
        return;
    }
    // Where no key verified, what was tried helps to find the one that is missing.
    std::string tried;
    for (const JsonValue& one : listOf(report, "keys")) {
        const std::string subject = escaped(textOf(one, "subject"));
        tried += paragraph(keyWords(one) + (subject.empty() ? "" : ": " + subject));
    }
    appendEntry("Keys tried", tried, out);
}

// What went wrong and what may be done about it. The code stands behind the sentence, for
// searching.
std::string causeOf(const JsonValue& object) {
    const JsonValue* const cause = object.find("cause");
    if (cause == nullptr) {
        return {};
    }
    std::string out = paragraph(escaped(textOf(*cause, "text")) + " " + "<span class=\"dim\">" +
                                code(textOf(*cause, "code")) + "</span>");
    out += paragraph(escaped(textOf(*cause, "evidence")));
    for (const JsonValue& one : listOf(*cause, "try")) {
        out += paragraph("try: " + escaped(one.text()));
    }
    return out;
}

// The text has marks for the listed references only, and none for what came out of an entity. So
// the link would lead nowhere.
std::string linkTo(const std::string& id, bool isMarked, const std::string& html) {
    return isMarked ? link(id, html) : html;
}

std::string exceptions(const JsonValue& reference, const ReferencePlaces& places,
                       std::size_t signature, std::size_t index) {
    // Those that only say that the signature leaves itself out are no exceptions; the places have
    // the others, in the same order.
    std::string out;
    std::size_t listed = 0;
    for (const JsonValue& one : listOf(reference, "excluded")) {
        if (listed == std::min(places.excluded.size(), kListed)) {
            // The limit of the marks is that of the list.
            break;
        }
        // Both lists are matched by their places, not by their numbers, since one leaves out what
        // the other has.
        const xml::TextRange range = places.excluded[listed].range;
        if (numberOf(one, "start") != range.start || numberOf(one, "length") != range.length) {
            continue;
        }
        out += listed == 0 ? " except " : ", ";
        out += linkTo(idOfExclusion(signature, index, listed), index < kListed,
                      escaped(textOf(one, "path"))) +
               " (" + escaped(textOf(one, "why")) + ")";
        ++listed;
    }
    // Counted, not dropped.
    if (places.excluded.size() > listed && listed > 0) {
        out += " and " + withGroups(places.excluded.size() - listed) + " more";
    }
    return out;
}

std::string target(const JsonValue& reference, const ReferencePlaces& places, std::size_t signature,
                   std::size_t index) {
    const std::string_view covers = textOf(reference, "covers");
    const std::string id = idOfTarget(signature, index);
    const std::string except = exceptions(reference, places, signature, index);
    // At least one place that the page shows.
    const bool isMarked =
        index < kListed && std::any_of(places.targets.begin(), places.targets.end(),
                                       [](xml::TextRange range) { return !range.empty(); });
    // The three ways in which a reference covers something here, by the report's own words.
    if (covers == "document") {
        return linkTo(id, isMarked, except.empty() ? "the whole document" : "the document") +
               except;
    }
    if (covers == "element") {
        return "element " + linkTo(id, isMarked, escaped(textOf(reference, "path"))) + except;
    }
    if (covers == "elements") {
        const std::string paths = words(reference, "paths");
        return (paths.empty() ? "nothing" : linkTo(id, isMarked, "elements") + " " + paths) +
               except;
    }
    // What is not in this document cannot be linked to.
    if (const std::string_view part = textOf(reference, "part"); !part.empty()) {
        return "part " + code(part);
    }
    return (covers == "external" ? "external " : "") + code(textOf(reference, "uri"));
}

// Of a digest that matches both are the same, and of one that was not checked there is no second.
std::string digests(const JsonValue& reference) {
    const JsonValue* const digest = reference.find("digest");
    if (digest == nullptr || textOf(reference, "status") != "mismatch") {
        return {};
    }
    return paragraph("<span class=\"dim\">signed digest</span> " + code(textOf(*digest, "stored")) +
                     ", <span class=\"dim\">of what is there</span> " +
                     code(textOf(*digest, "computed")));
}

std::string referenceText(const JsonValue& reference, const ReferencePlaces& places,
                          std::size_t signature, std::size_t index) {
    const std::string_view status = textOf(reference, "status");
    std::string out = coloured(toneOf(status), escaped(status)) + " " +
                      target(reference, places, signature, index) + ", " +
                      escaped(shortAlgorithm(textOf(reference, "digestMethod")));
    // Missing means that it is signed, or that nobody asked.
    if (const JsonValue* const isSigned = reference.find("signed");
        isSigned != nullptr && isSigned->kind() == JsonValue::Kind::False) {
        out += ", " + coloured("note", "not signed by the value");
    }
    // A reference that holds by a leniency has to say so beside its verdict.
    if (const std::string leniencies = words(reference, "accommodations"); !leniencies.empty()) {
        out += ", by leniency " + leniencies;
    }
    return paragraph(out) + causeOf(reference) + digests(reference);
}

// The first ones and those that do not match; the others are counted. Twice as many when they fail,
// since those are what the page is opened for.
std::string references(const JsonValue& report, const SignaturePlaces& places) {
    const std::vector<JsonValue>& list = listOf(report, "references");
    // Both lists come from one verification; the shorter one bounds the walk all the same.
    const std::size_t count = std::min(list.size(), places.references.size());
    std::string out;
    std::size_t listed = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const bool fails = textOf(list[i], "status") != "match";
        if (i < kListed || (fails && listed < 2 * kListed)) {
            out += referenceText(list[i], places.references[i], places.index, i);
            ++listed;
        }
    }
    if (listed < list.size()) {
        out += paragraph("and " + counted(list.size() - listed, "other", "others") +
                         ", which the JSON report lists");
    }
    return out;
}

// The parts that a manifest names: the first, and all that do not hold. Others are counted.
std::string manifest(const JsonValue& report) {
    const std::vector<JsonValue>& list = listOf(report, "manifest");
    std::string out;
    std::size_t listed = 0;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const bool fails = textOf(list[i], "status") != "match";
        if (i < kListed || (fails && listed < 2 * kListed)) {
            out += referenceText(list[i], ReferencePlaces(), 0, i);
            ++listed;
        }
    }
    if (listed < list.size()) {
        out += paragraph("and " + counted(list.size() - listed, "other", "others") +
                         ", which the JSON report lists");
    }
    return out;
}

// The parts of the package that it does not cover and should; loud, since nothing else shows them.
std::string uncoveredParts(const JsonValue& report) {
    const std::vector<JsonValue>& list = listOf(report, "partsNotCovered");
    std::string out;
    for (const JsonValue& name : std::span(list).first(std::min(list.size(), kListed))) {
        out += paragraph(coloured("bad", "not covered") + " " + code(name.text()));
    }
    if (list.size() > kListed) {
        out += paragraph("and " + counted(list.size() - kListed, "other", "others") +
                         ", which the JSON report lists");
    }
    return out;
}

// Where the text shows what a warning is about. Empty where there is no such place.
std::string placeOf(std::string_view warning, const SignaturePlaces& places, bool hasUncovered) {
    if (warning == warning::kDocumentNotCovered && hasUncovered) {
        return kUncoveredId;
    }
    const std::size_t count = std::min(places.references.size(), kListed);
    for (std::size_t i = 0; warning == warning::kContentExcluded && i < count; ++i) {
        if (!places.references[i].excluded.empty()) {
            return idOfExclusion(places.index, i, 0);
        }
    }
    // Other warnings are about the signature as a whole.
    return places.element.empty() ? std::string() : idOfSignature(places.index);
}

std::string warnings(const JsonValue& report, const SignaturePlaces& places, bool hasUncovered) {
    std::string out;
    for (const JsonValue& word : listOf(report, "warnings")) {
        // A word without a sentence stands for itself.
        const std::string_view sentence = sentenceOf(word.text());
        const std::string id = placeOf(word.text(), places, hasUncovered);
        std::string text(sentence);
        text += (sentence.empty() ? "" : " ") + code(word.text());
        out += paragraph(id.empty() ? text : text + " " + link(id, "show"));
    }
    return out;
}

// A time-stamp that is not there is no failure and needs no line.
std::string timestamp(const JsonValue& report) {
    const std::string_view status = textOf(report, "timestamp");
    if (status == "absent" || status.empty()) {
        return {};
    }
    std::string out = coloured(toneOf(status), escaped(status));
    if (const std::string_view time = textOf(report, "timestampTime"); !time.empty()) {
        out += ", " + escaped(time) + ", by " + escaped(textOf(report, "timestampAuthority"));
    }
    return out;
}

// What a policy says of the signature; nothing without one.
std::string acceptance(const JsonValue& report) {
    if (report.find("accepted") == nullptr) {
        return {};
    }
    if (flagOf(report, "accepted")) {
        return coloured("good", "accepted");
    }
    std::string out = paragraph(coloured("bad", "not accepted"));
    for (const JsonValue& word : listOf(report, "refusals")) {
        out += paragraph(escaped(refusalText(word.text())) + " " + code(word.text()));
    }
    return out;
}

// The first of a list; a path that a document was built for may be long, and is no reading.
std::span<const JsonValue> shown(const std::vector<JsonValue>& list) {
    return std::span(list).first(std::min(list.size(), kListed));
}

// The certification path, from the signer to the anchor, and what is wrong with it. An untrusted
// one may end before an anchor.
std::string trust(const JsonValue& report) {
    const JsonValue* const path = report.find("trust");
    if (path == nullptr) {
        return {};
    }
    const bool isTrusted = textOf(*path, "status") == "trusted";
    std::string out =
        paragraph(coloured(isTrusted ? "good" : "bad", escaped(textOf(*path, "status"))) + " at " +
                  escaped(textOf(*path, "time")));
    std::string_view relation = "";
    for (const JsonValue& subject : shown(listOf(*path, "path"))) {
        out += paragraph(std::string(relation) + escaped(subject.text()));
        relation = "issued by ";
    }
    for (const JsonValue& problem : shown(listOf(*path, "problems"))) {
        const std::string_view subject = textOf(problem, "certificate");
        out += paragraph(code(textOf(problem, "code")) + " " +
                         (subject.empty() ? "" : escaped(subject) + ": ") +
                         escaped(textOf(problem, "text")));
    }
    return out;
}

// XAdES; most signatures name no certificate, which needs no line.
std::string signingCertificate(const JsonValue& report) {
    const std::string_view word = textOf(report, "signingCertificate");
    return word.empty() || word == "absent" ? std::string() : coloured(toneOf(word), escaped(word));
}

// The number has the signature's colour, which is what ties the card to the text.
void appendHeading(const JsonValue& report, const SignaturePlaces& places, std::size_t number,
                   std::string& out) {
    const std::string_view status = textOf(report, "status");
    // Signatures beyond the number of colours share the last one, as in the text.
    const unsigned colour = 1U << std::min(number, kColours - 1);
    const std::string name = "Signature " + std::to_string(places.index);
    out += "<h2><span class=\"sw m" + std::to_string(colour) + "\">" +
           std::to_string(places.index) + "</span>" +
           (places.element.empty() ? name : link(idOfSignature(places.index), name));
    if (const std::string_view id = textOf(report, "id"); !id.empty()) {
        out += code(id);
    }
    out += coloured(toneOf(status), escaped(status)) + "</h2>\n";
}

// Without a cause the deciding line of the log is the reason. The log's last line is written for
// developers, and better than nothing.
std::string reason(const JsonValue& report) {
    const std::string cause = causeOf(report);
    return cause.empty() ? paragraph(escaped(textOf(report, "reason"))) : cause;
}

} // namespace

std::string idOfSignature(std::size_t signature) { return "p" + std::to_string(signature); }

std::string idOfTarget(std::size_t signature, std::size_t reference) {
    return "c" + std::to_string(signature) + "-" + std::to_string(reference);
}

std::string idOfExclusion(std::size_t signature, std::size_t reference, std::size_t exclusion) {
    return "e" + std::to_string(signature) + "-" + std::to_string(reference) + "-" +
           std::to_string(exclusion);
}

void appendCard(const JsonValue& report, const SignaturePlaces& places, std::size_t number,
                bool hasUncovered, std::string& out) {
    out += "<article class=\"card\" id=\"s" + std::to_string(places.index) + "\">";
    appendHeading(report, places, number, out);
    out += "<dl>\n";
    if (const std::string_view part = textOf(report, "part"); !part.empty()) {
        appendEntry("Part", code(part), out);
    }
    // First why, since nothing else is read when it fails.
    appendEntry("Why", reason(report), out);
    const std::string_view value = textOf(report, "value");
    if (!value.empty()) {
        appendEntry("Value", coloured(toneOf(value), escaped(value)), out);
    }
    appendEntry("Policy", acceptance(report), out);
    appendSigner(report, out);
    appendEntry("Trust", trust(report), out);
    appendEntry("Signed for certificate", signingCertificate(report), out);
    appendEntry("Covers", references(report, places), out);
    appendEntry("Manifest", manifest(report), out);
    appendEntry("Parts", uncoveredParts(report), out);
    appendEntry("Time-stamp", timestamp(report), out);
    appendEntry("Warnings", warnings(report, places, hasUncovered), out);
    appendEntry("Leniencies", words(report, "accommodations"), out);
    appendEntry("Profile", escaped(textOf(report, "profile")), out);
    appendEntry("Method",
                escaped(shortAlgorithm(textOf(report, "signatureMethod"))) + ", " +
                    escaped(shortAlgorithm(textOf(report, "canonicalizationMethod"))),
                out);
    out += "</dl></article>\n";
}

} // namespace vantrel::dsig::html
