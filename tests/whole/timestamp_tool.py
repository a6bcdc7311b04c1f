#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Time-stamps a signed document with `xmldsig timestamp` from an authority that openssl plays on
loopback, and verifies it with the tool and with openssl. Usage: timestamp_tool.py TOOL.
Exits with 77 where openssl or xmlsec1 is absent; else ends with "N passed, N failed"."""

import base64
import http.server
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading

from checks import check, finish

TOOL = sys.argv[1]
DS = "http://www.w3.org/2000/09/xmldsig#"
TEMPLATE = f"""<?xml version="1.0" encoding="ISO-8859-1"?>
<Note xmlns:n="urn:n"><text>M\u00fcller</text><ds:Signature xmlns:ds="{DS}" Id="sig"><ds:SignedInfo>
<ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/>
<ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"/>
<ds:Reference URI=""><ds:Transforms><ds:Transform Algorithm="{DS}enveloped-signature"/></ds:Transforms>
<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/></ds:Reference>
</ds:SignedInfo><ds:SignatureValue Id="value"/><ds:KeyInfo><ds:KeyValue/></ds:KeyInfo></ds:Signature></Note>"""
TSA_CONFIG = """[tsa]
default_tsa = here
[here]
serial = serial
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha1, sha256, sha384, sha512
ess_cert_id_alg = sha256
"""

def run(*command, data=None, env=None):
    return subprocess.run(command, input=data, capture_output=True, check=False, env=env)


def must(*command, data=None):
    done = run(*command, data=data)
    if done.returncode != 0:
        sys.exit(f"{command}\n{done.stderr.decode(errors='replace')}")
    return done.stdout


class Authority(http.server.BaseHTTPRequestHandler):
    folder = None
    broken = False

    def do_POST(self):  # the name is http.server's
        query = self.rfile.read(int(self.headers["Content-Length"]))
        (self.folder / "query").write_bytes(query)
        must("openssl", "ts", "-reply", "-config", str(self.folder / "tsa.conf"), "-section", "here",
             "-queryfile", str(self.folder / "query"), "-signer", str(self.folder / "tsa.pem"),
             "-inkey", str(self.folder / "tsa.key"), "-out", str(self.folder / "reply"))
        reply = b"no time-stamp" if Authority.broken else (self.folder / "reply").read_bytes()
        self.send_response(200)
        self.send_header("Content-Type", "application/timestamp-reply")
        self.send_header("Content-Length", str(len(reply)))
        self.end_headers()
        self.wfile.write(reply)

    def log_message(self, *args):
        pass


def make_files(folder):
    (folder / "tsa.conf").write_text(TSA_CONFIG.replace("= serial", f"= {folder}/serial"))
    must("openssl", "req", "-x509", "-newkey", "rsa:2048", "-noenc", "-subj", "/CN=Test Authority",
         "-days", "30", "-addext", "extendedKeyUsage=critical,timeStamping", "-addext",
         "keyUsage=critical,digitalSignature", "-keyout", str(folder / "tsa.key"), "-out",
         str(folder / "tsa.pem"))
    must("openssl", "genrsa", "-out", str(folder / "key.pem"), "2048")
    (folder / "template.xml").write_bytes(TEMPLATE.encode("iso-8859-1"))
    must("xmlsec1", "--sign", "--privkey-pem", str(folder / "key.pem"), "--output",
         str(folder / "signed.xml"), str(folder / "template.xml"))


def verdict(path, *options):
    return json.loads(run(TOOL, "verify", "--json", *options, str(path)).stdout)


def check_stamped(folder, name, stamped):
    path = folder / "stamped.xml"
    path.write_bytes(stamped)
    result = verdict(path, "--timestamps")
    check(f"{name}: valid", result["status"] == "valid", result)
    check(f"{name}: time-stamp", result["signatures"][0]["timestamp"] == "valid", result)
    text = run(TOOL, "verify", "--timestamps", str(path)).stdout.decode()
    check(f"{name}: time and authority", re.search(r"valid, \d{4}-.*Z, by CN=Test Authority", text), text)
    token = re.search(rb"EncapsulatedTimeStamp[^>]*>([^<]+)<", stamped)
    check(f"{name}: has a token", token is not None)
    if token is None:
        return
    (folder / "token").write_bytes(base64.b64decode(token.group(1)))
    (folder / "data").write_bytes(must(TOOL, "c14n", "--exclusive", "--id", "value", str(path)))
    done = run("openssl", "ts", "-verify", "-data", str(folder / "data"), "-in", str(folder / "token"),
               "-token_in", "-CAfile", str(folder / "tsa.pem"), "-untrusted", str(folder / "tsa.pem"))
    check(f"{name}: openssl agrees", done.returncode == 0, done.stderr)
    # One byte of the signed value changed: the token no longer fits.
    value = re.search(rb"<ds:SignatureValue Id=\"value\">\s*([^<]{8})", stamped).group(1)
    path.write_bytes(stamped.replace(value, value[::-1], 1))
    result = verdict(path, "--timestamps")
    check(f"{name}: a changed value", result["status"] == "invalid"
          and result["signatures"][0]["timestamp"] == "invalid", result)


# Takes the arguments of curl, and posts over http what is asked of it, whatever the scheme.
PROGRAM = """#!/usr/bin/env python3
import sys, urllib.request
arguments = dict(zip(sys.argv, sys.argv[1:]))
headers = dict(each.split(": ") for name, each in zip(sys.argv, sys.argv[1:]) if name == "--header")
assert "--fail" in sys.argv and arguments["--data-binary"] == "@-", sys.argv
request = urllib.request.Request(arguments["--url"].replace("https:", "http:"), sys.stdin.buffer.read(), headers)
sys.stdout.buffer.write(urllib.request.urlopen(request, timeout=10).read())
"""


def try_transports(folder, url, signed):
    """A program in the place of the tool's own connection, and its ways to fail."""
    program = folder / "curl"
    program.write_text(PROGRAM)
    program.chmod(0o755)
    refusing = folder / "refusing"
    refusing.write_text("#!/bin/sh\necho 'cannot do that' >&2\nexit 22\n")
    refusing.chmod(0o755)
    secure = url.replace("http:", "https:")
    path = {"env": dict(os.environ, PATH=f"{folder}:{os.environ['PATH']}")}
    for name, arguments, more in (("named", ["--tsa", url, "--transport", str(program)], {}),
                                  ("https by default through curl", ["--tsa", secure], path)):
        done = run(TOOL, "timestamp", *arguments, str(signed), **more)
        check(name, done.returncode == 0, done.stderr)
        check_stamped(folder, name, done.stdout)
    if shutil.which("curl"):
        done = run(TOOL, "timestamp", "--tsa", url, "--transport", "curl", str(signed))
        check("curl", done.returncode == 0, done.stderr)
        check_stamped(folder, "curl", done.stdout)
    for program, words in ((str(refusing), b"exit code 22: cannot do that"), (str(folder / "none"), b"could not be started"),
                           ("true", b"")):
        done = run(TOOL, "timestamp", "--tsa", secure, "--transport", program, str(signed))
        check(f"fails: {program}", done.returncode == 2 and not done.stdout and words in done.stderr, done.stderr)


