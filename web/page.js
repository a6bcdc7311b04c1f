// SPDX-License-Identifier: MIT
"use strict";
// The page: takes a document and what the reader trusts, has a worker check it, and shows what comes
// back. All text of documents, certificates and files becomes text nodes (`element`), never markup;
// the report's page, which the verifier escapes, stands in a frame that may do nothing.
(() => {
    const byId = (id) => document.getElementById(id);
    const dataOf = (id) => byId(id).textContent;

    // Longer than any search for a cause takes; after that something is wrong.
    const PATIENCE = 60000;
    // What a page can be given in one piece; the verifier's own limit is the same.
    const MOST_OCTETS = 0x7fffffff;
    // A check that takes less is not worth an announcement.
    const SOON = 150;

    // ---- making elements ----

    // Characters that are not seen, or that turn the order of others, as their numbers.
    function visible(text) {
        const number = (sign) => `[U+${sign.codePointAt(0).toString(16).toUpperCase().padStart(4, "0")}]`;
        return text.replace(/[\p{Cc}\p{Cf}\p{Zl}\p{Zp}\p{Co}\p{Cs}]/gu, number);
    }

    // An element with texts and elements in it. `kind`: "p", or "p.class".
    function element(kind, ...content) {
        const [tag, name] = kind.split(".");
        const made = document.createElement(tag);
        if (name !== undefined) {
            made.className = name;
        }
        made.append(...content.filter((one) => one !== null && one !== ""));
        return made;
    }

    // A text of foreign origin, whose direction does not spill over.
    const foreign = (text) => element("bdi", visible(text));
    const code = (text) => element("code", visible(text));

    // ---- words ----

    const REFUSALS = {
        "not-valid": "The signature is not valid.",
        "not-pinned": "The key is not the one with your fingerprint.",
        "not-trusted": "The signer's certificate does not lead to one of your authorities.",
        "not-vouched": "Nothing that you named vouches for the signer. Add a key, a fingerprint or an authority below.",
        "weak-algorithm": "A weak algorithm or a short key was used.",
        "leniency-used": "It holds only by leniency towards a rule of the standard.",
        "not-all-checked": "Not everything that is signed could be checked.",
        "ambiguous": "Other programs may see something else in this document.",
        "document-not-covered": "Not the whole document is signed.",
        "no-timestamp": "There is no valid time-stamp of an authority that you trust.",
        "target-not-covered": "What you asked for is not signed, or not all of it.",
        "signing-certificate-mismatch": "The signer signed for another certificate.",
    };

    // What a hint of the tool means here; "": nothing, as the page does it by itself.
    const HINTS = [
        [/^xmldsig explain/, ""],
        [/^--(key|cert) /, "Add the signer's key or certificate below, under “Whom do you trust?”."],
        [/^--hmac-/, "Enter the shared secret below, under “Whom do you trust?”."],
        [/^--ref-d/, "Use the command-line tool, which can be given the other file."],
        [/^(--|xmldsig )/, null],
    ];

    // The hints of several causes, each once.
    function hintsOf(causes) {
        const texts = causes.flatMap((cause) => cause.try).map((text) => {
            const known = HINTS.find(([pattern]) => pattern.test(text));
            const said = known === undefined ? `${text[0].toUpperCase()}${text.slice(1)}.` : known[1];
            return said ?? `With the command-line tool: ${text}`;
        });
        return [...new Set(texts)].filter((text) => text !== "");
    }

    // Something in the document is not signed.
    const GAPS = ["content-excluded", "document-not-covered", "coverage-unknown"];
    const has = (report, words) => report.signatures.some(({ warnings }) => words.some((word) => warnings.includes(word)));
    const plural = (count, one, many) => (count === 1 ? one : many.replace("#", count));

    // Heading, tone and sentences of a verdict.
    function verdictOf(report) {
        const count = report.signatures.length;
        const failing = report.signatures.filter(({ status }) => status !== "valid").length;
        if (report.status === "error") {
            return ["Cannot be checked", "bad", [report.error]];
        }
        if (report.status === "no-signature") {
            return ["No signature", "bad", ["Nobody has signed this document; anybody may have written or changed it."]];
        }
        if (report.status !== "valid") {
            return ["Not valid", "bad", [plural(count, "The signature does not hold.", `${failing} of # signatures do not hold.`),
                "Do not rely on this document."]];
        }
        const sentences = [plural(count, "The signature holds", "All # signatures hold") +
            (has(report, GAPS) ? ", but not everything in the document is signed." : ": what is signed was not changed.")];
        if (report.accepted === false) {
            return ["Valid, but not accepted", "bad", [...sentences, ...report.refusals.map((word) => REFUSALS[word] ?? word)]];
        }
        if (report.accepted === true) {
            return ["Valid and accepted", has(report, GAPS) ? "note" : "good", [...sentences, "It is what you asked for."]];
        }
        if (has(report, ["key-from-document"])) {
            sentences.push("Who signed it, only the document itself says.");
        }
        return ["Valid", has(report, GAPS) ? "note" : "good", sentences];
    }

    // ---- showing ----

    const SIGNS = { good: "✓", bad: "✗", note: "!" };

    function showVerdict(heading, tone, sentences, name) {
        const sign = element("span", SIGNS[tone]);
        sign.setAttribute("aria-hidden", "true");
        const lines = sentences.map((sentence) => element("p", foreign(sentence)));
        byId("verdict").replaceChildren(element(`div.verdict ${tone}`, element("h2", sign, heading),
            name ? element("p", element("b", foreign(name))) : "", ...lines));
        // For those who change conditions while the verdict is out of sight.
        byId("now").textContent = `Now: ${heading}.`;
    }

    function entry(list, term, ...content) {
        const shown = content.filter((one) => one !== null && one !== "");
        if (shown.length > 0) {
            list.append(element("dt", term), element("dd", ...shown));
        }
    }

    // Each cause once: of the signature, and of the references that fail.
    function causesOf(signature) {
        const failing = signature.references.filter(({ cause }) => cause !== undefined);
        const causes = failing.map((reference) => [reference.cause, reference.path || reference.uri]);
        return signature.cause === undefined ? causes : [[signature.cause, ""], ...causes];
    }

    function causeText([cause, place]) {
        return element("div", element("p", place ? element("span.dim", foreign(place), ": ") : "", foreign(cause.text)),
            cause.evidence ? element("p", element("b", "Found: "), foreign(cause.evidence)) : "");
    }

    function coverageOf({ status, covers, path, paths, uri, excluded }) {
        const what = { document: "the whole document", element: path, elements: (paths ?? []).join(", "), external: `another file, ${uri}` };
        const others = excluded.filter(({ why }) => why !== "enveloped-signature").map((one) => one.path);
        return element("p", status === "match" ? "" : element("b.state", "does not fit: "), foreign(what[covers] ?? uri),
            others.length > 0 ? element("b", " except ", foreign(others.join(", "))) : "");
    }

    const day = (time) => visible(time.slice(0, 10));

    function holderOf(signature) {
        const used = signature.keys.find((key) => key.used);
        const signer = signature.signer ?? used;
        if (signer === undefined) {
            return [];
        }
        const kind = used === undefined ? "" : [used.type, used.curve ?? used.bits, `from ${used.source}`].join(" ");
        return [
            element("p", signer.subject ? element("b", foreign(signer.subject)) : "Nobody is named."),
            signer.issuer ? element("p.dim", "issued by ", foreign(signer.issuer), `, valid ${day(signer.notBefore)} to ${day(signer.notAfter)}`) : "",
            kind ? element("p.dim", foreign(kind)) : "",
            signer.spkiSha256 ? element("p.dim", "fingerprint of the key ", code(signer.spkiSha256)) : "",
        ];
    }

    function trustOf({ trust }) {
        if (trust === undefined) {
            return [];
        }
        return [element("p", trust.status === "trusted" ? "leads to an authority of yours" : "leads to no authority of yours"),
            ...trust.problems.map(({ text, certificate }) => element("p.dim", foreign(`${certificate}: ${text}`)))];
    }

    // Of a list that a reader is shown; the rest is in the details.
    const MOST_LINES = 20;

    function cardOf(signature) {
        const good = signature.status === "valid";
        const list = document.createElement("dl");
        const causes = causesOf(signature);
        entry(list, "Why", ...causes.slice(0, MOST_LINES).map(causeText));
        entry(list, "What helps", ...hintsOf(causes.map(([cause]) => cause)).map((text) => element("p", foreign(text))));
        entry(list, "Signed by", ...holderOf(signature));
        entry(list, "Authority", ...trustOf(signature));
        entry(list, "What is signed", ...signature.references.slice(0, MOST_LINES).map(coverageOf),
            signature.references.length > MOST_LINES ? element("p", `and ${signature.references.length - MOST_LINES} more, see the details`) : "");
        if (signature.timestampTime) {
            entry(list, "Time-stamp", foreign(`${signature.timestamp}, ${signature.timestampTime}, by ${signature.timestampAuthority}`));
        }
        entry(list, "Not accepted", ...(signature.refusals ?? []).map((word) => element("p", REFUSALS[word] ?? word)));
        return element(`article.card ${good ? "good" : "bad"}`, element("h3", `Signature ${signature.index}`,
            signature.id ? code(signature.id) : "", element("b.state", good ? "✓ valid" : "✗ not valid")), list);
    }

    // Failing ones first where there are more than a reader will look at.
    const MOST_CARDS = 30;
    function showSignatures(signatures) {
        const order = [...signatures].sort((a, b) => (a.status === "valid") - (b.status === "valid") || a.index - b.index);
        const shown = signatures.length > MOST_CARDS ? order.slice(0, MOST_CARDS) : signatures;
        const rest = signatures.length - shown.length;
        byId("signatures").replaceChildren(...shown.map(cardOf),
            rest > 0 ? element("p", `${rest} more signatures are in the details below.`) : "");
    }

    const saved = {};
    function offer(id, text, type, name) {
        URL.revokeObjectURL(saved[id]);
        saved[id] = URL.createObjectURL(new Blob([text], { type }));
        byId(id).href = saved[id];
        byId(id).download = name;
    }

    function showReport(json) {
        const report = JSON.parse(json);
        showVerdict(...verdictOf(report), current.name);
        showSignatures(report.signatures);
        if (current.isNew) {
            current.isNew = false;
            byId("verdict").scrollIntoView({ block: "nearest" });
        }
        offer("saveJson", json, "application/json", `${current.name || "document"}.json`);
    }

    function showPage(html) {
        byId("page").srcdoc = html;
        byId("report").hidden = false;
        offer("saveHtml", html, "text/html", `${current.name || "document"}.report.html`);
    }

    function forget() {
        byId("verdict").replaceChildren();
        byId("now").textContent = "";
        byId("signatures").replaceChildren();
        byId("report").hidden = true;
        byId("page").srcdoc = "";
    }

    // ---- the worker ----

    const module = Uint8Array.from(atob(dataOf("module")), (sign) => sign.charCodeAt(0));
    const source = URL.createObjectURL(new Blob([dataOf("verifier"), dataOf("worker")], { type: "text/javascript" }));
    let worker = null;
    let busy = false;
    let timer = 0;

    function started() {
        const made = new Worker(source);
        made.onmessage = ({ data }) => answered(data);
        made.onerror = (event) => {
            event.preventDefault();
            stop();
            showVerdict("Cannot be checked", "bad", [`This browser did not run the verifier: ${event.message ?? "no reason given"}`]);
        };
        made.postMessage({ module });
        return made;
    }

    // Ends what runs, whatever it does; the next check begins with a worker of its own.
    function stop() {
        worker?.terminate();
        worker = null;
        idle();
    }

    function idle() {
        busy = false;
        clearTimeout(timer);
        byId("progress").hidden = true;
        document.documentElement.dataset.state = "idle";
    }

    function say(text) {
        byId("progress").hidden = false;
        byId("doing").textContent = text;
    }

    function answered(message) {
        if (message.step === "ready") {
            byId("version").textContent = `Verifier ${message.version}.`;
        } else if (message.step === "report") {
            showReport(message.json);
        } else if (message.step === "page") {
            showPage(message.html);
        } else if (message.step === "search") {
            say("Searching for the cause …");
        } else if (message.step === "failed") {
            idle();
            forget();
            const what = message.code === "bad-options" ? "Your settings were not understood" : "Cannot be checked";
            showVerdict(what, "bad", [message.message], current.name);
        } else {
            idle();
        }
    }

    // ---- checking ----

    // The document in hand: its octets and name; null before the first.
    let current = null;

    function recheck() {
        if (current === null) {
            return;
        }
        if (busy) {
            stop();
        }
        worker ??= started();
        busy = true;
        document.documentElement.dataset.state = "busy";
        timer = setTimeout(() => {
            say("Checking …");
            timer = setTimeout(() => {
                stop();
                showVerdict("Stopped", "bad", [`There was no end after ${PATIENCE / 1000} seconds.`]);
            }, PATIENCE);
        }, SOON);
        worker.postMessage({ task: { bytes: current.bytes, options: settings(), name: current.name, explain: true } });
    }

    function check(name, bytes) {
        forget();
        current = { name, bytes, isNew: true };
        recheck();
    }

    async function checkFile(file) {
        if (file.size > MOST_OCTETS) {
            forget();
            showVerdict("Too large", "bad", ["A page cannot take documents of 2 GiB and more; the command-line tool can."], file.name);
            return;
        }
        try {
            check(file.name, new Uint8Array(await file.arrayBuffer()));
        } catch (fault) {
            forget();
            showVerdict("Cannot be read", "bad", [fault.message], file.name);
        }
    }

    // Pasted text has no encoding any more. Where its declaration names another one than UTF-8, a
    // byte-order mark says what the octets are.
    function checkText(text) {
        const declared = /^\s*<\?xml[^>]*\bencoding\s*=\s*["']([^"']*)/.exec(text)?.[1] ?? "utf-8";
        const mark = /^utf-?8$/i.test(declared) ? "" : "\ufeff";
        check("pasted text", new TextEncoder().encode(mark + text));
    }

    // ---- whom the reader trusts ----

    // Files by option: {name, bytes}.
    const given = { key: [], anchor: [] };

    function settings() {
        const options = {};
        for (const [option, files] of Object.entries(given)) {
            if (files.length > 0) {
                options[option] = files.map(({ bytes }) => bytes);
            }
        }
        const pin = byId("pin").value.replace(/^sha-?256:/i, "").replace(/[\s:]/g, "");
        if (pin !== "") {
            options.pin = `sha256:${pin}`;
        }
        const cover = byId("cover").value === "element" ? byId("element").value.trim() : byId("cover").value;
        if (cover !== "") {
            options.mustCover = cover;
        }
        const demand = byId("demand").value;
        if (demand === "strict") {
            options.strict = true;
        } else if (demand !== "") {
            options.require = demand;
        }
        if (byId("secret").value !== "") {
            options.hmacKey = byId("secret").value;
            options.hmacEncoding = byId("encoding").value;
        }
        if (byId("onlyKey").checked) {
            options.onlyKey = true;
        }
        return options;
    }

    function showFiles(field, files) {
        field.querySelector("ul").replaceChildren(...files.map((file) => {
            const remove = element("button.link", "Remove");
            remove.type = "button";
            remove.setAttribute("aria-label", `Remove ${visible(file.name)}`);
            remove.onclick = () => {
                files.splice(files.indexOf(file), 1);
                field.querySelector("input").focus();
                changed(field, files);
            };
            return element("li", foreign(file.name), remove);
        }));
    }

    function changed(field, files) {
        if (field !== undefined) {
            showFiles(field, files);
        }
        byId("element").hidden = byId("cover").value !== "element";
        const count = Object.keys(settings()).filter((name) => name !== "hmacEncoding").length;
        byId("trustSummary").textContent = count === 0 ? "Nobody is named yet" : plural(count, "One condition", "# conditions");
        recheck();
    }

    async function addFiles(field, list) {
        const files = given[field.dataset.option];
        for (const file of [...list]) {
            files.push({ name: file.name, bytes: new Uint8Array(await file.arrayBuffer()) });
        }
        changed(field, files);
    }

    function clear() {
        for (const field of document.querySelectorAll(".files")) {
            given[field.dataset.option].length = 0;
            showFiles(field, []);
        }
        for (const input of document.querySelectorAll("#trust input, #trust select")) {
            input.value = input.type === "checkbox" ? input.value : input.tagName === "SELECT" ? input.options[0].value : "";
            input.checked = false;
        }
        changed();
    }

    // ---- wiring ----

    // Files are taken where they are dropped on a field, and as documents everywhere else: a browser
    // would open them in place of the page.
    function wireDrops() {
        const targetOf = (event) => event.target.closest?.(".files") ?? byId("drop");
        const mark = (target) => {
            for (const one of document.querySelectorAll(".over")) {
                one.classList.toggle("over", one === target);
            }
            target?.classList.add("over");
        };
        document.addEventListener("dragover", (event) => {
            if (event.dataTransfer?.types.includes("Files")) {
                event.preventDefault();
                mark(targetOf(event));
            }
        });
        document.addEventListener("dragleave", (event) => event.relatedTarget === null && mark(null));
        document.addEventListener("drop", (event) => {
            mark(null);
            if (event.dataTransfer.files.length === 0) {
                return;
            }
            event.preventDefault();
            const target = targetOf(event);
            if (target.id === "drop") {
                checkFile(event.dataTransfer.files[0]);
            } else {
                addFiles(target, event.dataTransfer.files);
            }
        });
    }

    function wire() {
        byId("file").onchange = ({ target }) => {
            if (target.files.length > 0) {
                checkFile(target.files[0]);
            }
            // So that the same file, changed meanwhile, can be chosen again.
            target.value = "";
        };
        for (const field of document.querySelectorAll(".files")) {
            field.querySelector("input").onchange = async ({ target }) => {
                await addFiles(field, [...target.files]);
                target.value = "";
            };
        }
        for (const button of document.querySelectorAll("[data-sample]")) {
            const name = button.dataset.sample;
            button.onclick = () => check(name, new TextEncoder().encode(dataOf(name)));
        }
        byId("checkText").onclick = () => checkText(byId("text").value);
        byId("cancel").onclick = () => {
            stop();
            showVerdict("Stopped", "bad", ["You ended the check."]);
        };
        for (const id of ["pin", "element", "cover", "demand", "secret", "encoding", "onlyKey"]) {
            byId(id).addEventListener("change", () => changed());
        }
        byId("clear").onclick = clear;
    }

    wireDrops();
    wire();
    try {
        worker = started();
    } catch (fault) {
        showVerdict("Cannot be checked", "bad", [`This browser cannot run the verifier: ${fault.message}`]);
    }
    idle();
})();
