# SPDX-License-Identifier: MIT
"""The options of a verification, from Python's values to the JSON that the library reads.

Names are those of `xmldsig verify` with underscores; the library takes them in camelCase. It alone decides
which options there are and what they mean, so that this file knows only those whose values need a form.
"""

from __future__ import annotations

import base64
import datetime
import json
import os
import re
from collections.abc import Callable, Mapping, Sequence
from typing import Any, TypedDict, Union

from ._errors import OptionError

# A key, a certificate or a list: PEM text (or a JWK, or an XML key value), octets in any of its forms, or
# a file. A str is never a file's name.
Material = Union[str, bytes, "os.PathLike[str]"]


class Options(TypedDict, total=False):
    """All options, as keyword arguments. docs/accept.md says how those from `pin` on decide what is accepted.
    The library's log is not among them: its interface for C does not hand it out."""

    # What is verified.
    signature: int  # the zero-based index of the only signature that is meant
    id: str  # or its Id
    no_references: bool  # signature values only; such a result is never true
    reference: int  # the digest of this reference alone; such a result is never true
    part: str  # of a package: only the signatures of this member

    # With which keys and data.
    key: Material | Sequence[Material]  # tried after the keys of the document
    named_key: Mapping[str, Material]  # for signatures whose KeyName is this
    only_key: bool  # no key of the document is tried
    hmac_key: str | bytes  # text in hmac_encoding, or the octets of the secret
    hmac_encoding: str  # "hex", "base64" or "ascii"
    hmac_key_file: str | os.PathLike[str]
    cert: Material | Sequence[Material]  # for look-ups, and as authorities between
    ref_data: Mapping[int, str | os.PathLike[str]]  # files of external references
    ref_dir: str | os.PathLike[str] | Sequence[str | os.PathLike[str]]
    ignore_external: bool

    # By which rules.
    timestamps: bool
    option: str | Sequence[str]
    limit: Mapping[str, int]
    explain: bool
    effort: int
    threads: int  # that one verification may use

    # Whether it is accepted.
    pin: str | Sequence[str]  # "sha256:HEX" of the key or its certificate
    anchor: Material | Sequence[Material]  # also a folder; "system" for this machine's
    crl: Material | Sequence[Material]
    check_revocation: bool
    at: str | datetime.datetime
    purpose: str | Sequence[str]
    require: str | Sequence[str]
    must_cover: str | Sequence[str]
    strict: bool
    accept: str  # "all" or "any"


NAMES = tuple(Options.__annotations__)


def _listed(value: Any) -> list[Any]:
    return list(value) if isinstance(value, (list, tuple, set, frozenset)) else [value]


def _from_octets(octets: bytes) -> str:
    """As the library takes it in JSON: text as it is, DER in base64."""
    if b"-----BEGIN" in octets or octets.lstrip()[:1] in (b"{", b"<"):
        return octets.decode("utf-8", "replace")
    return base64.b64encode(octets).decode("ascii")


def _looks_like_a_file(text: str) -> bool:
    return len(text) < 1000 and text.isprintable() and os.path.exists(text)


def _material(name: str, value: Any) -> Any:
    if isinstance(value, str):
        if _looks_like_a_file(value):
            raise OptionError(f"{name}: a str is the text itself; give the file as pathlib.Path({value!r})")
        return value
    if isinstance(value, os.PathLike):
        # Read here and now: parsed options are kept by their content, and a file may be replaced.
        if os.path.isdir(value):
            return {"file": os.fsdecode(value)}
        with open(value, "rb") as file:
            return _from_octets(file.read())
    if isinstance(value, (bytes, bytearray, memoryview)):
        return _from_octets(bytes(value))
    raise OptionError(f"{name} takes PEM text, bytes or a path, not {type(value).__name__}")


def _materials(name: str, value: Any) -> list[Any]:
    return [_material(name, each) for each in _listed(value)]


def _anchors(name: str, value: Any) -> list[Any]:
    return ["system" if each == "system" else _material(name, each) for each in _listed(value)]


def _named_keys(name: str, value: Mapping[str, Material]) -> list[Any]:
    return [{"name": each, "key": _material(name, key)} for each, key in value.items()]


def _paths(_: str, value: Any) -> list[str]:
    return [os.fsdecode(each) for each in _listed(value)]


def _reference_data(_: str, value: Mapping[int, Any]) -> list[str]:
    return [f"{index:d}={os.fsdecode(file)}" for index, file in value.items()]


def _limits(_: str, value: Mapping[str, int]) -> list[str]:
    return [f"{limit}={number:d}" for limit, number in value.items()]


def _time(name: str, value: Any) -> str:
    if not isinstance(value, datetime.datetime):
        return str(value)
    if value.tzinfo is None:
        raise OptionError(f"{name}: a time without its time zone may be meant in two ways")
    return value.astimezone(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


_FORMS: dict[str, Callable[[str, Any], Any]] = {
    "key": _materials, "cert": _materials, "crl": _materials, "anchor": _anchors, "named_key": _named_keys,
    "ref_data": _reference_data, "ref_dir": _paths, "limit": _limits, "at": _time,
}


def _secret(options: dict[str, Any]) -> None:
    """Octets of a secret, given or from a file, go to the library as hexadecimal text."""
    if "hmac_key_file" in options:
        if "hmac_key" in options:
            raise OptionError("hmac_key and hmac_key_file exclude each other")
        with open(options.pop("hmac_key_file"), "rb") as file:
            options["hmac_key"] = file.read()
    if isinstance(options.get("hmac_key"), (bytes, bytearray)):
        if "hmac_encoding" in options:
            raise OptionError("hmac_encoding is for a secret that is given as text")
        options["hmac_key"] = options["hmac_key"].hex()
        options["hmac_encoding"] = "hex"
    if options.get("hmac_key") == "":
        raise OptionError("hmac_key is empty")


def _camel(name: str) -> str:
    return re.sub("_(.)", lambda match: match.group(1).upper(), name)


def _checked(options: Mapping[str, Any]) -> dict[str, Any]:
    for name, value in options.items():
        # Somebody who passes what he failed to find must not get a verification without it.
        if value is None or (isinstance(value, (Sequence, Mapping, set)) and len(value) == 0):
            raise OptionError(f"{name} holds nothing; leave out an option that is not meant")
    return dict(options)


def to_json(options: Mapping[str, Any]) -> tuple[str, bool]:
    """The options as JSON, empty for none; and whether they may be kept: not those with a secret, nor
    those that name a folder, whose content may change."""
    if not options:
        return "", True
    values = _checked(options)
    _secret(values)
    members = {}
    keep = "hmac_key" not in values
    for name, value in values.items():
        made = _FORMS[name](name, value) if name in _FORMS else value
        members[_camel(name)] = list(made) if isinstance(made, (tuple, set, frozenset)) else made
        if name in ("key", "cert", "crl", "anchor"):
            keep = keep and not any(isinstance(each, dict) for each in made)
    try:
        return json.dumps(members), keep
    except TypeError as error:
        raise OptionError(f"options: {error}") from None
