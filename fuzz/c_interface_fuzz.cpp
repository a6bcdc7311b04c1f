// SPDX-License-Identifier: MIT
// The interface for C: options as JSON up to the first NUL, then a document. Handles or codes,
// never both, and accessors that agree with each other.
#include "bindings/c/vantrel.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

void check(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void checkResult(vantrel_result* result) {
    const std::size_t count = vantrel_result_signature_count(result);
    const vantrel_status status = vantrel_result_status(result);
    check((status == VANTREL_STATUS_ERROR) == (vantrel_result_error(result)[0] != '\0'));
    std::size_t valid = 0;
    std::size_t accepted = 0;
    const bool isAsked = vantrel_result_acceptance(result) != VANTREL_ACCEPTANCE_NOT_ASKED;
    // One beyond the end answers, too.
    for (std::size_t i = 0; i <= count; ++i) {
        valid += vantrel_result_signature_is_valid(result, i) != 0 ? 1 : 0;
        check(vantrel_result_signature_reason(result, i) != nullptr);
        check(vantrel_result_signer_subject(result, i) != nullptr);
        accepted += vantrel_result_signature_acceptance(result, i) == VANTREL_ACCEPTED ? 1 : 0;
        // Whoever is refused is told why, and nobody else.
        const std::size_t refusals = vantrel_result_signature_refusal_count(result, i);
        check((refusals > 0) ==
              (i < count && isAsked &&
               vantrel_result_signature_acceptance(result, i) == VANTREL_REFUSED));
        check((vantrel_result_signature_refusal(result, i, 0)[0] != '\0') == (refusals > 0));
    }
    const bool isGood = vantrel_result_is_valid(result) != 0;
    check(!isGood || (count > 0 && valid > 0 && (isAsked || valid == count)));
    check(!isGood || !isAsked || (vantrel_result_is_accepted(result) != 0 && accepted > 0));
    check(accepted <= valid && (status != VANTREL_STATUS_ERROR || accepted == 0));
    const char* const json = vantrel_result_json(result, "fuzz");
    check(json != nullptr && json[std::strlen(json) - 1] == '}');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string_view json = text.substr(0, text.find('\0'));
    const std::string_view document = text.substr(std::min(json.size() + 1, size));
    vantrel_options* options = nullptr;
    char* error = nullptr;
    const vantrel_code code = vantrel_options_parse(json.data(), json.size(), &options, &error);
    check((code == VANTREL_OK) == (options != nullptr) &&
          (options == nullptr) == (error != nullptr));
    vantrel_text_free(error);
    // A search takes its seconds, which are no finding.
    if (options != nullptr && json.find("explain") == std::string_view::npos) {
        vantrel_result* result = nullptr;
        check(vantrel_verify(document.data(), document.size(), options, &result) == VANTREL_OK);
        checkResult(result);
        vantrel_result_free(result);
    }
    vantrel_options_free(options);
    return 0;
}
