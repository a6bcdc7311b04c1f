# SPDX-License-Identifier: MIT
"""The package against the library, over the examples and the documents of the tests."""

import dataclasses
import datetime
import gc
import io
import json
import os
import pathlib
import re
import shutil
import ssl
import subprocess
import sys
import tempfile
import threading
import unittest
import zipfile

import vantrel
from vantrel import _library, _verify

TOP = pathlib.Path(__file__).resolve().parents[3]
EXAMPLES = TOP / "examples"
INVOICE = EXAMPLES / "invoice.xml"
OCTETS = INVOICE.read_bytes()
SIGNER = EXAMPLES / "keys/signer.pem"
SECRET = EXAMPLES / "keys/secret.bin"
HMAC = EXAMPLES / "transfer-hmac.xml"


def python(code, **environment):
    """Runs code in a process of its own: what is loaded once stays loaded in this one."""
    return subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=False,
                          env={**os.environ, "PYTHONPATH": str(TOP / "bindings/python"), **environment})


def member_of(value, name):
    """The JSON of a field: the inverse of how results are read, by the dataclasses alone."""
    if dataclasses.is_dataclass(value):
        return {each.metadata.get("member", each.name): member_of(getattr(value, each.name), each.name)
                for each in dataclasses.fields(value)}
    return [member_of(each, name) for each in value] if isinstance(value, tuple) else value


def is_in(told, read, where=""):
    """What of the JSON `told` is not in the values `read`."""
    if isinstance(told, dict):
        names = {name.replace("_", "").lower(): name for name in read} if isinstance(read, dict) else {}
        for name, value in told.items():
            if name.lower() not in names:
                yield f"{where}/{name}"
            else:
                yield from is_in(value, read[names[name.lower()]], f"{where}/{name}")
    elif isinstance(told, list):
        if len(told) != len(read):
            yield where
        for one, other in zip(told, read):
            yield from is_in(one, other, where)
    elif told != read:
        yield f"{where}: {told!r} {read!r}"


class Documents(unittest.TestCase):
    def test_every_form_of_a_document(self):
        text = OCTETS.decode()
        latin = '<?xml version="1.0" encoding="ISO-8859-1"?>' + text.split("?>", 1)[-1]
        forms = [OCTETS, bytearray(OCTETS), memoryview(OCTETS), text, latin, "\ufeff" + text, INVOICE,
                 io.BytesIO(OCTETS)]
        for form in forms:
            self.assertEqual(vantrel.verify(form).status, "valid", type(form))
        with open(INVOICE, "rb") as file:
            self.assertTrue(vantrel.verify(file))
        self.assertTrue(vantrel.verify_file(str(INVOICE)))
        self.assertEqual(vantrel.verify(INVOICE).file, str(INVOICE))
        self.assertEqual(vantrel.verify(latin).sha256, vantrel.verify(latin.encode("latin-1")).sha256)

    def test_what_is_no_document(self):
        for wrong in (None, 7, [OCTETS], io.StringIO("<a/>")):
            self.assertRaises(TypeError, vantrel.verify, wrong)
        for text in ("<?xml version='1.0' encoding='US-ASCII'?><a>\u00e9</a>", "<a>\ud800</a>"):
            self.assertRaises(vantrel.DocumentError, vantrel.verify, text)
        # Codecs of Python that are no encodings of XML are not tried.
        self.assertEqual(vantrel.verify('<?xml version="1.0" encoding="punycode"?><a/>').status, "error")
        self.assertRaises(ValueError, vantrel.verify_file, "a\0b")
        for nothing in (b"", "", b"\0\xff", str(INVOICE), pathlib.Path("absent.xml"), TOP):
            result = vantrel.verify(nothing)
            self.assertEqual((bool(result), result.status), (False, "error"))
            self.assertNotEqual(result.error, "")

    @staticmethod
    def package():
        octets = io.BytesIO()
        with zipfile.ZipFile(octets, "w") as archive:
            archive.write(EXAMPLES / "letter-detached.xml", "META-INF/signatures.xml")
            archive.write(EXAMPLES / "letter.txt", "letter.txt")
            archive.writestr("other.txt", "not signed")
        return octets.getvalue()

    def test_packages(self):
        result = vantrel.verify(self.package(), part="META-INF/signatures.xml")
        self.assertTrue(result)
        self.assertEqual([(part.name, part.covered, part.by) for part in result.container.parts[1:]],
                         [("letter.txt", True, (0,)), ("other.txt", False, ())])
        self.assertEqual(result.signatures[0].parts_not_covered, ("other.txt",))
        self.assertFalse(vantrel.verify(self.package(), must_cover="part:other.txt", key=SIGNER))

    def test_every_member_of_reports_is_read(self):
        files = sorted((TOP / "tests/vectors/dsig").rglob("document.xml")) + sorted(EXAMPLES.glob("*.xml"))
        self.assertGreater(len(files), 100)
        verdicts = set()
        for file in [*files, self.package()]:
            result = vantrel.verify(file, timestamps=True, anchor=EXAMPLES / "keys/root.pem", require="strong")
            told = json.loads(result.json)
            del told["schema"]
            for transform in (each for signature in told["signatures"] for reference in signature["references"]
                              for each in reference["transforms"]):
                transform.pop("filters", None)
            self.assertEqual(list(is_in(told, member_of(result, ""))), [], file)
            self.assertEqual(bool(result), result.accepted, file)
            verdicts.add(result.status)
        self.assertEqual(verdicts & {"valid", "invalid"}, {"valid", "invalid"})

    def test_results_do_not_change(self):
        result = vantrel.verify(OCTETS)
        with self.assertRaises(dataclasses.FrozenInstanceError):
            result.valid = False
        self.assertEqual(result, vantrel.verify(OCTETS))
        self.assertFalse(vantrel.verify(EXAMPLES / "invoice-tampered.xml"))
        self.assertFalse(vantrel.Result())

    def test_page(self):
        page = vantrel.html_report(INVOICE)
        self.assertIn("invoice.xml", page)
        self.assertIn("<b>title</b>".replace("<", "&lt;").replace(">", "&gt;"),
                      vantrel.html_report(OCTETS, "<b>title</b>"))
        self.assertRaises(vantrel.DocumentError, vantrel.html_report, b"no XML")