def main():
    if not shutil.which("openssl") or not shutil.which("xmlsec1"):
        print("skipped: openssl or xmlsec1 is not installed")
        return 77
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_files(folder)
        Authority.folder = folder
        server = http.server.HTTPServer(("127.0.0.1", 0), Authority)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        url = f"http://127.0.0.1:{server.server_port}/tsa"
        signed = folder / "signed.xml"
        for hash_name in ("sha1", "sha256", "sha512"):
            done = run(TOOL, "timestamp", "--tsa", url, "--hash", hash_name, str(signed))
            check(f"{hash_name}: stamped", done.returncode == 0, done.stderr)
            check_stamped(folder, hash_name, done.stdout)
        output = folder / "out.xml"
        done = run(TOOL, "timestamp", "--tsa", url, "--output", str(output), str(signed))
        check("--output", done.returncode == 0 and not done.stdout and output.exists())
        done = run(TOOL, "timestamp", "--tsa", url, str(output))
        check("stamped twice", done.returncode == 2 and not done.stdout, done.stderr)
        try_transports(folder, url, signed)
        output.write_text("what was there")
        Authority.broken = True
        done = run(TOOL, "timestamp", "--tsa", url, "--output", str(output), str(signed))
        check("an answer that is none", done.returncode == 2 and
              output.read_text() == "what was there", done.stderr)
        output.unlink()
        server.shutdown()
        server.server_close()
        done = run(TOOL, "timestamp", "--tsa", url, "--output", str(output), str(signed))
        check("nobody there", done.returncode == 2 and not list(folder.glob("out.xml*")), done.stderr)
    return finish()


if __name__ == "__main__":
    sys.exit(main())
