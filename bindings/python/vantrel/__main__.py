# SPDX-License-Identifier: MIT
"""python -m vantrel FILE...: verifies files. For more than this there is the tool `xmldsig`.

Exit codes are those of the tool: 0 everything is valid (and accepted), 1 something is not, 2 a file
cannot be judged or the options are wrong.
"""

from __future__ import annotations

import argparse
import pathlib
import sys
from typing import Any

from . import Error, Result, Verifier, __version__

_FILES = ("key", "cert", "anchor")


def _arguments() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="python -m vantrel", description="Verifies XML signatures.")
    parser.add_argument("files", nargs="+", metavar="FILE", type=pathlib.Path)
    for name in _FILES:
        parser.add_argument(f"--{name}", action="append", metavar="FILE", type=pathlib.Path)
    for name in ("pin", "require", "must-cover"):
        parser.add_argument(f"--{name}", action="append", metavar="TEXT")
    parser.add_argument("--strict", action="store_true", default=None)
    parser.add_argument("--json", action="store_true", help="one JSON object a file, one a line")
    parser.add_argument("--html", metavar="PAGE", type=pathlib.Path, help="write a page about the one FILE")
    parser.add_argument("--version", action="version", version=__version__)
    return parser


def _text(result: Result) -> str:
    verdict = result.status
    if result.accepted is not None:
        verdict += ", accepted" if result.accepted else f", not accepted: {', '.join(result.refusals)}"
    lines = [f"{result.file}: {verdict} {result.error}".rstrip()]
    for signature in result.signatures:
        whose = signature.signer.subject or f"key {signature.signer.spki_sha256}" if signature.signer else "a secret"
        lines.append(f"  signature {signature.index}: " +
                     (f"valid, by {whose}" if signature.valid else f"invalid: {signature.reason}"))
    return "\n".join(lines)


def _code(result: Result) -> int:
    if result.status == "error":
        return 2
    return 0 if result else 1


def main() -> int:
    parser = _arguments()
    given: dict[str, Any] = vars(parser.parse_args())
    files, as_json, page = given.pop("files"), given.pop("json"), given.pop("html")
    if page and len(files) != 1:
        parser.error("--html shows one file")
    try:
        verifier = Verifier(**{name: value for name, value in given.items() if value is not None})
        results = []
        for file in files:
            results.append(verifier.verify_file(file))
            print(results[-1].json if as_json else _text(results[-1]))
        if page:
            page.write_text(verifier.html_report(files[0]), encoding="utf-8")
    except (Error, OSError) as error:
        print(f"vantrel: {error}", file=sys.stderr)
        return 2
    return max(_code(result) for result in results)


if __name__ == "__main__":
    sys.exit(main())
