# SPDX-License-Identifier: MIT
"""The account of a program of checks."""

import sys

_passed = _failed = 0


def check(name, holds, more=""):
    """Counts one check; what fails is printed with the beginning of `more`."""
    global _passed, _failed
    if holds:
        _passed += 1
    else:
        _failed += 1
        print(f"FAILED: {name} {str(more)[:1000]}")


def finish():
    """The last line, and the exit code."""
    print(f"{_passed} passed, {_failed} failed")
    sys.exit(1 if _failed or not _passed else 0)