class OptionValues(unittest.TestCase):
    def test_keys_in_every_form(self):
        pem = SIGNER.read_text()
        der = ssl.PEM_cert_to_DER_cert(pem[pem.index("-----BEGIN"):])
        for key in (SIGNER, pem, pem.encode(), der, bytearray(der), [SIGNER, EXAMPLES / "keys/ec.pub"], (der,)):
            signature = vantrel.verify(OCTETS, key=key).signatures[0]
            self.assertNotIn("key-not-used", signature.warnings)
        self.assertIn("key-not-used", vantrel.verify(OCTETS, key=EXAMPLES / "keys/ec.pub").signatures[0].warnings)

        named = re.sub(rb"<KeyInfo>.*</KeyInfo>", b"<KeyInfo><KeyName>me=1</KeyName></KeyInfo>", OCTETS, flags=re.S)
        self.assertFalse(vantrel.verify(named))
        for key in (SIGNER, pem, der):
            self.assertTrue(vantrel.verify(named, named_key={"me=1": key, "you": SIGNER}, strict=True))

    def test_secrets(self):
        secret = SECRET.read_bytes()
        for options in ({"hmac_key": secret}, {"hmac_key_file": SECRET}, {"hmac_key_file": str(SECRET)},
                        {"hmac_key": secret.hex()}, {"hmac_key": secret.hex(), "hmac_encoding": "hex"}):
            self.assertTrue(vantrel.verify(HMAC, **options), options.keys())
        self.assertFalse(vantrel.verify(HMAC, hmac_key=secret + b"0"))
        # No secret stays behind in memory for other calls.
        before = _verify._kept.cache_info().currsize
        vantrel.verify(HMAC, hmac_key=b"another")
        self.assertEqual(_verify._kept.cache_info().currsize, before)

    def test_other_values(self):
        letter = EXAMPLES / "letter-detached.xml"
        self.assertFalse(vantrel.verify(letter))
        for options in ({"ref_dir": EXAMPLES}, {"ref_dir": [str(EXAMPLES)]},
                        {"ref_data": {0: EXAMPLES / "letter.txt"}}):
            self.assertTrue(vantrel.verify(letter, **options), options)
        self.assertEqual(vantrel.verify(OCTETS, no_references=True).status, "valid")
        self.assertFalse(vantrel.verify(OCTETS, no_references=True))
        self.assertEqual(vantrel.verify(OCTETS, limit={"workOctets": 1}).status, "invalid")
        self.assertTrue(vantrel.verify(OCTETS, id="invoice-signature"))
        tampered = vantrel.verify(EXAMPLES / "invoice-tampered.xml", explain=True)
        self.assertNotEqual(tampered.signatures[0].references[0].cause.evidence, "")

    def test_acceptance(self):
        root, tampered = EXAMPLES / "keys/root.pem", EXAMPLES / "invoice-tampered.xml"
        plain = vantrel.verify(OCTETS)
        self.assertEqual((plain.accepted, plain.refusals, plain.signatures[0].trust), (None, (), None))
        signer = plain.signatures[0].signer
        then = datetime.datetime(2030, 1, 1, tzinfo=datetime.timezone.utc)
        accepting = ({"pin": f"sha256:{signer.spki_sha256}"}, {"pin": ["sha256:" + "0" * 64, f"sha256:{signer.certificate_sha256}"]},
                     {"key": SIGNER, "only_key": True, "strict": True, "must_cover": "document"}, {"anchor": root},
                     {"anchor": [root.read_text()], "at": then, "require": ["trusted", "strong"]},
                     {"anchor": EXAMPLES / "keys", "at": "2030-01-01T00:00:00Z", "accept": "any"})
        for options in accepting:
            result = vantrel.verify(OCTETS, **options)
            self.assertEqual((bool(result), result.accepted, result.refusals), (True, True, ()), options)
            self.assertFalse(vantrel.verify(tampered, **options))
        refusing = (({"strict": True}, "not-vouched"), ({"pin": "sha256:" + "0" * 64}, "not-pinned"),
                    ({"anchor": EXAMPLES / "keys/signer.pem", "at": then.replace(year=2050)}, "not-trusted"),
                    ({"require": ("timestamp",)}, "no-timestamp"), ({"must_cover": "#absent"}, "target-not-covered"))
        for options, refusal in refusing:
            result = vantrel.verify(OCTETS, **options)
            # Valid it is, and yet nothing to act on.
            self.assertEqual((result.status, bool(result), result.accepted), ("valid", False, False), options)
            self.assertIn(refusal, result.signatures[0].refusals)
        trust = vantrel.verify(OCTETS, anchor=root, at=then).signatures[0].trust
        self.assertEqual((trust.status, trust.time, len(trust.path)), ("trusted", "2030-01-01T00:00:00Z", 2))
        with self.assertRaises(vantrel.OptionError):
            vantrel.verify(OCTETS, anchor=root, at=datetime.datetime(2030, 1, 1))

    def test_every_option_of_the_library_is_here(self):
        sources = "".join(path.read_text() for path in sorted((TOP / "api").glob("option*.cpp")))
        names = re.findall(r'\{"(\w+)",\s+(?:\w*Kind::|\[)', sources)
        known = {re.sub("_(.)", lambda match: match[1].upper(), name) for name in vantrel.Options.__annotations__}
        self.assertGreater(len(names), 20)
        self.assertEqual(set(names) - known, {"log", "verbose"})

    def test_wrong_options(self):
        cases = [({"kee": SIGNER}, "key is one"), ({"key": str(SIGNER)}, "pathlib.Path"), ({"key": "no key"}, "key"),
                 ({"key": 7}, "int"), ({"key": None}, "nothing"), ({"cert": []}, "nothing"),
                 ({"hmac_key": ""}, "nothing"), ({"hmac_key": b"a", "hmac_encoding": "hex"}, "text"),
                 ({"hmac_key": "61", "hmac_key_file": SECRET}, "exclude"), ({"signature": -1}, "number"),
                 ({"limit": {"height": 1}}, "limit"), ({"timestamps": "yes"}, "true or false"),
                 ({"option": object()}, "options")]
        for options, told in cases:
            with self.assertRaises(vantrel.OptionError) as caught:
                vantrel.verify(OCTETS, **options)
            self.assertIn(told, str(caught.exception))
        self.assertRaises(FileNotFoundError, vantrel.verify, OCTETS, key=pathlib.Path("absent.pem"))

    def test_equal_options_are_read_once(self):
        _verify._kept.cache_clear()
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, "key.pem")
            for source in (SIGNER, SIGNER, EXAMPLES / "keys/ec.pub"):
                file.write_bytes(source.read_bytes())  # a key that is replaced counts from then on
                used = "key-not-used" not in vantrel.verify(OCTETS, key=file).signatures[0].warnings
                self.assertEqual(used, source == SIGNER)
        info = _verify._kept.cache_info()
        self.assertEqual((info.misses, info.hits), (2, 1))


