// SPDX-License-Identifier: MIT
// Answers requests about the npm package for wasm_module.py, one JSON object a line.
// Usage: node wasm_driver.mjs PACKAGE
import { readFile } from "node:fs/promises";
import { createInterface } from "node:readline";
import { pathToFileURL } from "node:url";

const folder = process.argv[2];
const { Verifier, VerifierError, htmlReport, verify, version, load } = await import(pathToFileURL(`${folder}/index.js`));
const octets = await readFile(`${folder}/vantrel.wasm`);

// The number at `at` in LEB128, and where it ends.
function number(at, bytes = octets) {
    let value = 0;
    for (let shift = 0; ; shift += 7) {
        const byte = bytes[at++];
        value += (byte & 0x7f) * 2 ** shift;
        if (byte < 0x80) {
            return [value, at];
        }
    }
}

// The module with a memory that cannot grow beyond `pages` more than it begins with.
function limited(pages) {
    for (let at = 8; at < octets.length; ) {
        const id = octets[at];
        const [size, start] = number(at + 1);
        if (id === 5) {
            const [least, end] = number(start + 2);
            const most = least + pages;
            const leb = [0x80 | (most & 0x7f), 0x80 | ((most >> 7) & 0x7f), most >> 14];
            const section = [1, 1, ...octets.subarray(start + 2, end), ...leb];
            return new WebAssembly.Module(Buffer.concat([octets.subarray(0, at), Buffer.from([5, section.length, ...section]),
                octets.subarray(start + size)]));
        }
        at = start + size;
    }
}

// What a verifier makes of the document in `pages`, and whether it goes on afterwards.
function inMemory(document, pages) {
    const verifier = new Verifier(limited(pages));
    let answer;
    try {
        answer = { report: verifier.verify(document) };
    } catch (fault) {
        answer = { code: fault instanceof VerifierError ? fault.code : String(fault) };
    }
    answer.goesOn = verifier.verify(Buffer.from("<a/>")).status;
    return answer;
}

// A fault in the middle of a call: the source of random numbers fails once.
function faulty(document, module) {
    const verifier = new Verifier(module);
    const real = crypto.getRandomValues;
    crypto.getRandomValues = () => { throw new Error("no random numbers"); };
    let code = "";
    try {
        verifier.verify(document);
    } catch (fault) {
        code = fault.code;
    }
    crypto.getRandomValues = real;
    return { code, status: verifier.verify(document).status };
}

const files = (options) => Object.fromEntries(Object.entries(options).map(([name, value]) =>
    [name, value?.octets ? Buffer.from(value.octets, "base64") : value?.bytes ? new Uint8Array(Buffer.from(value.bytes, "base64")) : value]));

const answers = {
    json: async ({ file, options }) => (await load()).verifyToJson(await readFile(file), files(options ?? {}), file),
    page: async ({ file, title }) => htmlReport(await readFile(file), {}, title),
    inMemory: async ({ file, pages }) => inMemory(await readFile(file), pages),
    faulty: async ({ file }) => faulty(await readFile(file), new WebAssembly.Module(octets)),
    imports: async () => WebAssembly.Module.imports(new WebAssembly.Module(octets)),
    version: async () => version(),
    text: async () => verify("<a/>"),
};

for await (const line of createInterface({ input: process.stdin })) {
    const request = JSON.parse(line);
    try {
        console.log(JSON.stringify({ answer: await answers[request.ask](request) }));
    } catch (fault) {
        console.log(JSON.stringify({ error: fault.message, code: fault.code ?? fault.name }));
    }
}
