// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_PAGE_H
#define DSIG_HTML_PAGE_H

#include "dsig/html/places.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vantrel::dsig::html {

// What a page is told of one signature: the report as written (LastJsonData), and its places. Both
// are values: a page is made when the last of several verifications is over.
struct PageSignature {
    std::string report;
    SignaturePlaces places;
};

// Whether a policy judged the signatures, and how many of them it has to accept for the document to
// be accepted.
enum class Judged : std::uint8_t { No, All, Any };

// Appends a page (HTML) about a document and its signatures: verdict, signers, warnings and causes,
// what a policy says of them, and the text with what each signature covers. It stands alone,
// carries no script and forbids any, and all text of foreign origin is escaped (escape.h). Its size
// is bounded: of many signatures and of a large text it shows parts and says so. A page is opened
// by people who doubt the document, often straight from a mail; it must be safe to open without any
// server. May throw std::bad_alloc.
void appendPage(std::string_view title, const xml::XmlDocument& document,
                std::span<const PageSignature> signatures, Judged judged, std::string& html);

} // namespace vantrel::dsig::html

#endif
