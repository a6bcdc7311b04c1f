// SPDX-License-Identifier: MIT
// Canonical forms beside those of libxml2, where that is installed: the first byte chooses the
// method, the comments and whether a prefix list is given; the rest is a document. What both
// canonicalize has one form.

#include "foundation/text/LogBase.h"
#include "foundation/xml/canon/XmlCanon.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#if defined(VANTREL_HAS_LIBXML2)
#include <libxml/c14n.h>
#include <libxml/parser.h>
#endif

using namespace vantrel;

namespace {

#if defined(VANTREL_HAS_LIBXML2)
void sayNothing(void* /*context*/, const char* /*format*/, ...) {}

// False where it refuses the document, or reads what is outside of it or relative names otherwise.
bool formOfLibxml2(std::string_view text, const XmlCanon& canon, std::string& form) {
    constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NOERROR |
                             XML_PARSE_NOWARNING | XML_PARSE_NONET;
    xmlSetGenericErrorFunc(nullptr, sayNothing);
    xmlDoc* const document =
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "d", nullptr, kOptions);
    if (document == nullptr) {
        return false;
    }
    xmlChar prefix[] = "p";
    xmlChar* prefixes[] = {prefix, nullptr};
    xmlChar* octets = nullptr;
    const bool isExclusive = canon.m_method == 2;
    const int size = xmlC14NDocDumpMemory(
        document, nullptr, isExclusive ? XML_C14N_EXCLUSIVE_1_0 : XML_C14N_1_0,
        isExclusive ? prefixes : nullptr, canon.m_withComments ? 1 : 0, &octets);
    if (size >= 0) {
        form.assign(octets, octets + size);
    }
    xmlFree(octets);
    xmlFreeDoc(document);
    return size >= 0;
}

// libxml2 binds the prefixes of an entity's elements where the entity is first used, or not at all.
bool hasPrefixesInEntities(std::string_view text) {
    constexpr std::string_view kDeclaration = "<!ENTITY";
    for (std::size_t at = text.find(kDeclaration); at != std::string_view::npos;
         at = text.find(kDeclaration, at + 1)) {
        const std::size_t open = text.find_first_of("\"'", at);
        if (open == std::string_view::npos) {
            return false;
        }
        const std::string_view value = text.substr(open, text.find(text[open], open + 1) - open);
        // A reference may stand for either character.
        if (value.find_first_of("<&") != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

// It writes names of namespaces as they are; Canonical XML escapes them like any attribute's value.
bool hasEscapedNamespaces(std::string_view form) {
    constexpr std::string_view kDeclaration = " xmlns";
    for (std::size_t at = form.find(kDeclaration); at != std::string_view::npos;
         at = form.find(kDeclaration, at + 1)) {
        const std::size_t open = form.find('"', at);
        const std::size_t close = form.find('"', std::min(open, form.size() - 1) + 1);
        if (open < close && form.substr(open, close - open).find('&') != std::string_view::npos) {
            return true;
        }
    }
    return false;
}
#endif

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > 32768) {
        return 0;
    }
    LogNull log;
    XmlCanon canon;
    canon.m_method = (data[0] & 1) != 0 ? 2 : 1;
    canon.m_withComments = (data[0] & 2) != 0;
    const std::string_view text = asText({data + 1, size - 1});
    // What the document type declares outside is not read here, and by libxml2 where it can be.
    if (text.find("SYSTEM") != std::string_view::npos ||
        text.find("PUBLIC") != std::string_view::npos) {
        return 0;
    }
    StringBuffer form;
    canon.m_inclusivePrefixes.appendView("p");
    if (!canon.xmlCanonicalize(StringBuffer(text), nullptr, 0, form, log)) {
        return 0;
    }
#if defined(VANTREL_HAS_LIBXML2)
    std::string wanted;
    if (formOfLibxml2(text, canon, wanted) && form.view() != wanted &&
        !hasPrefixesInEntities(text) && !hasEscapedNamespaces(form.view())) {
        std::fprintf(stderr, "here:\n%.*s\nlibxml2:\n%s\n", static_cast<int>(form.view().size()),
                     form.view().data(), wanted.c_str());
        std::abort();
    }
#endif
    return 0;
}
