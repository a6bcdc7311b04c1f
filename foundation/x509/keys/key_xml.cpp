// SPDX-License-Identifier: MIT
#include "foundation/x509/keys/key_xml.h"

#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/ecc/curves.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/keys/_vlPublicKey.h"
#include "foundation/x509/keys/xml_element.h"
#include "foundation/xml/scan/xml_document.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vantrel::x509 {

namespace {

constexpr std::string_view kMissingPart = "a part of the key value is missing or malformed";

// The number in the base64 content of a child (ds:CryptoBinary).
bool readNumber(const XmlElement& parent, std::string_view child, DataBuffer& out) {
    XmlElement element;
    std::string content;
    return parent.child(child, element) && element.appendContent(content) &&
           text::decodeBase64(content, out) && !out.isEmpty();
}

// A non-negative decimal number as big-endian bytes.
bool decodeDecimal(std::string_view decimal, DataBuffer& out) {
    XString number(decimal);
    return number.reencode("decimal", "hex") && !number.getUtf8Sb().beginsWith("-") &&
           text::decodeHex(number.getUtf8Sb().view(), out);
}

// <child Value="decimal"/> (RFC 4050 3.3)
bool readDecimalValue(const XmlElement& parent, std::string_view child, DataBuffer& out) {
    XmlElement element;
    std::string value;
    return parent.child(child, element) && element.attribute("Value", value) &&
           decodeDecimal(value, out);
}

// <child>decimal</child>
bool readDecimalContent(const XmlElement& parent, std::string_view child, DataBuffer& out) {
    XmlElement element;
    std::string content;
    return parent.child(child, element) && element.appendContent(content) &&
           decodeDecimal(content, out);
}

bool loadRsa(const XmlElement& value, _vlPublicKey& key, std::string_view& whyNot) {
    DataBuffer modulus;
    DataBuffer exponent;
    return readNumber(value, "Modulus", modulus) && readNumber(value, "Exponent", exponent) &&
           key.loadRsa(modulus.view(), exponent.view(), whyNot);
}

// XML Signature 4.5.2.1 lets P, Q, G and Y be shared by other means; nothing here knows of any.
bool loadDsa(const XmlElement& value, _vlPublicKey& key, std::string_view& whyNot) {
    DataBuffer p;
    DataBuffer q;
    DataBuffer g;
    DataBuffer y;
    return readNumber(value, "P", p) && readNumber(value, "Q", q) && readNumber(value, "G", g) &&
           readNumber(value, "Y", y) && key.loadDsa(p.view(), q.view(), g.view(), y.view(), whyNot);
}

// "urn:oid:1.2.840.10045.3.1.7", or the identifier alone, or a name of the curve.
const crypto::Curve* curveFromUri(std::string_view uri) noexcept {
    constexpr std::string_view kUrn = "urn:oid:";
    const bool isUrn = uri.size() > kUrn.size() &&
                       std::equal(kUrn.begin(), kUrn.end(), uri.begin(), [](char a, char b) {
                           return a == (b >= 'A' && b <= 'Z' ? b + ('a' - 'A') : b);
                       });
    const std::string_view name = isUrn ? uri.substr(kUrn.size()) : uri;
    const crypto::Curve* const curve = crypto::findCurveByOid(name);
    return curve != nullptr ? curve : crypto::findCurveByName(name);
}

const crypto::Curve* namedCurve(const XmlElement& parent) {
    XmlElement name;
    std::string uri;
    if (!parent.child("NamedCurve", name) ||
        (!name.attribute("URI", uri) && !name.attribute("URN", uri))) {
        return nullptr;
    }
    return curveFromUri(uri);
}

// ECParameters (XML Signature 1.1, 4.5.2.3.1). Parameters of nobody's curve are refused: whoever
// may choose the base point chooses whose key he has.
const crypto::Curve* explicitCurve(const XmlElement& parameters) {
    XmlElement field;
    XmlElement prime;
    XmlElement curve;
    DataBuffer p;
    DataBuffer a;
    DataBuffer b;
    DataBuffer base;
    DataBuffer order;
    if (!parameters.child("FieldID", field) || !field.child("Prime", prime) ||
        !parameters.child("Curve", curve) || !readNumber(prime, "P", p) ||
        !readNumber(curve, "A", a) || !readNumber(curve, "B", b) ||
        !readNumber(parameters, "Base", base) || !readNumber(parameters, "Order", order)) {
        return nullptr;
    }
    return crypto::findCurveByParameters(p.view(), a.view(), b.view(), base.view(), order.view());
}

// 04 || X || Y, both in the width of the field (SEC 1, 2.3.3).
bool joinPoint(ByteView x, ByteView y, std::size_t width, DataBuffer& out) {
    const std::array<ByteView, 2> coordinates{x, y};
    out.clear();
    out.appendChar(0x04);
    for (ByteView coordinate : coordinates) {
        while (!coordinate.empty() && coordinate[0] == 0) {
            coordinate = coordinate.subspan(1);
        }
        if (coordinate.size() > width) {
            return false;
        }
        const std::vector<std::uint8_t> padding(width - coordinate.size(), 0);
        if (!out.append(ByteView(padding)) || !out.append(coordinate)) {
            return false;
        }
    }
    return true;
}

bool readDecimalPoint(const XmlElement& point, std::size_t width, DataBuffer& out) {
    DataBuffer x;
    DataBuffer y;
    return readDecimalValue(point, "X", x) && readDecimalValue(point, "Y", y) &&
           joinPoint(x.view(), y.view(), width, out);
}

// ExplicitParams (RFC 4050 3.2.2)
const crypto::Curve* explicitDecimalCurve(const XmlElement& parameters) {
    XmlElement field;
    XmlElement curve;
    XmlElement baseParams;
    XmlElement basePoint;
    DataBuffer p;
    DataBuffer a;
    DataBuffer b;
    DataBuffer base;
    DataBuffer order;
    if (!parameters.child("FieldParams", field) || !parameters.child("CurveParams", curve) ||
        !parameters.child("BasePointParams", baseParams) ||
        !baseParams.child("BasePoint", basePoint) || !readDecimalContent(field, "P", p) ||
        !readDecimalValue(curve, "A", a) || !readDecimalValue(curve, "B", b) ||
        !readDecimalContent(baseParams, "Order", order) ||
        !readDecimalPoint(basePoint, p.getSize(), base)) {
        return nullptr;
    }
    return crypto::findCurveByParameters(p.view(), a.view(), b.view(), base.view(), order.view());
}

bool takePoint(const crypto::Curve* curve, ByteView point, _vlPublicKey& key,
               std::string_view& whyNot) {
    auto loaded = std::make_unique<EccVerifier>();
    if (!loaded->loadPoint(*curve, point, whyNot)) {
        return false;
    }
    key.takeEc(std::move(loaded));
    return true;
}

// RFC 4050 3.1
bool loadRfc4050(const XmlElement& value, _vlPublicKey& key, std::string_view& whyNot) {
    XmlElement domain;
    XmlElement parameters;
    XmlElement publicKey;
    if (!value.child("DomainParameters", domain) || !value.child("PublicKey", publicKey)) {
        return false;
    }
    const crypto::Curve* const curve = domain.child("ExplicitParams", parameters)
                                           ? explicitDecimalCurve(parameters)
                                           : namedCurve(domain);
    if (curve == nullptr) {
        whyNot = "the curve of the key value is not supported";
        return false;
    }
    DataBuffer point;
    return readDecimalPoint(publicKey, curve->fieldBytes(), point) &&
           takePoint(curve, point.view(), key, whyNot);
}

bool loadEc(const XmlElement& value, _vlPublicKey& key, std::string_view& whyNot) {
    XmlElement inner;
    if (value.child("ECDSAKeyValue", inner)) {
        return loadRfc4050(inner, key, whyNot);
    }
    if (value.child("DomainParameters", inner)) {
        return loadRfc4050(value, key, whyNot);
    }
    const crypto::Curve* const curve =
        value.child("ECParameters", inner) ? explicitCurve(inner) : namedCurve(value);
    if (curve == nullptr) {
        whyNot = "the curve of the key value is unknown";
        return false;
    }
    DataBuffer point;
    return readNumber(value, "PublicKey", point) && takePoint(curve, point.view(), key, whyNot);
}

struct KeyValueForm {
    std::string_view element;
    bool (*load)(const XmlElement& value, _vlPublicKey& key, std::string_view& whyNot);
};
constexpr KeyValueForm kForms[] = {
    {"RSAKeyValue", loadRsa},
    {"DSAKeyValue", loadDsa},
    {"ECKeyValue", loadEc},
    {"ECDSAKeyValue", loadRfc4050},
};

// Goes down through KeyInfo and KeyValue to the element that is one of the forms.
const KeyValueForm* findForm(XmlElement& element) {
    for (int level = 0; level < 3; ++level) {
        for (const KeyValueForm& form : kForms) {
            XmlElement child;
            if (element.localName() == form.element) {
                return &form;
            }
            if (element.child(form.element, child)) {
                element = child;
                return &form;
            }
        }
        XmlElement keyValue;
        if (!element.child("KeyValue", keyValue)) {
            return nullptr;
        }
        element = keyValue;
    }
    return nullptr;
}

} // namespace

bool loadKeyXml(std::string_view xml, _vlPublicKey& key, std::string_view& whyNot) {
    key.clear();
    whyNot = "the key value is not well-formed XML";
    xml::ParseOptions options;
    options.fragment = true;
    xml::ParseFailure failure;
    const auto document = xml::XmlDocument::parse(StringBuffer(xml), options, failure);
    if (!document) {
        return false;
    }
    XmlElement element(*document, 0);
    const KeyValueForm* const form = findForm(element);
    if (form == nullptr) {
        whyNot = "the XML is no key value";
        return false;
    }
    whyNot = kMissingPart;
    return form->load(element, key, whyNot);
}

} // namespace vantrel::x509
