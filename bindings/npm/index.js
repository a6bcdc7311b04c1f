// SPDX-License-Identifier: MIT
// The package: the verifier of ./verifier.js with its module, which is loaded at the first call.
import { Verifier, VerifierError } from "./verifier.js";

export { Verifier, VerifierError };

async function compiled() {
    const place = new URL("./vantrel.wasm", import.meta.url);
    if (place.protocol === "file:") {
        const { readFile } = await import("node:fs/promises");
        return WebAssembly.compile(await readFile(place));
    }
    const answer = await fetch(place);
    if (!answer.ok) {
        throw new Error("the module vantrel.wasm could not be loaded: " + answer.status);
    }
    return WebAssembly.compile(await answer.arrayBuffer());
}

let loading = null;

/** A verifier of your own, whose calls need no waiting. */
export async function load() {
    // A module that could not be loaded is asked for again by the next call.
    loading ??= compiled().catch((fault) => {
        loading = null;
        throw fault;
    });
    return new Verifier(await loading);
}

let shared = null;
const verifier = async () => (shared ??= await load());

export async function verify(bytes, options, fileName) {
    return (await verifier()).verify(bytes, options, fileName);
}

export async function htmlReport(bytes, options, title) {
    return (await verifier()).htmlReport(bytes, options, title);
}

export async function version() {
    return (await verifier()).version();
}
