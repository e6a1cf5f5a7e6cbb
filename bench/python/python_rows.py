#!/usr/bin/env python3
"""Measures the Python package in one run: python_rows.py PACKAGE_FOLDER

PACKAGE_FOLDER has the package and the module python_bench, as a build with KELVO_BUILD_PYTHON and
KELVO_BUILD_BENCH leaves them. Prints each row with its aim, and what it is measured against."""
import subprocess
import sys
import timeit

sys.path.insert(0, sys.argv[1])


def fastest(statement, number, scope, repeat=7):
    """Returns the nanoseconds of one run."""
    return min(timeit.repeat(statement, globals=scope, number=number, repeat=repeat)) / number * 1e9


def import_milliseconds():
    code = ("import time; begin = time.perf_counter(); import kelvo; "
            "print((time.perf_counter() - begin) * 1000)")
    return min(float(subprocess.run([sys.executable, "-c", code], capture_output=True, text=True,
                                    check=True, env={"PYTHONPATH": sys.argv[1]}).stdout)
               for _ in range(5))


def walk(scene):
    for _ in scene:
        pass


def main():
    import_time = import_milliseconds()
    import kelvo
    import numpy as np
    import python_bench

    scope = {"bench": python_bench, "scene": kelvo.Scene()}
    scope["lamp"] = scope["scene"].create("pointLight", "lamp")
    empty = fastest("bench.empty()", 200000, scope)
    rows = [("get a number by name", "lamp['intensity']", 100000, 1),
            ("set a number by name", "lamp['intensity'] = 1.0; lamp['intensity'] = 2.0", 50000, 2)]
    for name, statement, number, parts in rows:
        taken = fastest(statement, number, scope) / parts
        print(f"{name:32} {taken:10.0f} ns   {taken / empty:5.2f} empty calls   (aim 3)")
    created = fastest("scene.create('mesh', 'n')", 2000, scope)
    in_cpp = python_bench.seconds_to_create(14000) * 1e9
    print(f"{'create a node with 10 inputs':32} {created:10.0f} ns   {created / in_cpp:5.2f} of C++"
          "        (aim 2)")
    scope["mesh"] = mesh = scope["scene"].create("mesh", "large")
    mesh["positions"] = first = np.zeros((64 * 2**20 // 12, 3), np.float32)
    scope.update(first=first, second=first + 1)
    read = fastest("mesh['positions']", 20000, scope)
    print(f"{'a 64 MiB buffer as an array':32} {read:10.0f} ns   (aim 2000)")
    swap = "mesh['positions'] = first; mesh['positions'] = second"
    write = fastest(swap, 2, scope) / 2
    copy = fastest("first.tobytes()", 3, scope)
    print(f"{'set a 64 MiB buffer':32} {write / 1e6:10.2f} ms   {write / copy:5.2f} of a copy"
          "      (aim 1)")
    large = kelvo.Scene(libraries=[])
    for _ in range(100000):
        large.create("thing", "n")
    scope.update(large=large, walk=walk)
    rate = 1e9 / (fastest("walk(large)", 1, scope) / len(large)) / 1e6
    print(f"{'walk 100,000 nodes':32} {rate:10.1f} M/s  (aim 10)")
    print(f"{'import kelvo':32} {import_time:10.1f} ms   (aim 50)")


if __name__ == "__main__":
    main()
