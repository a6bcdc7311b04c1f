#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads the pages of `xmldsig report --html` as a browser does. Usage: report_page.py TOOL.

Of every document of the examples and of tests/vectors/dsig, and of hostile ones: the page has no
elements, attributes and links but its own, a policy that allows nothing but its own style sheet, and
shows the document's text character by character, where the JSON report has it covered as covered and
what it excludes as not. chromium, where it is installed, must build the same elements from the page
and draw it. Ends with "N passed, N failed"."""

import base64
import bisect
import collections
import hashlib
import html.parser
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

TOOL = sys.argv[1]
TOP = pathlib.Path(__file__).resolve().parents[2]
TAGS = set("html head meta title style body header main footer article div h1 h2 p b a dl dt dd code "
           "span del i em ul li wbr".split())
ATTRIBUTES = {"class", "id", "href", "data-n", "charset", "http-equiv", "content", "name", "lang"}
VOID = {"meta", "wbr"}
OMITTED = "\0"  # stands for each octet that the page leaves out of a long run
COVERED = re.compile(r"m\d+")
HOSTILE = ["<script>alert(1)</script>", "<img src=x onerror=alert(1)>", "</style></pre><svg onload=alert(1)>",
           "\"><a href='javascript:alert(1)'>x</a>", "&#60;script>", "\u202eTXT.exe\u2066\u200b\ufeff",
           "\u0085\u0090\u2028", "\U000e0041\U000e0042 e\u0301\u034f", "]]&gt;<!-- --><?x y?>", "<b class=\"x\">U+0041</b>"]
passed, failures = collections.Counter(), []


def check(holds, what, name):
    passed[what] += 1 if holds else 0
    if not holds:
        failures.append(f"{name}: {what}")


class Page(html.parser.HTMLParser):
    """The elements of a page, and the text of its document with the class of each character."""

    def __init__(self, text):
        super().__init__()
        self.elements, self.ids, self.links, self.open = [], [], [], []
        self.policy, self.style, self.shown, self.classes = "", "", [], []
        self.gaps = 0
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.elements.append((tag, tuple(sorted(name for name, _ in attributes))))
        self.ids += [values["id"]] if "id" in values else []
        self.links += [values["href"]] if "href" in values else []
        if values.get("http-equiv") == "Content-Security-Policy":
            self.policy = values["content"]
        kind = values.get("class", "")
        if kind.startswith("l") and "data-n" in values and self.shown:
            self.put("\n", "line")
        self.gaps += kind == "gap"
        if tag not in VOID:
            self.open.append((tag, kind))

    def handle_endtag(self, tag):
        while self.open and self.open.pop()[0] != tag:
            pass

    def handle_data(self, data):
        kinds = [kind for _, kind in self.open]
        if self.open and self.open[-1][0] == "style":
            self.style += data
        lines = [i for i, kind in enumerate(kinds) if re.match(r"l( d\d+)?$", kind)]
        if not lines:
            return
        inside = kinds[lines[0] + 1:]
        if any(kind.split(" ")[0] == "k" for kind in inside):
            return
        if "o" in inside:
            data = OMITTED * int(re.sub(r"\D", "", data))
        elif "x" in inside:
            data = chr(int(data[2:], 16)) if data.startswith("U+") else data
        self.put(data, next((kind for kind in inside if kind), ""))

    def put(self, data, kind):
        self.shown.append(data)
        self.classes += [kind] * len(data)


def page_of(arguments, path):
    run = subprocess.run([TOOL, "report", "--html", *arguments, path], capture_output=True, check=False)
    return run.returncode, run.stdout.decode("utf-8")


def check_safety(page, name):
    for tag, attributes in set(page.elements):
        check(tag in TAGS and set(attributes) <= ATTRIBUTES, f"no foreign element or attribute ({tag})", name)
    check(all(link[1:] in page.ids for link in page.links) and all(link[0] == "#" for link in page.links),
          "links lead to places of the page", name)
    check(len(page.ids) == len(set(page.ids)), "each place has one id", name)
    digest = base64.b64encode(hashlib.sha256(page.style.encode()).digest()).decode()
    check(page.policy == f"default-src 'none'; style-src 'sha256-{digest}'; base-uri 'none'; form-action 'none'",
          "the policy allows the style sheet alone", name)


def excluded_stretches(report):
    for signature in report["signatures"]:
        for reference in signature["references"]:
            if signature["status"] == "valid" and reference["status"] == "match" and reference["signed"]:
                for one in reference["excluded"]:
                    if one["why"] != "enveloped-signature" and one["path"] != signature["path"]:
                        yield one["start"], one["start"] + one["length"]


def check_text(page, data, report, name):
    """The characters in order, and for a single signature how they stand."""
    text = data.decode("utf-8").replace("\r\n", "\n")
    if page.gaps:
        return
    shown = "".join(page.shown)
    text = text.rstrip("\n")
    same = len(shown.rstrip("\n")) == len(text) and all(a in (b, OMITTED) for a, b in zip(shown, text))
    check(same, "the text is that of the document", name)
    if not same or b"\r" in data or len(report["signatures"]) != 1:
        return
    starts = []
    at = 0
    for character in text:
        starts.append(at)
        at += len(character.encode())
    for start, end in excluded_stretches(report):
        kinds = page.classes[bisect.bisect_left(starts, start):bisect.bisect_left(starts, end)]
        check(not any(COVERED.fullmatch(kind) for kind in kinds), "what is excluded is not shown as covered", name)
    signature = report["signatures"][0]
    references = signature["references"]
    covers = signature["status"] == "valid" and any(one["covers"] == "document" for one in references)
    is_covered = any(COVERED.match(kind) for kind in page.classes)
    if covers:
        check(is_covered, "what is covered is shown so", name)
    if signature["status"] != "valid":
        check(not is_covered, "nothing is shown as covered by what does not hold", name)


def check_acceptance(text, report, name):
    """What the policy says, in the title and the verdict; each refusal there and at its signature."""
    heading = re.search(r"<title>(.*?): ", text)[1]
    word = {True: ", accepted", False: ", not accepted", None: ""}[report.get("accepted")]
    check(heading.removeprefix(heading.split(",")[0]) == word, "the title says whether it is accepted", name)
    for code in report.get("refusals", []):
        wanted = 1 + sum(code in signature["refusals"] for signature in report["signatures"])
        check(len(re.findall(rf"<p>[A-Z][^<]+ <code>{code}</code></p>", text)) >= wanted, "refusals are explained", name)
    for signature in report["signatures"]:
        for problem in signature.get("trust", {"problems": []})["problems"]:
            check(f"<code>{problem['code']}</code>" in text, "problems of the path are shown", name)


def check_document(path, arguments, name, folder, chromium=""):
    data = path.read_bytes()
    code, text = page_of(arguments, path)
    run = subprocess.run([TOOL, "verify", "--json", *arguments, path], capture_output=True, check=False)
    check(code == run.returncode, "the exit code is that of verify", name)
    if code == 2:
        check(not text, "no page about what cannot be judged", name)
        return
    page = Page(text)
    check_safety(page, name)
    report = json.loads(run.stdout)
    check_acceptance(text, report, name)
    # Offsets and text are those of the document as UTF-8.
    encoding = re.search(rb"encoding=.([\w-]+)", data[:100])
    if data[:1] == b"<" and (not encoding or encoding[1].upper() == b"UTF-8"):
        check_text(page, data, report, name)
    if chromium:
        check_browser(chromium, text, page, name, folder)


def check_browser(chromium, text, page, name, folder):
    file = folder / "page.html"
    file.write_text(text)
    picture = folder / "page.png"
    common = [chromium, "--headless", "--no-sandbox", "--disable-gpu", f"--user-data-dir={folder / 'profile'}"]
    run = subprocess.run([*common, "--dump-dom", file.as_uri()], capture_output=True, timeout=120, check=False)
    seen = Page(run.stdout.decode("utf-8", "replace"))
    check(seen.elements == page.elements and seen.shown == page.shown, "the browser builds the same page", name)
    subprocess.run([*common, "--window-size=360,800", f"--screenshot={picture}", file.as_uri()],
                   capture_output=True, timeout=120, check=False)
    check(picture.is_file() and picture.stat().st_size > 5000, "the browser draws the page", name)
    picture.unlink(missing_ok=True)


def hostile_documents(folder):
    """The signed invoice with each text as content, attribute value, Id of the signature, comment and instruction."""
    invoice = (TOP / "examples/invoice.xml").read_text()
    for number, text in enumerate(HOSTILE):
        value = re.sub("&(?!#)", "&amp;", text).replace("<", "&lt;").replace('"', "&quot;").replace(">", "&gt;")
        cdata = text.replace("]]>", "")
        changed = invoice.replace("Delivery", f"{value}<![CDATA[{cdata}]]><!-- {cdata.replace('--', '')} --><?p {cdata.replace('?>', '')}?>")
        changed = changed.replace('number="', f'number="{value}').replace('Id="', f'Id="{value}').replace('URI=""', f'URI="#{value}"')
        # The file's name heads the page.
        path = folder / f"{number} <script>alert(1)<\u202e.xml"
        path.write_text(changed)
        yield path
    # KeyInfo is not signed, so any certificate of the signer's key may stand there.
    if shutil.which("openssl"):
        made = subprocess.run(["openssl", "req", "-x509", "-new", "-utf8", "-key", TOP / "examples/keys/signer.key", "-days", "9",
                               "-outform", "DER", "-subj", "/CN=" + HOSTILE[0].replace("/", "\\/") + HOSTILE[5]],
                              capture_output=True, check=True)
        path = folder / "certificate.xml"
        path.write_text(re.sub("(?s)(<X509Certificate>).*?(</X509Certificate>)",
                               lambda m: m[1] + base64.b64encode(made.stdout).decode() + m[2], invoice))
        yield path
    path = folder / "long.xml"
    path.write_text("<r>" + "<a>&lt;script&gt; \u202e</a>" * 20_000 + "x" * 5000 + "</r>")
    yield path


def main():
    chromium = shutil.which("chromium") or ""
    if not chromium:
        print("skipped: chromium is not installed, so no browser looks at the pages")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        secret = ["--hmac-key-file", TOP / "examples/keys/secret.bin", "--ref-dir", TOP / "examples"]
        for path in sorted((TOP / "examples").glob("*.xml")):
            check_document(path, secret, path.name, folder, chromium if "invoice" in path.name else "")
        root = TOP / "examples/keys/root.pem"
        policies = [["--strict", "--must-cover", "document"], ["--accept", "any", "--anchor", root]]
        for path in [*sorted((TOP / "examples").glob("*.xml")), *hostile_documents(folder)]:
            for policy in policies:
                check_document(path, policy, f"{path.name} {policy}", folder)
        key = ["--key", TOP / "tests/vectors/dsig/keys/rsa.pub"]
        for path in sorted((TOP / "tests/vectors/dsig").glob("*/*/document.xml")):
            check_document(path, key, str(path.parent.name), folder)
        for path in hostile_documents(folder):
            check_document(path, [], path.name, folder, chromium if path.name[0] in "025l" else "")
    for failure in failures:
        print(f"FAILED: {failure}")
    for what, count in sorted(passed.items()):
        if "foreign" not in what:
            print(f"{count:6} {what}")
    print(f"{sum(passed.values())} passed, {len(failures)} failed")
    return 1 if failures or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
