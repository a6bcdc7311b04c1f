#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the tests of this folder; VANTREL_LIBRARY names the library. Ends with "N passed, N failed, N skipped"."""

import pathlib
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

suite = unittest.defaultTestLoader.discover(str(HERE))
result = unittest.TextTestRunner(verbosity=1, stream=sys.stdout).run(suite)
bad = len(result.failures) + len(result.errors)
print(f"{result.testsRun - bad - len(result.skipped)} passed, {bad} failed, {len(result.skipped)} skipped")
sys.exit(1 if bad or not result.testsRun else 0)
