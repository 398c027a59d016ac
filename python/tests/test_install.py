"""`cmake --install` puts the module where the interpreter imports it from."""

import os
import pathlib
import shutil
import subprocess
import sys
import sysconfig

import pytest

from conftest import MODULE_DIR


def cache_entry(build, name):
    for line in (build / "CMakeCache.txt").read_text().splitlines():
        if line.startswith(name + ":"):
            return line.split("=", 1)[1]
    return None


@pytest.fixture
def build():
    folder = MODULE_DIR.resolve().parent
    if not (folder / "CMakeCache.txt").exists() or shutil.which("cmake") is None:
        pytest.skip(f"{folder} is not a CMake build folder")
    return folder


def test_install_into_a_prefix_is_importable(build, tmp_path):
    prefix = tmp_path / "prefix"
    subprocess.run(["cmake", "--install", str(build), "--component", "python", "--prefix", str(prefix)],
                   check=True, capture_output=True)
    version = f"python{sys.version_info.major}.{sys.version_info.minor}"
    found = sorted(prefix.rglob("mirelan*.so"))
    assert len(found) == 1
    site = found[0].parent
    assert site.relative_to(prefix).parts[:2] == ("lib", version)
    assert (site / "mirelan.pyi").exists()
    env = dict(os.environ, PYTHONPATH=str(site))
    out = subprocess.run([sys.executable, "-c", "import mirelan, numpy; v = mirelan.Volume((2, 3, 4)); "
                          "print(mirelan.__file__, numpy.asarray(v).shape)"],
                         check=True, capture_output=True, text=True, env=env, cwd=tmp_path).stdout
    assert out.startswith(str(site)) and "(2, 3, 4)" in out


def test_default_destination_is_on_the_interpreters_path(build):
    relative = cache_entry(build, "MIRELAN_PYTHON_INSTALL_DIR")
    prefix = cache_entry(build, "CMAKE_INSTALL_PREFIX")
    assert relative and prefix
    destination = pathlib.Path(relative) if os.path.isabs(relative) else pathlib.Path(prefix) / relative
    if prefix in ("/usr/local", sysconfig.get_config_var("prefix")):
        assert str(destination) in sys.path or str(destination) == sysconfig.get_path("platlib")
