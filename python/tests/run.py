"""Runs the tests of the files given; 77, which is a skip, without what they need."""
from __future__ import annotations

import importlib.util
import sys

SKIPPED = 77

missing = [name for name in ("pytest", "numpy") if importlib.util.find_spec(name) is None]
if missing:
    print("skipped: not installed: " + ", ".join(f"python3-{name}" for name in missing))
    sys.exit(SKIPPED)

import pytest  # noqa: E402

sys.exit(pytest.main(["-q", "-p", "no:cacheprovider", *sys.argv[1:]]))
