#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The page of web/ in a browser. Usage: web_page.py [--keep FOLDER]: pictures go there. Verdicts of documents, from a disk
and from a host, with and without conditions; what becomes of markup in names; that nothing is sent; labels, order of the
keyboard, contrast, narrow windows. Skipped where there is no module or no chromium. Ends with "N passed, N failed"."""

import base64
import functools
import http.server
import json
import pathlib
import re
import sys
import tempfile
import threading
import time
import zlib

from browser import Browser
from checks import check, finish
from wasm_build import TOP, built, program

PAGE = built("web/build.sh", "web/index.html", "wasm/vantrel.wasm")[0]
KEEP = pathlib.Path(sys.argv[2]) if sys.argv[1:2] == ["--keep"] else None
EXAMPLES = TOP / "examples"
TONES = {"good": (0xdf, 0xf5, 0xe3), "bad": (0xff, 0xe4, 0xe2), "note": (0xff, 0xf3, 0xd1)}
HOSTILE = "<img src=x onerror=\"document.title='run'\">\u202efdp.lmx\u200b</script>"
IDLE = "document.documentElement.dataset.state === 'idle'"
HEADING = "(document.querySelector('.verdict h2')?.textContent.slice(1) ?? '')"
browser = Browser(program("chromium"))


def keep(name):
    if KEEP is not None:
        if browser.evaluate("!document.getElementById('report').hidden"):
            framed()
            time.sleep(0.5)  # to be drawn
        (KEEP / f"{name}.png").write_bytes(base64.b64decode(browser.picture()))


def settled(name):
    """The heading, once the check of the document that is called so has ended."""
    browser.until(f"{IDLE} && document.getElementById('verdict').innerText.includes({json.dumps(name)})")
    return browser.evaluate(HEADING)


def choose(path):
    browser.evaluate("document.getElementById('verdict').replaceChildren()")
    browser.choose("#file", path)
    return settled(path.name[:12])


def pixel(x, y):
    """The colour of a point of the page as it is drawn: of a PNG of one pixel, whose row needs no filter undone."""
    png = base64.b64decode(browser.picture(x=x, y=y, width=1, height=1))
    at, data = 8, b""
    while at < len(png):
        size = int.from_bytes(png[at:at + 4], "big")
        data += png[at + 8:at + 8 + size] if png[at + 4:at + 8] == b"IDAT" else b""
        at += 12 + size
    return tuple(zlib.decompress(data)[1:4])


def documents(folder):
    """The five kinds of documents: a name, a file, what the heading is, and the tone."""
    (folder / "text.xml").write_text("Dear Sir or Madam")
    (folder / "unsigned.xml").write_text("<order><total>12</total></order>")
    return [("valid", EXAMPLES / "invoice.xml", "Valid", "good"),
            ("tampered", EXAMPLES / "invoice-tampered.xml", "Not valid", "bad"),
            ("gaps", EXAMPLES / "orders.xml", "Valid", "note"),
            ("not-xml", folder / "text.xml", "Cannot be checked", "bad"),
            ("no-signature", folder / "unsigned.xml", "No signature", "bad")]


def verdicts(folder, where):
    for name, path, heading, tone in documents(folder):
        check(f"{where}: {name}", choose(path) == heading, browser.evaluate("document.body.innerText"))
        box = browser.evaluate("(r => [r.right + scrollX - 6, r.top + scrollY + 6])(document.querySelector('.verdict').getBoundingClientRect())")
        check(f"{where}: {name} is drawn in its colour", pixel(*box) == TONES[tone], pixel(*box))
        shown = browser.evaluate("!document.getElementById('report').hidden")
        check(f"{where}: {name} has a report or none", shown == (name != "not-xml"))
        keep(f"{where}-{name}")
    changed = folder / "changed.xml"
    changed.write_bytes((EXAMPLES / "invoice.xml").read_bytes().replace(b"118.00", b"918.00"))
    choose(changed)
    text = browser.evaluate("document.getElementById('signatures').innerText")
    check(f"{where}: the change is found", '"9" stands; "1" was signed' in text, text)
    frame = browser.evaluate("document.getElementById('page').srcdoc")
    check(f"{where}: the report is about it", "<title>Not valid: changed.xml</title>" in frame and "was signed" in frame, frame[:300])
    check(f"{where}: the frame shows it", framed())


def framed():
    """Whether the report stands in the frame, in the end."""
    for _ in range(100):
        if browser.in_frame("main .legend"):
            return True
        time.sleep(0.05)
    return False


def conditions():
    """What the reader trusts decides, and each change of it is checked at once."""
    keys = EXAMPLES / "keys"
    check("known by nothing", choose(EXAMPLES / "invoice.xml") == "Valid")
    pin = re.search(r"[0-9a-f]{64}", browser.evaluate("document.getElementById('signatures').innerText"))[0]
    browser.evaluate("document.getElementById('trust').open = true")
    change("demand", "strict")
    check("strict, and nobody is named", wait("Valid, but not accepted"), browser.evaluate("document.body.innerText"))
    check("says what to do", "Add a key" in browser.evaluate("document.getElementById('verdict').innerText"))
    keep("refused")
    browser.choose("#key", keys / "signer.pem")
    check("with the signer's certificate", wait("Valid and accepted"), browser.evaluate("document.body.innerText"))
    keep("accepted")
    change("cover", "element")
    change("element", "/Invoice/Nothing")
    check("an element that is not there", wait("Valid, but not accepted"))
    change("cover", "document")
    check("the whole document", wait("Valid and accepted"))
    browser.evaluate("document.querySelector('.files li button').click()")
    check("without the certificate again", wait("Valid, but not accepted"))
    change("pin", "xyz")
    check("what is no fingerprint", wait("Your settings were not understood"), browser.evaluate("document.body.innerText"))
    change("pin", "SHA256:" + ":".join(re.findall("..", pin.upper())))
    check("the fingerprint as it is usually written", wait("Valid and accepted"), browser.evaluate("document.body.innerText"))
    browser.evaluate("document.getElementById('verdict').replaceChildren()")
    browser.choose("#anchor", keys / "root.pem")
    check("an authority", wait("Valid and accepted") and "leads to an authority" in browser.evaluate("document.body.innerText"))
    browser.evaluate("document.getElementById('clear').click()")
    check("nothing of it is left", wait("Valid") and browser.evaluate("document.querySelectorAll('.files li').length") == 0)
    change("secret", (keys / "secret.bin").read_bytes().hex())
    check("a shared secret", choose(EXAMPLES / "transfer-hmac.xml") == "Valid", browser.evaluate("document.body.innerText"))
    browser.evaluate("document.getElementById('clear').click()")


def change(name, value):
    browser.evaluate(f"(e => {{ e.value = {json.dumps(value)}; e.dispatchEvent(new Event('change')) }})(document.getElementById('{name}'))")


def wait(heading):
    return browser.until(f"{IDLE} && {HEADING} === {json.dumps(heading)}", 20)


def pasted():
    text = (EXAMPLES / "invoice.xml").read_text()
    for name, document, heading in (("as it is", text, "Valid"), ("changed", text.replace("<", "< ", 1), "Cannot be checked"),
                                    ("declared otherwise", re.sub(r"<\?xml.*?\?>", "<?xml version='1.0' encoding='ISO-8859-1'?>", text), "Valid")):
        browser.evaluate(f"document.getElementById('text').value = {json.dumps(document)}; document.getElementById('verdict').replaceChildren(); "
                         "document.getElementById('checkText').click()")
        check(f"pasted text {name}", settled("pasted text") == heading, browser.evaluate("document.body.innerText"))
    browser.evaluate("document.querySelector('[data-sample=\"invoice-tampered.xml\"]').click()")
    check("a sample", wait("Not valid"))


def hostile(folder):
    """Names of files and Ids that would be markup; and a document that keeps the worker busy until it is cancelled."""
    path = folder / (HOSTILE.replace("/", "_") + ".xml")
    path.write_text((EXAMPLES / "invoice.xml").read_text().replace("invoice-signature", HOSTILE.replace("<", "&lt;").replace('"', "&quot;")))
    choose(path)
    text = browser.evaluate("document.querySelector('main').innerText")
    check("markup in names stays text", "<img src=x" in text and "[U+202E]" in text and "\u202e" not in text, text)
    check("and runs nothing", browser.evaluate("document.title") == "Check a signed XML document"
          and browser.evaluate("document.querySelectorAll('main img').length") == 0)
    references = "".join(f'<ds:Reference URI="#a"><ds:DigestMethod Algorithm="urn:{i}"/></ds:Reference>' for i in range(3))
    busy = folder / "busy.xml"
    busy.write_text("<a xmlns:ds='http://www.w3.org/2000/09/xmldsig#'>" + "<b Id='a'>x</b>" * 2_000_000 + f"<ds:Signature><ds:SignedInfo>{references}</ds:SignedInfo></ds:Signature></a>")
    browser.choose("#file", busy)
    check("a long check can be cancelled", browser.until("!document.getElementById('progress').hidden", 20), browser.evaluate("document.body.innerText"))
    browser.evaluate("document.getElementById('cancel').click()")
    check("at once", browser.evaluate(HEADING) == "Stopped" and choose(EXAMPLES / "invoice.xml") == "Valid")


def accessible():
    """Names for all that can be used, an order for the keyboard, and contrast (WCAG 2.1, 1.4.3), light and dark."""
    browser.evaluate("for (const one of document.querySelectorAll('details')) one.open = true")
    browser.call("Accessibility.enable")
    nodes = browser.call("Accessibility.getFullAXTree")["nodes"]
    unnamed = [node["role"]["value"] for node in nodes if not node.get("ignored") and not node.get("name", {}).get("value", "").strip()
               and node["role"]["value"] in ("button", "textbox", "combobox", "checkbox", "link", "Iframe", "group", "MenuListPopup")
               and any(p["name"] == "focusable" and p["value"]["value"] for p in node.get("properties", []))]
    check("everything that can be used has a name", not unnamed, unnamed)
    order = []
    browser.evaluate("document.getElementById('file').focus()")
    for _ in range(9):
        browser.press("Tab", 9)
        order.append(browser.evaluate("document.activeElement.id || document.activeElement.tagName"))
    check("the keyboard reaches things in the order of the page",
          order == ["SUMMARY", "text", "checkText", "BUTTON", "BUTTON", "SUMMARY", "key", "anchor", "pin"], order)
    for scheme in ("light", "dark"):
        browser.media(prefers_color_scheme=scheme, prefers_reduced_motion="reduce")
        for path in (EXAMPLES / "orders.xml", EXAMPLES / "invoice-tampered.xml", EXAMPLES / "invoice.xml"):
            choose(path)
            weak = browser.evaluate(CONTRAST)
            check(f"contrast, {scheme}, {path.name}", weak == [], weak)
            browser.size(360, 740)
            check(f"fits a narrow window, {path.name}", browser.evaluate("document.documentElement.scrollWidth") <= 360)
            keep(f"narrow-{scheme}-{path.stem}")
            browser.size(1200, 900)
            keep(f"wide-{scheme}-{path.stem}")
    check("nothing moves for those who do not want it",
          browser.evaluate("getComputedStyle(document.getElementById('doing'), '::before').animationName") == "none")


# Texts whose colour is too near to that of what is behind them.
CONTRAST = """(() => {
    const numbers = (text) => text.match(/[\\d.]+/g).map(Number);
    const light = (colour) => numbers(colour).slice(0, 3).map((v) => (v /= 255) <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
        .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
    const behind = (one) => { for (; one; one = one.parentElement) { const c = getComputedStyle(one).backgroundColor;
        if ((numbers(c)[3] ?? 1) > 0) return c; } return 'rgb(255,255,255)'; };
    const weak = [];
    const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
    while (walker.nextNode()) {
        const one = walker.currentNode.parentElement;
        if (!walker.currentNode.data.trim() || !one.checkVisibility() || one.tagName === 'SCRIPT') continue;
        const [a, b] = [light(getComputedStyle(one).color), light(behind(one))].sort((x, y) => y - x);
        if ((a + 0.05) / (b + 0.05) < 4.5) weak.push(walker.currentNode.data.slice(0, 40) + ' ' + ((a + 0.05) / (b + 0.05)).toFixed(2));
    }
    return weak;
})()"""


def nothing_sent(own, where):
    others = [url for url in browser.requests if url != own and not url.startswith(("blob:", "data:", "about:"))]
    check(f"{where}: nothing but the page is asked for", not others and own in browser.requests, others or browser.requests)
    check(f"{where}: the browser has no complaint", not browser.complaints, browser.complaints)
    browser.requests.clear()


class Log(http.server.SimpleHTTPRequestHandler):
    """Serves the folder and keeps what it was asked for."""
    lines = []

    def log_message(self, *_):
        self.lines.append(self.requestline)


def main():
    browser.size(1200, 900)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        browser.open(PAGE.as_uri())
        keep("empty")
        verdicts(folder, "disk")
        conditions()
        pasted()
        hostile(folder)
        accessible()
        nothing_sent(PAGE.as_uri(), "disk")
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Log, directory=PAGE.parent))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        url = f"http://127.0.0.1:{server.server_port}/index.html"
        browser.media(prefers_color_scheme="light")
        browser.open(url)
        verdicts(folder, "host")
        blocked = browser.evaluate("fetch('/index.html').then(() => 'sent', () => 'refused')")
        check("host: a request would be refused", blocked == "refused")
        browser.complaints.clear()
        nothing_sent(url, "host")
        server.shutdown()
        check("host: one request came", Log.lines == ["GET /index.html HTTP/1.1"], Log.lines)


try:
    main()
finally:
    browser.close()
finish()
