// SPDX-License-Identifier: MIT
#include "api/key.h"

#include "api/read_file.h"
#include "dsig/document/fingerprint.h"
#include "foundation/keyfile/key_file.h"
#include "foundation/x509/keys/key_der.h"

// The bytes are kept, not the key objects: each verifier reads its own, so that threads share
// nothing that a verification changes.
namespace vantrel {

namespace {

Key::Facts factsOf(const ClsPublicKey& key) {
    return {std::string(key.keyType()), key.keyBits(), std::string(key.curveName()),
            dsig::sha256Text(x509::subjectPublicKeyInfo(key.key()))};
}

} // namespace

Result<Key> Key::fromBytes(std::string_view bytes) {
    std::vector<Ref<ClsPublicKey>> found;
    keyfile::KeyFileFault fault;
    std::vector<DataBuffer> certificates;
    if (!keyfile::loadKeys(asBytes(bytes), found, fault, &certificates)) {
        return Error{fault.what, std::string(fault.remedy)};
    }
    auto data = std::make_shared<Data>();
    data->source = bytes;
    for (const Ref<ClsPublicKey>& key : found) {
        data->keys.push_back(factsOf(*key));
    }
    // Without these a report would call the holder of the caller's own key unknown.
    for (const DataBuffer& der : certificates) {
        std::string ignored; // one that cannot be kept names nobody
        static_cast<void>(data->certificates.addBytes(asText(der.view()), ignored));
    }
    return Key(std::move(data));
}

Result<Key> Key::fromFile(const std::string& path) {
    const Result<std::string> bytes = api::readFile(path, keyfile::kMaxKeyFile);
    return bytes ? fromBytes(*bytes) : Result<Key>(bytes.error());
}

} // namespace vantrel
