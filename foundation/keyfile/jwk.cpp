// SPDX-License-Identifier: MIT
#include "foundation/keyfile/jwk.h"

#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/ecc/curves.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/json/json_value.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/encoders.h"

#include <memory>
#include <new>

// The members are those of the standard, and no more are looked at: what names a key (kid) or comes
// with it (x5c) says nothing of the key itself.
namespace vantrel::keyfile {

namespace {

using json::JsonValue;

std::string_view textOf(const JsonValue& object, std::string_view name) {
    const JsonValue* const member = object.find(name);
    return member != nullptr && member->kind() == JsonValue::Kind::String ? member->text()
                                                                          : std::string_view();
}

// Base64urlUInt and octets (RFC 7518, 2).
bool readOctets(const JsonValue& jwk, std::string_view name, DataBuffer& out) {
    return text::decode(textOf(jwk, name), text::Encoding::Base64Url, out) && !out.isEmpty();
}

// RFC 7518 6.3.1
bool loadRsa(const JsonValue& jwk, _vlPublicKey& key, KeyFileFault& fault) {
    DataBuffer modulus;
    DataBuffer exponent;
    if (!readOctets(jwk, "n", modulus) || !readOctets(jwk, "e", exponent)) {
        fault.what = "the JWK has no n and e, or they are not base64url";
        return false;
    }
    std::string_view whyNot;
    const bool ok = key.loadRsa(modulus.view(), exponent.view(), whyNot);
    fault.what = whyNot;
    return ok;
}

// RFC 7518 6.2.1: each coordinate has the full width of the field.
bool loadEc(const JsonValue& jwk, _vlPublicKey& key, KeyFileFault& fault) {
    const crypto::Curve* const curve = crypto::findCurveByName(textOf(jwk, "crv"));
    if (curve == nullptr) {
        fault.what = "the curve of the JWK is not supported";
        return false;
    }
    DataBuffer x;
    DataBuffer y;
    DataBuffer point;
    point.appendChar(0x04); // uncompressed (SEC 1, 2.3.3)
    if (!readOctets(jwk, "x", x) || !readOctets(jwk, "y", y) ||
        x.getSize() != curve->fieldBytes() || y.getSize() != curve->fieldBytes()) {
        fault.what = "the JWK has no x and y of its curve's width";
        return false;
    }
    std::string_view whyNot = "out of memory";
    auto loaded = std::make_unique<EccVerifier>();
    if (!point.append(x.view()) || !point.append(y.view()) ||
        !loaded->loadPoint(*curve, point.view(), whyNot)) {
        fault.what = whyNot;
        return false;
    }
    key.takeEc(std::move(loaded));
    return true;
}

// RFC 8037 2. The curve is one of EdDSA.
bool loadEdwards(const JsonValue& jwk, _vlPublicKey& key, KeyFileFault& fault) {
    const crypto::EdwardsCurve* const curve = crypto::findEdwardsCurve(textOf(jwk, "crv"));
    DataBuffer x;
    if (!readOctets(jwk, "x", x)) {
        fault.what = "the JWK has no x, or it is not base64url";
        return false;
    }
    std::string_view whyNot;
    std::unique_ptr<crypto::EdwardsKey> loaded = crypto::EdwardsKey::load(*curve, x.view(), whyNot);
    if (loaded == nullptr) {
        fault.what = whyNot;
        return false;
    }
    key.takeEdwards(std::move(loaded));
    return true;
}

bool loadOne(const JsonValue& jwk, std::vector<Ref<ClsPublicKey>>& keys, KeyFileFault& fault) {
    const std::string_view kind = textOf(jwk, "kty");
    fault.remedy = {};
    if (kind == "oct") {
        fault = {"this is a JWK with a secret, not a public key",
                 "--hmac-key-file with the octets of its member k"};
        return false;
    }
    // An octet key pair may be one for key agreement.
    const bool edwards = kind == "OKP" && crypto::findEdwardsCurve(textOf(jwk, "crv")) != nullptr;
    if (kind != "RSA" && kind != "EC" && !edwards) {
        fault.what = kind.empty() ? "the JSON is no JWK and no JWK set"
                                  : "the JWK is of a kind that is not supported";
        return false;
    }
    // RFC 7518 6.2.2, 6.3.2, RFC 8037 2. Its public half is in there, too; who hands out private keys by
    // mistake had better hear of it.
    if (jwk.find("d") != nullptr) {
        fault = {"this is a private key (JWK)", "the same JWK without its private members"};
        return false;
    }
    // RFC 7517 4.2
    if (textOf(jwk, "use") == "enc") {
        fault.what = "the JWK is for encryption, not for signatures";
        return false;
    }
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    if (!key) {
        throw std::bad_alloc();
    }
    const auto load = kind == "RSA" ? loadRsa : kind == "EC" ? loadEc : loadEdwards;
    if (!load(jwk, key->key(), fault)) {
        return false;
    }
    keys.push_back(std::move(key));
    return true;
}

} // namespace

bool loadJwk(std::string_view json, std::vector<Ref<ClsPublicKey>>& keys, KeyFileFault& fault) {
    JsonValue value;
    std::size_t faultAt = 0;
    if (!json::parseJson(json, value, faultAt)) {
        fault = {"the JSON text is malformed at byte " + std::to_string(faultAt), {}};
        return false;
    }
    const JsonValue* const set = value.find("keys");
    if (set == nullptr || !set->isArray()) {
        return loadOne(value, keys, fault);
    }
    // RFC 7517 5: keys that are not understood are ignored.
    fault = {"the JWK set is empty", {}};
    bool found = false;
    for (const JsonValue& jwk : set->elements()) {
        found = loadOne(jwk, keys, fault) || found;
    }
    return found;
}

} // namespace vantrel::keyfile
