"""Programs that answer as those made with Google Benchmark do, from small files of rows."""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

# Reads ROWS.json: {row: value or list of values, one for each run}. A text is an error. Each run of
# rows appends a line to "runs".
PROGRAM = """#!{python}
import json, pathlib, re, sys
file = pathlib.Path({rows!r})
rows = json.loads(file.read_text())
if "--benchmark_list_tests=true" in sys.argv:
    print("\\n".join(rows))
    sys.exit()
chosen = next(each for each in sys.argv if each.startswith("--benchmark_filter="))
repetitions = next((int(each.split("=")[1]) for each in sys.argv if "repetitions" in each), 1)
results, left = [], dict(rows)
for row, value in rows.items():
    if not re.search(chosen.split("=", 1)[1], row):
        continue
    if isinstance(value, list):
        left[row] = value[1:] or value
        value = value[0]
    if value == "crash":
        sys.exit(3)
    result = {{"name": row, "cpu_time": value, "time_unit": "us"}}
    if isinstance(value, str):
        result = {{"name": row, "error_occurred": True, "error_message": value}}
    elif isinstance(value, dict):
        result = {{"name": row, "cpu_time": 1, "time_unit": "us", **value}}
    results += [result] * repetitions + [{{**result, "name": row + "_mean", "cpu_time": 999,
                                          "run_type": "aggregate"}}]
file.write_text(json.dumps(left))
with open({runs!r}, "a") as runs:
    names = [result["name"] for result in results if "run_type" not in result]
    runs.write(" ".join(dict.fromkeys(names)) + "\\n")
print(json.dumps({{"benchmarks": results}}))
"""


class SimulatedBench(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.runs = self.folder / "runs"

    def program(self, name, rows):
        """Makes a program with these rows; returns its path."""
        path, file = self.folder / name, self.folder / f"{name}.json"
        file.write_text(json.dumps(rows), encoding="utf-8")
        path.write_text(PROGRAM.format(python=sys.executable, rows=str(file), runs=str(self.runs)),
                        encoding="utf-8")
        path.chmod(0o755)
        return str(path)

    def script(self, name, *arguments):
        """Runs a script of the tree; returns its output and its status."""
        command = [sys.executable, str(ROOT / "scripts" / name), *map(str, arguments)]
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              cwd=self.folder, timeout=60, check=False)

    def runs_made(self):
        return self.runs.read_text(encoding="utf-8").splitlines() if self.runs.exists() else []
