// SPDX-License-Identifier: MIT
/** The octets of a file. */
export type Octets = Uint8Array | ArrayBuffer;
/** A file of keys or certificates: PEM, a JWK or an XML key value as text, base64 of DER, or its octets. */
export type KeyFile = string | Uint8Array;
type OneOrMany<T> = T | T[];

/** The long options of `xmldsig verify` in camelCase; docs/api.md says what each takes. Files cannot be
 *  named: a module has no file system. */
export interface Options {
    signature?: number;
    id?: string;
    noReferences?: boolean;
    reference?: number;
    key?: OneOrMany<KeyFile>;
    cert?: OneOrMany<KeyFile>;
    onlyKey?: boolean;
    pin?: OneOrMany<string>;
    anchor?: OneOrMany<KeyFile>;
    crl?: OneOrMany<KeyFile>;
    checkRevocation?: boolean;
    at?: string;
    purpose?: OneOrMany<string>;
    require?: OneOrMany<string>;
    mustCover?: OneOrMany<string>;
    strict?: boolean;
    accept?: "all" | "any";
    hmacKey?: string;
    hmacEncoding?: "hex" | "base64" | "ascii";
    ignoreExternal?: boolean;
    timestamps?: boolean;
    option?: OneOrMany<string>;
    limit?: OneOrMany<string>;
    explain?: boolean;
    effort?: number;
    threads?: number;
    log?: boolean;
    verbose?: boolean;
}

export interface Cause {
    code: string;
    text: string;
    /** Options of the tool `xmldsig` that may help. */
    try: string[];
    /** What was changed and where, found by a search (`explain`). */
    evidence?: string;
}

/** A key, and what a certificate with that key says of its holder. */
export interface Key {
    source: string;
    type?: string;
    bits?: number;
    curve?: string;
    spkiSha256?: string;
    certificateSha256?: string;
    subject?: string;
    issuer?: string;
    serial?: string;
    notBefore?: string;
    notAfter?: string;
    used?: boolean;
    nameFromDocument?: boolean;
}

export interface Exclusion {
    path: string;
    start: number;
    length: number;
    why: string;
}

export interface Reference {
    index: number;
    uri: string;
    external: boolean;
    signed: boolean;
    digestMethod: string;
    status: "match" | "mismatch" | "missing" | "error" | "not-checked";
    reason: number;
    cause?: Cause;
    digest: { stored: string; computed: string };
    octets: number;
    covers: "document" | "element" | "elements" | "external" | "";
    element?: string;
    path?: string;
    paths?: string[];
    excluded: Exclusion[];
    accommodations: string[];
    [more: string]: unknown;
}

/** Whether the signer's certificate leads to an anchor. */
export interface Trust {
    status: "trusted" | "not-trusted";
    time: string;
    path: string[];
    problems: { code: string; certificate: string; text: string }[];
    [more: string]: unknown;
}

export interface Signature {
    index: number;
    id: string;
    path: string;
    status: "valid" | "invalid";
    reason: string;
    cause?: Cause;
    value: "valid" | "invalid" | "not-checked";
    signer?: Key;
    profile: string;
    signatureMethod: string;
    canonicalizationMethod: string;
    referenceCount: number;
    references: Reference[];
    keys: Key[];
    timestamp: "absent" | "valid" | "invalid" | "not-checked";
    warnings: string[];
    accommodations: string[];
    standards: string[];
    accepted?: boolean;
    refusals?: string[];
    trust?: Trust;
    [more: string]: unknown;
}

/** The object that `xmldsig verify --json` writes; docs/report.md says what each member means. */
export interface Report {
    file: string;
    /** "valid" only when there is a signature and all that were selected hold. It says that the
     *  document is whole, not who signed it: look at `accepted` with a policy, or at `signer`. */
    status: "valid" | "invalid" | "no-signature" | "error";
    error: string;
    schema: 1;
    size: number;
    sha256: string;
    /** Only there with a policy (options such as `pin`, `anchor`, `strict`). */
    accepted?: boolean;
    refusals?: string[];
    signatures: Signature[];
    [more: string]: unknown;
}

/** Why no report could be made. That a document is not valid is no error. */
export class VerifierError extends Error {
    /** "bad-options": the message names the option; "no-memory"; "failed": no page can be made of this
     *  document, and the message says why; "stopped": a fault of the module. */
    readonly code: "bad-options" | "no-memory" | "failed" | "stopped";
}

/** Verifies the signatures of a document, given as its octets in the encoding that it declares. */
export function verify(bytes: Octets, options?: Options, fileName?: string): Promise<Report>;
/** Verifies, and makes a stand-alone page of HTML about the result, headed `title`. */
export function htmlReport(bytes: Octets, options?: Options, title?: string): Promise<string>;
/** The version of the verifier, such as "0.1.0". */
export function version(): Promise<string>;

/** Calls without waiting, in a worker of your own for instance. One call at a time. */
export class Verifier {
    constructor(module: WebAssembly.Module);
    version(): string;
    verify(bytes: Octets, options?: Options, fileName?: string): Report;
    /** The report as the one line of JSON that the tool writes. */
    verifyToJson(bytes: Octets, options?: Options, fileName?: string): string;
    htmlReport(bytes: Octets, options?: Options, title?: string): string;
}
export function load(): Promise<Verifier>;
