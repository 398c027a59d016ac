"""Finds the built module: MIRELAN_PYTHON_DIR names the folder that holds it
(./run test sets it); without it, the build folder ../../build/python."""

import atexit
import os
import pathlib
import shutil
import sys
import tempfile

import pytest

HERE = pathlib.Path(__file__).resolve().parent
REPOSITORY = HERE.parent.parent
MODULE_DIR = pathlib.Path(os.environ.get("MIRELAN_PYTHON_DIR", REPOSITORY / "build" / "python"))
sys.path.insert(0, str(MODULE_DIR))

import mirelan  # noqa: E402  (after the path is set)

# Fourier transforms keep what they learn in the user's preferences: the tests
# keep theirs in a folder of their own, and so does the C++ host they start.
PREFS = tempfile.mkdtemp(prefix="mirelan-test-prefs-")
os.environ["MIRELAN_PREFS_DIR"] = PREFS
atexit.register(shutil.rmtree, PREFS, True)

SHARED_DATA = pathlib.Path(os.environ.get("MIRELAN_SHARED_DATA", REPOSITORY.parent / "shared" / "data"))


@pytest.fixture
def shared_data():
    """The folder of real stacks; the test is skipped where it is absent."""
    if not SHARED_DATA.is_dir():
        pytest.skip(f"no shared data at {SHARED_DATA}")
    return SHARED_DATA


@pytest.fixture
def cpp_reference():
    """The C++ host program built beside the module."""
    program = MODULE_DIR / "mirelan_cpp_reference"
    if not program.exists():
        pytest.skip(f"{program} is not built (configure with MIRELAN_BUILD_TESTS=ON)")
    return program


@pytest.fixture
def fast_progress():
    """Progress reports at every step for the duration of a test."""
    previous = mirelan.progress_interval()
    mirelan.set_progress_interval(0)
    yield
    mirelan.set_progress_interval(previous)
