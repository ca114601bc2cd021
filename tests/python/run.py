"""Runs a module's tests: run.py MODULE. 77, ctest's "skipped", without numpy, unless it is required."""

import os
import sys
import unittest

try:
    import numpy  # noqa: F401
except ImportError:
    print("python3-numpy is not there")
    sys.exit(1 if os.environ.get("QUORVID_TEST_REQUIRE_PYTHON") else 77)
unittest.main(sys.argv[1], argv=["run.py", "-v", *sys.argv[2:]])
