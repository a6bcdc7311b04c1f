# SPDX-License-Identifier: MIT
"""The functions of the package, over the interface for C."""

from __future__ import annotations

import ctypes
import difflib
import functools
import os
import re
from collections.abc import Callable, Mapping
from typing import IO, TYPE_CHECKING, Any, Union

from . import _library
from ._errors import DocumentError, OptionError
from ._options import NAMES, Options, to_json
from ._results import Result, read_result

if TYPE_CHECKING:
    from typing_extensions import Unpack

# str is XML text and never a file's name: a name comes as a pathlib.Path or by verify_file().
Document = Union[bytes, bytearray, memoryview, str, "os.PathLike[str]", IO[bytes]]

# Sets of parsed options that are kept; a program has few, one with a key a customer may have many.
_KEPT = 256

# Names of encodings that Python and the library understand alike. A text that declares another one goes
# over in UTF-8, and the library says that it does not know it.
_KNOWN_ENCODING = re.compile(r"(utf-?(8|16|32)|iso-?8859-\d+|latin-?\d+|windows-?\d+|us-ascii|ascii|koi8-[ru])", re.I)
_DECLARATION = re.compile(r"""<\?xml\s[^>]*?\sencoding\s*=\s*["']([A-Za-z0-9._-]{1,40})["']""")


def _encoded(text: str) -> bytes:
    """The octets of a text in the encoding that it declares: those that a file with this text has, over
    which signatures of files are made; digests themselves are over UTF-8 in any case."""
    declared = _DECLARATION.match(text.lstrip("\ufeff")[:1000])
    name = declared.group(1) if declared and _KNOWN_ENCODING.fullmatch(declared.group(1)) else "utf-8"
    try:
        return text.encode(name)
    except (UnicodeError, LookupError) as error:
        raise DocumentError(f"the text cannot be written in the encoding that it declares: {error}") from None


def _octets(data: Any) -> bytes:
    if isinstance(data, bytes):
        return data
    if isinstance(data, str):
        return _encoded(data)
    if isinstance(data, (bytearray, memoryview)):
        return bytes(data)  # another thread may change it meanwhile
    read = getattr(data, "read", None)
    if read is None:
        raise TypeError(f"a document is bytes, str, a path or a binary file, not {type(data).__name__}")
    octets = read()
    if not isinstance(octets, bytes):
        raise TypeError("the file is open in text mode, which has changed its octets; open it with 'rb'")
    return octets


class _Parsed:
    """Options that the library has read; given back with the last who uses them."""

    def __init__(self, json: str) -> None:
        self._library = _library.load()
        self.handle = ctypes.c_void_p()
        if not json:
            return  # the null handle stands for no options
        error = ctypes.c_void_p()
        octets = json.encode("ascii")
        code = self._library.vantrel_options_parse(octets, len(octets), ctypes.byref(self.handle),
                                                   ctypes.byref(error))
        _library.check(code, _library.taken_text(error))

    def __del__(self) -> None:
        if getattr(self, "handle", None):
            self._library.vantrel_options_free(self.handle)


_kept = functools.lru_cache(maxsize=_KEPT)(_Parsed)


def _parsed(options: Mapping[str, Any]) -> _Parsed:
    for name in options:
        if name not in NAMES:
            near = difflib.get_close_matches(name, NAMES, 1)
            raise OptionError(f"there is no option {name}" + (f"; {near[0]} is one" if near else ""))
    json, keep = to_json(options)
    return _kept(json) if keep else _Parsed(json)


class Verifier:
    """Options that are read once, keys and anchors with them, for many documents; may be shared by
    threads. verify() and its companions keep what they have read, too, by its content; a Verifier spares
    the look at that content, and folders of certificates, which those read anew each time."""

    def __init__(self, **options: Unpack[Options]) -> None:
        self._options = _parsed(options)

    def verify(self, data: Document) -> Result:
        """As vantrel.verify()."""
        if isinstance(data, os.PathLike):
            return self.verify_file(data)
        octets = _octets(data)
        return self._result(lambda handle, out: _library.load().vantrel_verify(octets, len(octets), handle, out))

    def verify_file(self, path: str | os.PathLike[str]) -> Result:
        """As vantrel.verify_file()."""
        name = os.fsencode(path)
        if b"\0" in name:
            raise ValueError("a NUL in the name of a file")
        return self._result(lambda handle, out: _library.load().vantrel_verify_file(name, handle, out), name)

    def html_report(self, data: Document, title: str = "") -> str:
        """As vantrel.html_report()."""
        if isinstance(data, os.PathLike):
            with open(data, "rb") as file:
                return self.html_report(file, title or os.path.basename(os.fsdecode(data)))
        octets = _octets(data)
        page = ctypes.c_void_p()
        code = _library.load().vantrel_html_report(octets, len(octets), self._options.handle,
                                                   title.encode("utf-8"), ctypes.byref(page))
        text = _library.taken_text(page)
        _library.check(code, text)
        return text

    def _result(self, call: Callable[[ctypes.c_void_p, Any], Any], name: bytes = b"") -> Result:
        library = _library.load()
        result = ctypes.c_void_p()
        _library.check(call(self._options.handle, ctypes.byref(result)))
        try:
            json = library.vantrel_result_json(result, name)
            if json is None:
                raise MemoryError
            return read_result(json.decode("utf-8", "replace"), library.vantrel_result_is_valid(result) == 1)
        finally:
            library.vantrel_result_free(result)


def verify(data: Document, **options: Unpack[Options]) -> Result:
    """Verifies the signatures of a document: its octets, its text, the path of a file, or a file that is
    open in binary mode. A file that cannot be read is a Result with the status "error"; a file that an
    option names and that cannot be read is an OSError. Options lists the options."""
    return Verifier(**options).verify(data)


def verify_file(path: str | os.PathLike[str], **options: Unpack[Options]) -> Result:
    """The same for a file by its name, which may be a str here."""
    return Verifier(**options).verify_file(path)


def html_report(data: Document, title: str = "", **options: Unpack[Options]) -> str:
    """Verifies, and gives a stand-alone page of HTML that shows the document with what its signatures
    cover. DocumentError where no page can be made, as of what is no XML."""
    return Verifier(**options).html_report(data, title)


def version() -> str:
    """The version of the library; __version__ is that of the package."""
    return str(_library.load().vantrel_version(), "ascii")
