# SPDX-License-Identifier: MIT
"""What a verification found out, as values that never change. Names and words are those of docs/report.md,
where each is explained; members that this version does not know are in Result.json alone."""

from __future__ import annotations

import dataclasses
import functools
import json as _json
from dataclasses import dataclass, field
from typing import Any, Optional


def _one(kind: type) -> Any:
    """A member that is one of these objects, or not there."""
    return field(default=None, metadata={"kind": kind})


def _many(kind: Optional[type] = None) -> Any:
    return field(default=(), metadata={"kind": kind})


@dataclass(frozen=True)
class Cause:
    """Why something does not verify."""

    code: str = ""
    text: str = ""  # a sentence for people
    remedies: tuple[str, ...] = field(default=(), metadata={"member": "try"})
    evidence: str = ""  # what a search found to be changed


@dataclass(frozen=True)
class Digest:
    stored: str = ""
    computed: str = ""


@dataclass(frozen=True)
class Transform:
    algorithm: str = ""
    prefix_list: Optional[str] = None
    xpath: Optional[str] = None
    filter: Optional[str] = None


@dataclass(frozen=True)
class Exclusion:
    """A stretch of the loaded UTF-8 text that lies in what is covered and was not digested."""

    path: str = ""
    start: int = 0  # octets, both
    length: int = 0
    why: str = ""


@dataclass(frozen=True)
class Part:
    """A part of a package."""

    name: str = ""
    size: int = 0
    covered: bool = False  # all of it, by a valid signature
    by: tuple[int, ...] = _many()  # the indexes of these signatures
    exempt: bool = False  # the kind of package does not ask for it to be covered


@dataclass(frozen=True)
class Container:
    """The package that the file is."""

    kind: str = ""  # "asic-e", "odf", "opc", ...
    warnings: tuple[str, ...] = _many()
    parts: tuple[Part, ...] = _many(Part)


@dataclass(frozen=True)
class Reference:
    index: int = 0
    uri: str = ""
    external: bool = False
    signed: bool = True  # False: the signature value does not vouch for it
    digest_method: str = ""
    status: str = ""  # "match", "mismatch", "missing", "error", "not-checked"
    reason: int = 0
    cause: Optional[Cause] = _one(Cause)
    digest: Digest = field(default=Digest(), metadata={"kind": Digest})
    octets: int = 0
    transforms: tuple[Transform, ...] = _many(Transform)
    covers: str = ""  # "document", "element", "elements", "external"; empty when not known
    element: str = ""
    path: str = ""
    paths: tuple[str, ...] = _many()
    part: Optional[str] = None  # of the package, or a file, where an external one led
    file: Optional[str] = None
    excluded: tuple[Exclusion, ...] = _many(Exclusion)
    accommodations: tuple[str, ...] = _many()


@dataclass(frozen=True)
class Key:
    """A key, with what the certificate says that it came from or that was found for it."""

    source: str = ""
    type: str = ""
    bits: int = 0
    curve: str = ""
    spki_sha256: str = ""
    certificate_sha256: str = ""
    subject: str = ""
    issuer: str = ""
    serial: str = ""
    not_before: str = ""
    not_after: str = ""
    name_from_document: bool = False
    used: bool = False


@dataclass(frozen=True)
class Problem:
    """What is wrong with a certification path."""

    code: str = ""
    certificate: str = ""
    text: str = ""


@dataclass(frozen=True)
class Trust:
    """Whether the signer's certificate leads to an anchor."""

    status: str = ""  # "trusted" or "not-trusted"
    time: str = ""
    path: tuple[str, ...] = _many()
    policies: tuple[str, ...] = _many()
    problems: tuple[Problem, ...] = _many(Problem)


@dataclass(frozen=True)
class Signature:
    index: int = 0
    id: str = ""
    path: str = ""
    status: str = ""  # "valid" or "invalid"
    reason: str = ""
    cause: Optional[Cause] = _one(Cause)
    value: str = ""  # of the signature value alone: "valid", "invalid", "not-checked"
    signer: Optional[Key] = _one(Key)
    profile: str = ""
    signature_method: str = ""
    canonicalization_method: str = ""
    reference_count: int = 0
    references: tuple[Reference, ...] = _many(Reference)
    part: Optional[str] = None  # of the package, in which it stands
    manifest: tuple[Reference, ...] = _many(Reference)
    parts_not_covered: tuple[str, ...] = _many()
    keys: tuple[Key, ...] = _many(Key)
    timestamp: str = ""
    timestamp_time: Optional[str] = None
    timestamp_authority: Optional[str] = None
    timestamp_trusted: Optional[bool] = None
    warnings: tuple[str, ...] = _many()
    accommodations: tuple[str, ...] = _many()
    standards: tuple[str, ...] = _many()
    accepted: Optional[bool] = None  # None without a policy, as in Result
    refusals: tuple[str, ...] = _many()
    signing_certificate: Optional[str] = None
    trust: Optional[Trust] = _one(Trust)

    @property
    def valid(self) -> bool:
        """Of all that was asked for; who signed is another question."""
        return self.status == "valid"


@dataclass(frozen=True)
class Result:
    """True only when there is a signature, every selected one is valid, its value and its references, and
    the policy accepts them where options gave one."""

    file: str = ""
    status: str = "error"  # "valid", "invalid", "no-signature", "error"
    error: str = ""
    size: int = 0
    sha256: str = ""
    accepted: Optional[bool] = None  # None where no option asked for a policy
    refusals: tuple[str, ...] = _many()
    container: Optional[Container] = _one(Container)
    signatures: tuple[Signature, ...] = _many(Signature)
    # Whole signatures were asked for and are valid.
    valid: bool = False
    # The report as the library wrote it, one JSON object on one line.
    json: str = field(default="", repr=False)

    def __bool__(self) -> bool:
        return self.valid and self.accepted is not False


def _camel(name: str) -> str:
    first, *others = name.split("_")
    return first + "".join(other.capitalize() for other in others)


@functools.lru_cache(maxsize=None)
def _members(cls: type) -> tuple[tuple[str, str, Any], ...]:
    """Of each field: its name, that of the JSON member, and the class of what stands there."""
    return tuple((each.name, each.metadata.get("member", _camel(each.name)), each.metadata.get("kind"))
                 for each in dataclasses.fields(cls))


def _read(cls: type, members: dict[str, Any]) -> dict[str, Any]:
    values = {}
    for name, member, kind in _members(cls):
        value = members.get(member)
        if value is None:
            continue
        if isinstance(value, list):
            value = tuple(kind(**_read(kind, each)) for each in value) if kind else tuple(value)
        elif kind:
            value = kind(**_read(kind, value))
        values[name] = value
    return values


def read_result(text: str, valid: bool) -> Result:
    """The result from its JSON. The verdict is the library's own: it is false where less than whole
    signatures was asked for, which the JSON does not say."""
    values: dict[str, Any] = {**_read(Result, _json.loads(text)), "valid": valid, "json": text}
    return Result(**values)
