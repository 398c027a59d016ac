"""The tour of docs/python.md runs as written."""

import pathlib
import re

DOC = pathlib.Path(__file__).resolve().parents[2] / "docs" / "python.md"


def test_the_tour_runs(tmp_path, monkeypatch, fast_progress):
    blocks = re.findall(r"```python\n(.*?)```", DOC.read_text(), re.S)
    assert blocks, "docs/python.md has no python blocks"
    monkeypatch.chdir(tmp_path)
    scope = {"__name__": "tour"}
    for block in blocks:
        exec(compile(block, str(DOC), "exec"), scope)  # noqa: S102  (our own document)
