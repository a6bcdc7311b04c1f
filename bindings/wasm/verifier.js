// SPDX-License-Identifier: MIT
// The verifier as a WebAssembly module, called from JavaScript. The module computes and does nothing
// else: of a system it is given the time and random numbers, and every other call for one is
// refused. So it can read no file and send nothing, whatever a document makes it do.
//
// The npm package has this file as it stands; the page has it in a worker, without `export`.

// The values of vantrel_code that are answers (vantrel.h).
const CODE_OK = 0;
const CODE_BAD_OPTIONS = 2;
const CODE_NO_MEMORY = 3;
const CODE_FAILED = 4;

// What WASI answers to a call that is not there. A system call of the C library has it negative.
const NOT_THERE = 52;

// Memory of a module grows and never shrinks, so an instance that has more is let go after the call.
const KEPT_MEMORY = 64 << 20;

// Why no answer could be given. `code`: "bad-options" (the message names the option), "no-memory",
// "failed" (the message says what of the document), "stopped" (a fault of the module, which is then
// started anew).
export class VerifierError extends Error {
    constructor(code, message, cause) {
        super(message, cause === undefined ? undefined : { cause });
        this.name = "VerifierError";
        this.code = code;
    }
}

function systemOf(module, memory) {
    const given = {
        // Nanoseconds since 1970, or since the page was opened for the clock that never goes back.
        clock_time_get(clock, _precision, at) {
            const milliseconds = clock === 0 ? Date.now() : performance.now();
            const nanoseconds = BigInt(Math.floor(milliseconds * 1000)) * 1000n;
            new DataView(memory().buffer).setBigUint64(at, nanoseconds, true);
            return 0;
        },
        getentropy(at, size) {
            crypto.getRandomValues(new Uint8Array(memory().buffer, at, size));
            return 0;
        },
        proc_exit(code) {
            throw new Error("the module ended with " + code);
        },
    };
    const imports = {};
    for (const wanted of WebAssembly.Module.imports(module)) {
        const refusal = wanted.name.startsWith("__syscall") ? -NOT_THERE : NOT_THERE;
        const space = (imports[wanted.module] ??= {});
        space[wanted.name] = given[wanted.name] ?? (() => refusal);
    }
    return imports;
}

// Files of keys hold text (PEM, JWK, XML) or DER, which options take as base64.
function textOfFile(bytes) {
    const start = new TextDecoder().decode(bytes.subarray(0, 4096)).trimStart();
    if (start.includes("-----BEGIN ") || start.startsWith("{") || start.startsWith("<")) {
        return new TextDecoder().decode(bytes);
    }
    let binary = "";
    for (const byte of bytes) {
        binary += String.fromCharCode(byte);
    }
    return btoa(binary);
}

// For JSON.stringify. The value is looked up, since a Buffer would come as the list of its octets.
function withFilesAsText(name, value) {
    const original = this[name];
    return original instanceof Uint8Array ? textOfFile(original) : value;
}

