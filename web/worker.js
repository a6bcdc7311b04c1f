// SPDX-License-Identifier: MIT
// Runs in a worker, behind bindings/wasm/verifier.js, so that the page stays responsive and can end
// what takes too long. First {module}; then one {task} after another, each answered step by step.
let verifier = null;

// What helps to decide comes first: the verdict, then the page, then the search for a cause.
function check({ bytes, options, name, explain }, answer) {
    const json = verifier.verifyToJson(bytes, options, name);
    answer({ step: "report", json });
    const { status } = JSON.parse(json);
    if (status === "error") {
        return;
    }
    answer({ step: "page", html: verifier.htmlReport(bytes, options, name) });
    if (status === "invalid" && explain) {
        answer({ step: "search" });
        const explained = { ...options, explain: true };
        answer({ step: "report", json: verifier.verifyToJson(bytes, explained, name) });
        answer({ step: "page", html: verifier.htmlReport(bytes, explained, name) });
    }
}

self.onmessage = ({ data }) => {
    if (data.module !== undefined) {
        verifier = new Verifier(new WebAssembly.Module(data.module));
        self.postMessage({ step: "ready", version: verifier.version() });
        return;
    }
    try {
        check(data.task, (message) => self.postMessage(message));
        self.postMessage({ step: "done" });
    } catch (fault) {
        self.postMessage({ step: "failed", code: fault.code ?? "stopped", message: fault.message });
    }
};
