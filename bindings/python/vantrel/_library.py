# SPDX-License-Identifier: MIT
"""Finds and loads the shared library, and says how its functions are called (vantrel/vantrel.h).

Calls through ctypes.CDLL release the interpreter's lock, so threads verify side by side.
"""

from __future__ import annotations

import ctypes
import functools
import os
import pathlib

from ._errors import DocumentError, LibraryError, OptionError

# Of this package; the library has to be of the same major version and, before 1.0, of the same minor
# one, since functions may change between those.
VERSION = "0.1.0"
SONAME = "libvantrel.so.0"
# Names another file in place of the installed one.
VARIABLE = "VANTREL_LIBRARY"

OK, BAD_ARGUMENT, BAD_OPTIONS, NO_MEMORY, FAILED = range(5)

_HANDLE = ctypes.c_void_p
_OUT = ctypes.POINTER(ctypes.c_void_p)
_TEXT = ctypes.c_char_p
_SIZE = ctypes.c_size_t

# Name: result, arguments. Texts that the caller frees are handles, or ctypes would lose their address.
_PROTOTYPES = {
    "vantrel_version": (_TEXT, ()),
    "vantrel_version_number": (ctypes.c_int, ()),
    "vantrel_options_parse": (ctypes.c_int, (_TEXT, _SIZE, _OUT, _OUT)),
    "vantrel_options_free": (None, (_HANDLE,)),
    "vantrel_verify": (ctypes.c_int, (_TEXT, _SIZE, _HANDLE, _OUT)),
    "vantrel_verify_file": (ctypes.c_int, (_TEXT, _HANDLE, _OUT)),
    "vantrel_result_free": (None, (_HANDLE,)),
    "vantrel_result_is_valid": (ctypes.c_int, (_HANDLE,)),
    "vantrel_result_json": (_TEXT, (_HANDLE, _TEXT)),
    "vantrel_html_report": (ctypes.c_int, (_TEXT, _SIZE, _HANDLE, _TEXT, _OUT)),
    "vantrel_text_free": (None, (_HANDLE,)),
}


def _place() -> str:
    """The library that the caller names; else the one beside this file, as in a wheel; else the name by
    which the system looks."""
    named = os.environ.get(VARIABLE)
    if named:
        return named
    beside = pathlib.Path(__file__).with_name(SONAME)
    return str(beside) if beside.exists() else SONAME


def _declare(library: ctypes.CDLL, place: str) -> None:
    for name, (result, arguments) in _PROTOTYPES.items():
        try:
            function = getattr(library, name)
        except AttributeError:
            raise LibraryError(f"{place} has no function {name}: it is no library for vantrel {VERSION}") from None
        function.restype = result
        function.argtypes = arguments


def _check_version(library: ctypes.CDLL, place: str) -> None:
    theirs = library.vantrel_version().decode("ascii")
    major, minor = VERSION.split(".")[:2]
    promised = [major, minor] if major == "0" else [major]
    if theirs.split(".")[:len(promised)] != promised:
        raise LibraryError(f"{place} is version {theirs}; this package is made for {'.'.join(promised)}")


@functools.lru_cache(maxsize=None)
def load() -> ctypes.CDLL:
    """The library; loaded by the first call, so that importing the package needs nothing."""
    place = _place()
    try:
        library = ctypes.CDLL(place)
    except OSError as error:
        raise LibraryError(f"the shared library cannot be loaded ({error}): install the package "
                           f"libvantrel0 or the wheel, or name the file in {VARIABLE}") from error
    _declare(library, place)
    _check_version(library, place)
    return library


def taken_text(handle: ctypes.c_void_p) -> str:
    """A text that the library handed over, which is given back."""
    try:
        return ctypes.string_at(handle).decode("utf-8", "replace") if handle else ""
    finally:
        load().vantrel_text_free(handle)


def check(code: int, what: str = "") -> None:
    """Raises what a code other than OK stands for."""
    if code == OK:
        return
    if code == NO_MEMORY:
        raise MemoryError
    if code == BAD_OPTIONS:
        raise OptionError(what)
    raise DocumentError(what)
