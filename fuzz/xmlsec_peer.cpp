// SPDX-License-Identifier: MIT
#include "fuzz/xmlsec_peer.h"

#if defined(VANTREL_HAS_XMLSEC)

#include <libxml/parser.h>
#include <libxml/tree.h>

// Headers of C, which know no other way to cast.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#include <xmlsec/crypto.h>
#include <xmlsec/errors.h>
#include <xmlsec/xmldsig.h>
#include <xmlsec/xmlsec.h>
#include <xmlsec/xmltree.h>
#pragma GCC diagnostic pop

#include <memory>

// The peer leaks where it gives up, which is no finding here.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libxmlsec1"; }

namespace vantrel::fuzz {

namespace {

void silenceXml(void* /*context*/, const char* /*format*/, ...) {}
void silenceXmlsec(const char* /*file*/, int /*line*/, const char* /*function*/,
                   const char* /*object*/, const char* /*subject*/, int /*reason*/,
                   const char* /*message*/) {}

bool startOnce() {
    static const bool kStarted = [] {
        xmlInitParser();
        xmlSetGenericErrorFunc(nullptr, silenceXml);
        const bool isStarted =
            xmlSecInit() == 0 && xmlSecCryptoAppInit(nullptr) == 0 && xmlSecCryptoInit() == 0;
        xmlSecErrorsSetCallback(silenceXmlsec);
        return isStarted;
    }();
    return kStarted;
}

xmlNode* nextInDocument(xmlNode* node) {
    if (node->children != nullptr && node->type == XML_ELEMENT_NODE) {
        return node->children;
    }
    while (node != nullptr && node->next == nullptr) {
        node = node->parent;
    }
    return node != nullptr ? node->next : nullptr;
}

// Null where there are namesakes, so that the number would mean another one.
xmlNode* findSignature(xmlNode* root, int wanted) {
    xmlNode* found = nullptr;
    int count = 0;
    for (xmlNode* node = root; node != nullptr; node = nextInDocument(node)) {
        if (node->type != XML_ELEMENT_NODE ||
            xmlStrstr(node->name, BAD_CAST "Signature") == nullptr) {
            continue;
        }
        if (xmlSecCheckNodeName(node, xmlSecNodeSignature, xmlSecDSigNs) != 0) {
            found = count++ == wanted ? node : found;
        } else if (xmlStrEqual(node->name, BAD_CAST "Signature") != 0 ||
                   xmlStrEqual(node->name, BAD_CAST "AuthSignature") != 0) {
            return nullptr;
        }
    }
    return found;
}

} // namespace

PeerVerdict verdictOfXmlsec(const std::string& document, int signature, std::string_view secret) {
    constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NOERROR |
                             XML_PARSE_NOWARNING | XML_PARSE_NONET;
    if (!startOnce()) {
        return PeerVerdict::Silent;
    }
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> parsed(
        xmlReadMemory(document.data(), static_cast<int>(document.size()), "d", nullptr, kOptions),
        xmlFreeDoc);
    xmlNode* const root = parsed ? xmlDocGetRootElement(parsed.get()) : nullptr;
    xmlNode* const node = root != nullptr ? findSignature(root, signature) : nullptr;
    const std::unique_ptr<xmlSecDSigCtx, decltype(&xmlSecDSigCtxDestroy)> context(
        xmlSecDSigCtxCreate(nullptr), xmlSecDSigCtxDestroy);
    if (node == nullptr || context == nullptr) {
        return PeerVerdict::Silent;
    }
    const xmlChar* const ids[] = {BAD_CAST "Id", BAD_CAST "ID", BAD_CAST "id", nullptr};
    xmlSecAddIDs(parsed.get(), root, const_cast<const xmlChar**>(ids));
    context->enabledReferenceUris =
        xmlSecTransformUriTypeEmpty | xmlSecTransformUriTypeSameDocument;
    const std::string bytes(secret);
    context->signKey =
        xmlSecKeyReadMemory(xmlSecKeyDataHmacId, reinterpret_cast<const xmlSecByte*>(bytes.data()),
                            static_cast<xmlSecSize>(bytes.size()));
    if (context->signKey == nullptr || xmlSecDSigCtxVerify(context.get(), node) != 0) {
        return PeerVerdict::Silent;
    }
    return context->status == xmlSecDSigStatusSucceeded ? PeerVerdict::Valid : PeerVerdict::Invalid;
}

} // namespace vantrel::fuzz

#else

namespace vantrel::fuzz {

PeerVerdict verdictOfXmlsec(const std::string& /*document*/, int /*signature*/,
                            std::string_view /*secret*/) {
    return PeerVerdict::Silent;
}

} // namespace vantrel::fuzz

#endif
