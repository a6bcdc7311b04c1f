// SPDX-License-Identifier: MIT
#ifndef BINDINGS_C_VANTREL_H
#define BINDINGS_C_VANTREL_H

/** \file
    The interface for C (C99 and later) and, through it, for other languages.

        vantrel_result* result = NULL;
        if (vantrel_verify(data, size, NULL, &result) == VANTREL_OK &&
            vantrel_result_is_valid(result)) { ... }
        vantrel_result_free(result);

    Texts are UTF-8 and end in NUL. Functions may be called from several threads at once; one handle
    may be read by several threads, but for vantrel_result_json. A null handle is allowed everywhere
    and means: no options, or a result of which nothing is known. No exception leaves a function.
    Functions and enumerators are added, never changed, while VANTREL_VERSION_MAJOR stays; before
    1.0, while VANTREL_VERSION_MINOR stays. */

#include <vantrel/version.h>

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** How a call ended. Whether a document is valid is another question. */
typedef enum vantrel_code {
    VANTREL_OK = 0,
    VANTREL_BAD_ARGUMENT = 1, /**< a null pointer where there must be none */
    VANTREL_BAD_OPTIONS = 2,  /**< the text of options is refused */
    VANTREL_NO_MEMORY = 3,
    VANTREL_FAILED = 4 /**< what was asked for cannot be made of this document */
} vantrel_code;

/** What is known of a document. */
typedef enum vantrel_status {
    VANTREL_STATUS_VALID = 1,        /**< every selected signature verifies */
    VANTREL_STATUS_INVALID = 2,      /**< one does not */
    VANTREL_STATUS_NO_SIGNATURE = 3, /**< there is none */
    VANTREL_STATUS_ERROR = 4         /**< nothing can be said; vantrel_result_error says why */
} vantrel_status;

/** What the policy says, where the options have one (docs/accept.md): apart from validity. */
typedef enum vantrel_acceptance {
    VANTREL_ACCEPTANCE_NOT_ASKED = 0, /**< there is no policy */
    VANTREL_ACCEPTED = 1,
    VANTREL_REFUSED = 2
} vantrel_acceptance;

/** What is verified and with what; never changes. */
typedef struct vantrel_options vantrel_options;
/** What a verification found out. */
typedef struct vantrel_result vantrel_result;

/** The version of the library that runs, as "0.1.0" and as VANTREL_VERSION_NUMBER. */
const char* vantrel_version(void);
int vantrel_version_number(void);

/** Reads options from a JSON object (docs/api.md lists them) of `length` bytes. On success
    `*options` is to be given to vantrel_options_free. On VANTREL_BAD_OPTIONS `*options` is null,
    and where `error` is not null `*error` says what is wrong, to be given to vantrel_text_free. */
vantrel_code vantrel_options_parse(const char* json, size_t length, vantrel_options** options,
                                   char** error);
void vantrel_options_free(vantrel_options* options);

/** Verifies a document from its octets, in the encoding that it declares. VANTREL_OK means that
    `*result` says what was found out, which is to be given to vantrel_result_free. On another code
    it is null. */
vantrel_code vantrel_verify(const void* data, size_t size, const vantrel_options* options,
                            vantrel_result** result);
/** The same for a file; one that cannot be read is a result with VANTREL_STATUS_ERROR. */
vantrel_code vantrel_verify_file(const char* path, const vantrel_options* options,
                                 vantrel_result** result);
void vantrel_result_free(vantrel_result* result);

/** 1 only when there is a signature, every selected one is valid, its value and its references,
    and the policy accepts, where the options have one; else 0. Whoever gives a policy so cannot
    forget to ask for it; vantrel_result_status is about validity alone. With the option accept
    "any" it is enough that one signature is valid and accepted. Without a policy valid says nothing
    of who signed. */
int vantrel_result_is_valid(const vantrel_result* result);
vantrel_status vantrel_result_status(const vantrel_result* result);
/** 1 only when the options have a policy and it accepts the document. */
int vantrel_result_is_accepted(const vantrel_result* result);
/** Of a null result, and of a document that could not be judged by the policy that there is:
    VANTREL_REFUSED. */
vantrel_acceptance vantrel_result_acceptance(const vantrel_result* result);
/** Why the policy refuses the document: fixed words (docs/report.md) of all its signatures, each
    once, addressed from 0 on; and the sentence for people. */
size_t vantrel_result_refusal_count(const vantrel_result* result);
const char* vantrel_result_refusal(const vantrel_result* result, size_t refusal);
const char* vantrel_result_refusal_text(const vantrel_result* result, size_t refusal);
/** Texts belong to the result. Never null; empty where there is nothing to be said, and for a
    signature with an index that is not there. */
const char* vantrel_result_error(const vantrel_result* result);
/** The whole result as one JSON object (docs/report.md), for a file of this name, which may be
    null. Valid until the next call for this result; null when memory runs out. */
const char* vantrel_result_json(vantrel_result* result, const char* file_name);

/** The number of selected signatures; each is addressed below from 0 on. */
size_t vantrel_result_signature_count(const vantrel_result* result);
int vantrel_result_signature_is_valid(const vantrel_result* result, size_t signature);
const char* vantrel_result_signature_id(const vantrel_result* result, size_t signature);
/** What the policy says of this signature; VANTREL_REFUSED where there is no such signature. */
vantrel_acceptance vantrel_result_signature_acceptance(const vantrel_result* result,
                                                       size_t signature);
/** Why the policy refuses it, as for the document. */
size_t vantrel_result_signature_refusal_count(const vantrel_result* result, size_t signature);
const char* vantrel_result_signature_refusal(const vantrel_result* result, size_t signature,
                                             size_t refusal);
/** "absent", "match" or "mismatch": whether the certificate for which the signer signed (XAdES) is
    that of the key that verified. */
const char* vantrel_result_signing_certificate(const vantrel_result* result, size_t signature);
/** Whether the signer's certificate leads to an anchor: 1 or 0; -1 where no anchor was given. */
int vantrel_result_signer_is_trusted(const vantrel_result* result, size_t signature);
/** Why it is not valid, in a line; and the fixed word of the cause. */
const char* vantrel_result_signature_reason(const vantrel_result* result, size_t signature);
const char* vantrel_result_signature_cause(const vantrel_result* result, size_t signature);
/** The subject of the signer's certificate, and the SHA-256 of the key that verified the value. */
const char* vantrel_result_signer_subject(const vantrel_result* result, size_t signature);
const char* vantrel_result_signer_spki_sha256(const vantrel_result* result, size_t signature);

/** Verifies, and makes a stand-alone page of HTML about the result, headed `title` (may be null).
    On success `*page` is to be given to vantrel_text_free. On VANTREL_FAILED it says why not, and
    is to be freed, too; on another code it is null. */
vantrel_code vantrel_html_report(const void* data, size_t size, const vantrel_options* options,
                                 const char* title, char** page);

/** Gives back a text that a function handed over; null does nothing. */
void vantrel_text_free(char* text);

#ifdef __cplusplus
}
#endif

#endif