// Only these: a text has no octets of its own, and its declaration may name another encoding than
// the one it would be written in.
function octetsOf(bytes) {
    if (bytes instanceof ArrayBuffer) {
        return new Uint8Array(bytes);
    }
    if (ArrayBuffer.isView(bytes)) {
        return new Uint8Array(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    }
    throw new TypeError("the document has to be given as its octets (ArrayBuffer or Uint8Array)");
}

// Makes instances of a compiled module as they are needed and calls them. One call at a time, each
// ended before the next begins.
export class Verifier {
    #module;
    #exports = null;

    // `module`: a WebAssembly.Module of vantrel.wasm.
    constructor(module) {
        this.#module = module;
    }

    version() {
        return this.#guarded(() => this.#textAt(this.#exports.vantrel_version()));
    }

    // The report of `xmldsig verify --json` as an object, for a document given as its octets.
    // `options`: those of `xmldsig verify` in camelCase; files of keys as Uint8Array or as text.
    verify(bytes, options = {}, fileName = "") {
        return JSON.parse(this.verifyToJson(bytes, options, fileName));
    }

    // The same as text.
    verifyToJson(bytes, options = {}, fileName = "") {
        const octets = octetsOf(bytes);
        return this.#guarded(() => this.#verify(octets, options, fileName));
    }

    // The page of `xmldsig report --html` about the document, headed `title`.
    htmlReport(bytes, options = {}, title = "") {
        const octets = octetsOf(bytes);
        return this.#guarded(() => this.#report(octets, options, title));
    }

    // A trap leaves an instance in no state to go on with, and what it held cannot be freed.
    #guarded(work) {
        try {
            this.#exports ??= this.#start();
            return work();
        } catch (fault) {
            this.#exports = null;
            if (fault instanceof VerifierError) {
                throw fault;
            }
            throw new VerifierError("stopped", "The verifier stopped: " + fault.message, fault);
        } finally {
            if (this.#exports !== null && this.#exports.memory.buffer.byteLength > KEPT_MEMORY) {
                this.#exports = null;
            }
        }
    }

    #start() {
        const memory = () => instance.exports.memory;
        const instance = new WebAssembly.Instance(this.#module, systemOf(this.#module, memory));
        instance.exports._initialize?.();
        return instance.exports;
    }

    #verify(octets, options, fileName) {
        const calls = this.#exports;
        return this.#withInput(octets, options, fileName, (document, parsed, name, out) => {
            this.#check(calls.vantrel_verify(document, octets.length, parsed, out));
            const result = this.#pointerAt(out);
            const json = calls.vantrel_result_json(result, name);
            if (json === 0) {
                this.#check(CODE_NO_MEMORY);
            }
            const text = this.#textAt(json);
            calls.vantrel_result_free(result);
            return text;
        });
    }

    #report(octets, options, title) {
        const calls = this.#exports;
        return this.#withInput(octets, options, title, (document, parsed, name, out) => {
            const code = calls.vantrel_html_report(document, octets.length, parsed, name, out);
            const page = this.#takeText(out);
            this.#check(code, page);
            return page;
        });
    }

    // Lays everything into the module's memory and takes it out again. After a failure the instance
    // is gone and all its memory with it, so nothing is freed then.
    #withInput(octets, options, name, work) {
        const calls = this.#exports;
        const out = this.#allocate(8);
        const parsed = this.#options(options, out);
        const document = this.#put(octets);
        const text = this.#put(new TextEncoder().encode(name + "\0"));
        const result = work(document, parsed, text, out);
        calls.free(text);
        calls.free(document);
        calls.vantrel_options_free(parsed);
        calls.free(out);
        return result;
    }

    #options(options, out) {
        const json = new TextEncoder().encode(JSON.stringify(options, withFilesAsText));
        const at = this.#put(json);
        const code = this.#exports.vantrel_options_parse(at, json.length, out, out + 4);
        // It may hold a secret.
        this.#bytes().fill(0, at, at + json.length);
        this.#exports.free(at);
        this.#check(code, this.#takeText(out + 4));
        return this.#pointerAt(out);
    }

    #check(code, message) {
        if (code === CODE_OK) {
            return;
        }
        if (code === CODE_NO_MEMORY) {
            throw new VerifierError("no-memory", "There is not enough memory for this document.");
        }
        const known = { [CODE_BAD_OPTIONS]: "bad-options", [CODE_FAILED]: "failed" };
        throw new VerifierError(known[code] ?? "stopped", message || "The call failed: " + code);
    }

    // Anew for each use: growth takes the old view away.
    #bytes() {
        return new Uint8Array(this.#exports.memory.buffer);
    }

    // Addresses are numbers without a sign; what the module returns comes with one.
    #allocate(size) {
        const at = this.#exports.malloc(Math.max(size, 1)) >>> 0;
        if (at === 0) {
            this.#check(CODE_NO_MEMORY);
        }
        return at;
    }

    #put(octets) {
        const at = this.#allocate(octets.length);
        this.#bytes().set(octets, at);
        return at;
    }

    #pointerAt(at) {
        return new DataView(this.#exports.memory.buffer).getUint32(at, true);
    }

    // A text of the module up to its NUL, copied.
    #textAt(address) {
        const at = address >>> 0;
        const bytes = this.#bytes();
        return new TextDecoder().decode(bytes.subarray(at, bytes.indexOf(0, at)));
    }

    // The text that the pointer at `at` owns, which is given back; empty for none.
    #takeText(at) {
        const owned = this.#pointerAt(at);
        if (owned === 0) {
            return "";
        }
        const text = this.#textAt(owned);
        this.#exports.vantrel_text_free(owned);
        return text;
    }
}
