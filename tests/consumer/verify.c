// SPDX-License-Identifier: MIT
/* Verifies a document with the interface for C: the sample of docs/api.md, as a user would build
 * it. */
#include <vantrel/vantrel.h>

#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
    const char* const json = "{\"limit\": \"keyOperations=100\", \"mustCover\": \"document\","
                             " \"require\": [\"strong\", \"all-checked\"]}";
    vantrel_options* options = NULL;
    char* error = NULL;
    if (vantrel_options_parse(json, strlen(json), &options, &error) != VANTREL_OK) {
        printf("%s\n", error != NULL ? error : "no memory");
        vantrel_text_free(error);
        return 2;
    }
    vantrel_result* result = NULL;
    vantrel_verify_file(argc > 1 ? argv[1] : "invoice.xml", options, &result);
    const int valid = vantrel_result_is_valid(result);
    printf("%s, %s %s\n", valid ? "valid" : "not valid",
           vantrel_result_is_accepted(result) ? "accepted" : "not accepted",
           vantrel_result_error(result));
    for (size_t i = 0; i < vantrel_result_refusal_count(result); ++i) {
        printf("%s: %s\n", vantrel_result_refusal(result, i),
               vantrel_result_refusal_text(result, i));
    }
    for (size_t i = 0; i < vantrel_result_signature_count(result); ++i) {
        printf("%s: %s %s\n", vantrel_result_signature_id(result, i),
               vantrel_result_signer_subject(result, i),
               vantrel_result_signature_reason(result, i));
    }
    vantrel_result_free(result);
    vantrel_options_free(options);
    return valid ? 0 : 1;
}