class Library(unittest.TestCase):
    def test_threads_share_a_verifier(self):
        verifier = vantrel.Verifier(key=SIGNER)
        wrong = []

        def run():
            for file, valid in ((INVOICE, True), (EXAMPLES / "invoice-tampered.xml", False)) * 20:
                if bool(verifier.verify(file)) != valid:
                    wrong.append(file)

        threads = [threading.Thread(target=run) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(wrong, [])

    def test_handles_are_given_back(self):
        _verify._kept.cache_clear()
        freed = []
        library = _library.load()
        free = library.vantrel_options_free
        library.vantrel_options_free = lambda handle: (freed.append(handle.value), free(handle))
        try:
            verifier = vantrel.Verifier(key=SIGNER)
            _verify._kept.cache_clear()
            gc.collect()
            self.assertEqual(freed, [])
            self.assertTrue(verifier.verify(OCTETS))
            del verifier
            gc.collect()
            self.assertEqual(len(freed), 1)
        finally:
            library.vantrel_options_free = free

    def test_missing_and_wrong_libraries(self):
        ask = "import vantrel\ntry: vantrel.version()\nexcept vantrel.LibraryError as error: print(error)"
        self.assertIn("VANTREL_LIBRARY", python(ask, VANTREL_LIBRARY="/absent.so").stdout)
        self.assertIn("no function", python(ask, VANTREL_LIBRARY="libc.so.6").stdout)
        other = "import vantrel._library as l; l.VERSION = '{}'\n" + ask
        for version, fits in (("0.1.9", True), ("0.2.0", False), ("1.1.0", False)):
            self.assertEqual(python(other.format(version)).stdout == "", fits, version)
        self.assertEqual(vantrel.version(), vantrel.__version__)

    @unittest.skipUnless(shutil.which("mypy"), "mypy is not installed")
    def test_types(self):
        """Strictly typed, and a caller's slip is found before the program runs."""
        with tempfile.TemporaryDirectory() as folder:
            caller = pathlib.Path(folder, "caller.py")
            caller.write_text('import vantrel\nvantrel.verify(b"", keey=1)\nvantrel.verify(b"", strict="yes")\n')
            run = [shutil.which("mypy"), "--strict", "--enable-incomplete-feature=Unpack", "--cache-dir", folder]
            package = subprocess.run([*run, TOP / "bindings/python/vantrel"], capture_output=True, text=True, check=False)
            self.assertEqual(package.returncode, 0, package.stdout)
            wrong = subprocess.run([*run, caller], capture_output=True, text=True, check=False,
                                   env={**os.environ, "MYPYPATH": str(TOP / "bindings/python")})
            self.assertEqual(wrong.stdout.count("error:"), 2, wrong.stdout)

    def test_command(self):
        def run(*arguments):
            code = f"import runpy, sys; sys.argv[1:] = {[str(each) for each in arguments]!r}; " \
                   "runpy.run_module('vantrel', run_name='__main__')"
            return python(code)

        self.assertEqual(run(INVOICE).returncode, 0)
        both = run(INVOICE, EXAMPLES / "invoice-tampered.xml", "--json", "--key", SIGNER)
        self.assertEqual([json.loads(line)["status"] for line in both.stdout.splitlines()], ["valid", "invalid"])
        self.assertEqual(both.returncode, 1)
        self.assertEqual(run("absent.xml").returncode, 2)
        self.assertEqual(run(INVOICE, "--key", "absent.pem").returncode, 2)
        with tempfile.TemporaryDirectory() as folder:
            page = pathlib.Path(folder, "page.html")
            run(INVOICE, "--html", page)
            self.assertIn("<html", page.read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
