"""The type stubs name what the module has, and the module what they name."""

import ast
import pathlib

import mirelan

STUBS = pathlib.Path(__file__).resolve().parents[1] / "mirelan.pyi"


def public(names):
    return {n for n in names if not n.startswith("_")}


def stub_names():
    tree = ast.parse(STUBS.read_text())
    top, members = set(), {}
    for node in tree.body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            top.add(node.name)
        if isinstance(node, ast.ClassDef):
            members[node.name] = {
                n.name if isinstance(n, ast.FunctionDef) else n.target.id
                for n in node.body
                if isinstance(n, ast.FunctionDef) or (isinstance(n, ast.AnnAssign) and isinstance(n.target, ast.Name))
            }
        if isinstance(node, ast.AnnAssign):
            top.add(node.target.id)
    return top, members


def test_stubs_and_module_name_the_same_things():
    top, members = stub_names()
    module = {n for n in dir(mirelan) if not isinstance(getattr(mirelan, n), type(mirelan))}
    assert public(module) - public(top) == set(), "missing from mirelan.pyi"
    assert public(top) - public(module) <= {"PixelType", "ZYX", "Calibration", "Progress", "Colour", "PathLike",
                                            "Operator", "TIFFCompression",
                                            "ResampleFilter", "FourierKernel", "SeedMode",
                                            "ChannelStatistics"}, "in mirelan.pyi but not in the module"
    for cls in ("Volume", "Region", "Stack"):
        assert public(dir(getattr(mirelan, cls))) <= members[cls], f"{cls} members missing from mirelan.pyi"
        assert public(members[cls]) <= set(dir(getattr(mirelan, cls))), f"{cls} members not in the module"
