// SPDX-License-Identifier: MIT
#include <vantrel/vantrel.h>
#include <vantrel/verify.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Each function checks its pointers, does its work on values of the typed interface, and turns what
// memory does to it into a code.

struct vantrel_options {
    vantrel::VerifyOptions value;
};

struct vantrel_result {
    vantrel::VerifyResult value;
    std::string json; // of the last call for it
};

namespace {

// The work of a function between its checks and its end. Nothing but memory throws here, whatever
// the standard library calls it.
template <class Work> vantrel_code guarded(const Work& work) noexcept {
    try {
        return work();
    } catch (...) {
        return VANTREL_NO_MEMORY;
    }
}

// From the allocator of C, since its reader may be in any language.
char* handedOver(std::string_view text) {
    auto* const out = static_cast<char*>(std::malloc(text.size() + 1));
    if (out == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(out, text.data(), text.size());
    out[text.size()] = '\0';
    return out;
}

std::string_view textOf(const void* data, size_t size) {
    return {static_cast<const char*>(data), size};
}

// Made once; no caller can change it.
const vantrel::VerifyOptions& valueOf(const vantrel_options* options) {
    static const vantrel::VerifyOptions kNone;
    return options != nullptr ? options->value : kNone;
}

// Null where there is no such signature.
const vantrel::SignatureResult* signatureAt(const vantrel_result* result, size_t index) {
    const bool isThere = result != nullptr && index < result->value.signatures.size();
    return isThere ? &result->value.signatures[index] : nullptr;
}

// What `text` gives of a signature; empty where there is none.
template <class Text>
const char* signatureText(const vantrel_result* result, size_t index, const Text& text) {
    const vantrel::SignatureResult* const signature = signatureAt(result, index);
    return signature != nullptr ? text(*signature) : "";
}

// Null where there is no such refusal.
const vantrel::Refusal* refusalAt(const std::vector<vantrel::Refusal>& refusals, size_t index) {
    return index < refusals.size() ? &refusals[index] : nullptr;
}

// What is no enumerator is no reason to accept anything.
vantrel_acceptance codeOf(vantrel::Acceptance acceptance) {
    switch (acceptance) {
    case vantrel::Acceptance::NotAsked: return VANTREL_ACCEPTANCE_NOT_ASKED;
    case vantrel::Acceptance::Accepted: return VANTREL_ACCEPTED;
    case vantrel::Acceptance::Refused: break;
    }
    return VANTREL_REFUSED;
}

// Makes *result of what verify() returns.
template <class Verify>
vantrel_code verified(bool hasInput, vantrel_result** result, const Verify& verify) {
    if (result == nullptr) {
        return VANTREL_BAD_ARGUMENT;
    }
    *result = nullptr;
    if (!hasInput) {
        return VANTREL_BAD_ARGUMENT;
    }
    return guarded([&] {
        vantrel::VerifyResult value = verify();
        *result = new vantrel_result{std::move(value), {}};
        return VANTREL_OK;
    });
}

} // namespace

const char* vantrel_version(void) {
    return vantrel::version().data(); // ends in NUL, as a literal
}

int vantrel_version_number(void) { return VANTREL_VERSION_NUMBER; }

vantrel_code vantrel_options_parse(const char* json, size_t length, vantrel_options** options,
                                   char** error) {
    if (error != nullptr) {
        *error = nullptr;
    }
    if (options == nullptr) {
        return VANTREL_BAD_ARGUMENT;
    }
    *options = nullptr;
    if (json == nullptr && length > 0) {
        return VANTREL_BAD_ARGUMENT;
    }
    return guarded([&] {
        const auto read = vantrel::optionsFromJson(textOf(json, length));
        if (read) {
            *options = new vantrel_options{*read};
            return VANTREL_OK;
        }
        if (error != nullptr) {
            *error = handedOver(read.error().what);
        }
        return VANTREL_BAD_OPTIONS;
    });
}

void vantrel_options_free(vantrel_options* options) { delete options; }

vantrel_code vantrel_verify(const void* data, size_t size, const vantrel_options* options,
                            vantrel_result** result) {
    return verified(data != nullptr || size == 0, result,
                    [&] { return vantrel::verify(textOf(data, size), valueOf(options)); });
}

vantrel_code vantrel_verify_file(const char* path, const vantrel_options* options,
                                 vantrel_result** result) {
    return verified(path != nullptr, result,
                    [&] { return vantrel::verifyFile(path, valueOf(options)); });
}

void vantrel_result_free(vantrel_result* result) { delete result; }

// As the typed interface has it, the policy included: one question must be enough.
int vantrel_result_is_valid(const vantrel_result* result) {
    return result != nullptr && result->value ? 1 : 0;
}

vantrel_status vantrel_result_status(const vantrel_result* result) {
    if (result == nullptr) {
        return VANTREL_STATUS_ERROR;
    }
    switch (result->value.status) {
    case vantrel::Status::Valid: return VANTREL_STATUS_VALID;
    case vantrel::Status::Invalid: return VANTREL_STATUS_INVALID;
    case vantrel::Status::NoSignature: return VANTREL_STATUS_NO_SIGNATURE;
    case vantrel::Status::Error: break;
    }
    return VANTREL_STATUS_ERROR;
}

int vantrel_result_is_accepted(const vantrel_result* result) {
    return vantrel_result_acceptance(result) == VANTREL_ACCEPTED ? 1 : 0;
}

vantrel_acceptance vantrel_result_acceptance(const vantrel_result* result) {
    return result != nullptr ? codeOf(result->value.acceptance) : VANTREL_REFUSED;
}

size_t vantrel_result_refusal_count(const vantrel_result* result) {
    return result != nullptr ? result->value.refusals.size() : 0;
}

const char* vantrel_result_refusal(const vantrel_result* result, size_t refusal) {
    const auto* const found =
        result != nullptr ? refusalAt(result->value.refusals, refusal) : nullptr;
    return found != nullptr ? found->code.c_str() : "";
}

const char* vantrel_result_refusal_text(const vantrel_result* result, size_t refusal) {
    const auto* const found =
        result != nullptr ? refusalAt(result->value.refusals, refusal) : nullptr;
    return found != nullptr ? found->text.c_str() : "";
}

const char* vantrel_result_error(const vantrel_result* result) {
    return result != nullptr ? result->value.error.c_str() : "";
}

// Kept in the result, so that the caller has nothing to free.
const char* vantrel_result_json(vantrel_result* result, const char* file_name) {
    if (result == nullptr) {
        return "";
    }
    const vantrel_code code = guarded([&] {
        result->json = result->value.json(file_name != nullptr ? file_name : "");
        return VANTREL_OK;
    });
    return code == VANTREL_OK ? result->json.c_str() : nullptr;
}

size_t vantrel_result_signature_count(const vantrel_result* result) {
    return result != nullptr ? result->value.signatures.size() : 0;
}

int vantrel_result_signature_is_valid(const vantrel_result* result, size_t signature) {
    const vantrel::SignatureResult* const found = signatureAt(result, signature);
    return found != nullptr && found->valid ? 1 : 0;
}

const char* vantrel_result_signature_id(const vantrel_result* result, size_t signature) {
    return signatureText(result, signature, [](const auto& found) { return found.id.c_str(); });
}

vantrel_acceptance vantrel_result_signature_acceptance(const vantrel_result* result,
                                                       size_t signature) {
    const vantrel::SignatureResult* const found = signatureAt(result, signature);
    return found != nullptr ? codeOf(found->acceptance) : VANTREL_REFUSED;
}

size_t vantrel_result_signature_refusal_count(const vantrel_result* result, size_t signature) {
    const vantrel::SignatureResult* const found = signatureAt(result, signature);
    return found != nullptr ? found->refusals.size() : 0;
}

const char* vantrel_result_signature_refusal(const vantrel_result* result, size_t signature,
                                             size_t refusal) {
    return signatureText(result, signature, [refusal](const auto& found) {
        const vantrel::Refusal* const one = refusalAt(found.refusals, refusal);
        return one != nullptr ? one->code.c_str() : "";
    });
}

const char* vantrel_result_signing_certificate(const vantrel_result* result, size_t signature) {
    return signatureText(result, signature, [](const auto& found) {
        return toString(found.signingCertificate).data(); // ends in NUL, as a literal
    });
}

// Three answers, since "no" would be wrong where nobody asked.
int vantrel_result_signer_is_trusted(const vantrel_result* result, size_t signature) {
    const vantrel::SignatureResult* const found = signatureAt(result, signature);
    if (found == nullptr || !found->trust) {
        return -1;
    }
    return found->trust->trusted ? 1 : 0;
}

const char* vantrel_result_signature_reason(const vantrel_result* result, size_t signature) {
    return signatureText(result, signature, [](const auto& found) { return found.reason.c_str(); });
}

const char* vantrel_result_signature_cause(const vantrel_result* result, size_t signature) {
    return signatureText(result, signature, [](const auto& found) {
        return found.cause ? found.cause->code.c_str() : "";
    });
}

const char* vantrel_result_signer_subject(const vantrel_result* result, size_t signature) {
    return signatureText(result, signature, [](const auto& found) {
        return found.signer ? found.signer->subject.c_str() : "";
    });
}

const char* vantrel_result_signer_spki_sha256(const vantrel_result* result, size_t signature) {
    return signatureText(result, signature, [](const auto& found) {
        return found.signer ? found.signer->spkiSha256.c_str() : "";
    });
}

vantrel_code vantrel_html_report(const void* data, size_t size, const vantrel_options* options,
                                 const char* title, char** page) {
    if (page == nullptr) {
        return VANTREL_BAD_ARGUMENT;
    }
    *page = nullptr;
    if (data == nullptr && size > 0) {
        return VANTREL_BAD_ARGUMENT;
    }
    return guarded([&] {
        auto document = vantrel::Document::load(textOf(data, size), valueOf(options));
        if (!document) {
            *page = handedOver(document.error().what);
            return VANTREL_FAILED;
        }
        const auto made = document->htmlReport(title != nullptr ? title : "");
        *page = handedOver(made ? *made : made.error().what);
        return made ? VANTREL_OK : VANTREL_FAILED;
    });
}

void vantrel_text_free(char* text) { std::free(text); }
