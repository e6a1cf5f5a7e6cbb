"""The Python in the README and in docs/ runs and prints what the page says; so do the examples."""
from __future__ import annotations

import importlib.util
import os
import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tests" / "docs"))
import doc_text  # type: ignore[import]  # noqa: E402

PAGES = ["README.md", "docs/python.md"]
if importlib.util.find_spec("kelvo.render"):
    PAGES.append("docs/render.md")
EXAMPLES = sorted((ROOT / "examples" / "python").glob("*.py"))


def printed(code: str, folder: pathlib.Path) -> str:
    ran = subprocess.run([sys.executable, "-W", "error", "-"], input=code, cwd=folder, text=True,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120,
                         env=dict(os.environ))
    assert ran.returncode == 0, ran.stdout
    return ran.stdout


@pytest.mark.parametrize("page", PAGES)
def test_the_blocks_of_a_page_print_what_it_says(page: str, tmp_path: pathlib.Path) -> None:
    blocks = doc_text.blocks(ROOT / page)
    program = [block for block in blocks if block.language == "python"]
    following = zip(blocks, [*blocks[1:], None])
    says = [doc_text.printed_by(block, after) or "" for block, after in following
            if block.language == "python"]
    assert program
    assert printed("\n".join(block.text for block in program), tmp_path) == "".join(says)


@pytest.mark.parametrize("name", [example.stem for example in EXAMPLES])
def test_an_example_prints_what_is_expected(name: str, tmp_path: pathlib.Path) -> None:
    example = ROOT / "examples" / "python" / f"{name}.py"
    expected = example.parent / "expected" / f"{name}.txt"
    assert printed(example.read_text(), tmp_path) == expected.read_text()
    assert len(example.read_text().splitlines()) <= 40


def test_there_are_five_examples() -> None:
    assert len(EXAMPLES) == 5
