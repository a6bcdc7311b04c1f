# SPDX-License-Identifier: MIT
"""The exceptions of the package. MemoryError and OSError come as Python has them."""


class Error(Exception):
    """The question was wrong, or could not be asked; nothing is known of the document."""


class OptionError(Error, ValueError):
    """An option that there is not, or with a value that it does not take. The text names it."""


class DocumentError(Error, ValueError):
    """The document has not the form that was asked for: text that its own encoding cannot write, or
    something of which no page can be made."""


class LibraryError(Error, ImportError):
    """The shared library is missing, or is not of the version that this package is made for."""
