# SPDX-License-Identifier: MIT
"""Verifies XML digital signatures.

    result = vantrel.verify(document, key=pathlib.Path("partner.pem"), strict=True)
    if result:
        print("signed by", result.signatures[0].signer.subject)

A document is bytes, XML text (str), a file's name as an os.PathLike, or a file open in binary mode. The
options are the long ones of `xmldsig verify`; Options lists them. What a document turns out to be is a
Result and never an exception; an exception means that the question was wrong, or could not be asked.
"""

from ._errors import DocumentError, Error, LibraryError, OptionError
from ._library import VERSION as __version__
from ._options import Material, Options
from ._results import (
    Cause,
    Container,
    Digest,
    Exclusion,
    Key,
    Part,
    Problem,
    Reference,
    Result,
    Signature,
    Transform,
    Trust,
)
from ._verify import Document, Verifier, html_report, verify, verify_file, version

__all__ = [
    "Cause", "Container", "Digest", "Document", "DocumentError", "Error", "Exclusion", "Key", "LibraryError",
    "Material", "OptionError", "Options", "Part", "Problem", "Reference", "Result", "Signature",
    "Transform", "Trust", "Verifier", "__version__", "html_report", "verify", "verify_file", "version",
]
