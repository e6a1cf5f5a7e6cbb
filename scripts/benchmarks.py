"""Runs programs made with Google Benchmark, and reads and writes the files of their results."""
import json
import re
import subprocess

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
# Rows with this counter measure memory, not time.
BYTES = "heap_bytes_per_node"
# The beginnings of the names of rows that measure memory, or time with all costs of memory.
ABOUT_MEMORY = ("memory_", "scene_build_walk_end")


class BenchmarkError(Exception):
    """A program or a file that cannot be used; the message names it."""


def key_of(name):
    """Returns the name of a row without the number of iterations that some programs add."""
    return re.sub(r"/iterations:\d+", "", name)


def by_size(row):
    """Sorts rows by name, and rows that differ only in their size by that size."""
    stem, _, size = row.rpartition("/")
    return (stem, int(size)) if size.isdecimal() else (row, 0)


def value_of(result):
    """Returns bytes for a row that measures memory. Returns nanoseconds of processor time for all
    others, because a loaded machine makes elapsed time useless."""
    if BYTES in result:
        return result[BYTES]
    return result["cpu_time"] * NANOSECONDS[result.get("time_unit", "ns")]


def call(program, *options):
    """Returns the output of a program. The programs of peers need a large stack: they follow long
    chains by recursion."""
    command = ["bash", "-c", 'ulimit -Ss "$(ulimit -Hs)"; exec "$0" "$@"', str(program), *options]
    ran = subprocess.run(command, capture_output=True, text=True, check=False)
    if ran.returncode != 0:
        raise BenchmarkError(f"{program} ended with status {ran.returncode}. {ran.stderr.strip()}")
    return ran.stdout


def names(program):
    """Returns {row: its full name} for the rows of a program."""
    listed = call(program, "--benchmark_list_tests=true").split()
    return {key_of(name): name for name in listed}


def repetitions_of(row):
    """Returns how often to repeat a row in one process. The first time is often slower, while the
    system hands out memory. Rows about memory run once, because later runs reuse it."""
    return 1 if row.startswith(ABOUT_MEMORY) else 3


def results(program, full_names, min_time):
    """Runs rows of one kind and returns {row: its median result, as the program printed it}."""
    chosen = "|".join(re.escape(name) for name in full_names)
    repetitions = repetitions_of(full_names[0])
    printed = call(program, f"--benchmark_filter=^({chosen})$", "--benchmark_format=json",
                   f"--benchmark_min_time={min_time}", f"--benchmark_repetitions={repetitions}")
    repeated = {}
    try:
        for result in json.loads(printed)["benchmarks"]:
            if result.get("run_type") != "aggregate":
                repeated.setdefault(key_of(result["name"]), []).append(result)
    except (ValueError, LookupError, TypeError) as error:
        raise BenchmarkError(f"{program} printed no results: {error}") from error
    return {row: median_of(found) for row, found in repeated.items()}


def median_of(found):
    """Returns the result with the median time; a failed one if there is any."""
    failed = [result for result in found if result.get("error_occurred")]
    by_time = sorted(found, key=lambda result: result.get("cpu_time", 0))
    return failed[0] if failed else by_time[(len(found) - 1) // 2]


def read_json(path, remedy):
    """Returns the contents of a recorded file; `remedy` is the command that writes it."""
    try:
        return json.loads(path.read_text(encoding="utf-8"))
    except FileNotFoundError as error:
        raise BenchmarkError(f"{path} is missing. Record it with {remedy}") from error
    except (OSError, ValueError) as error:
        raise BenchmarkError(f"{path} cannot be read: {error}. Record it anew with {remedy}"
                             ) from error


def write_json(path, contents):
    path.write_text(json.dumps(contents, indent=2, sort_keys=True) + "\n", encoding="utf-8")


def rounded(number):
    """Keeps four significant digits: more would only change from run to run."""
    return float(f"{number:.4g}")


def with_unit(number, units):
    """Returns a number with the greatest of the units, (name, factor) from small to great, in which
    it is at least 1."""
    name, factor = next((unit for unit in reversed(units) if number >= unit[1]), units[0])
    scaled = number / factor
    return f"{scaled:.0f} {name}" if scaled >= 100 else f"{scaled:.3g} {name}"


def time_text(nanoseconds):
    return with_unit(nanoseconds, (("ns", 1), ("µs", 1e3), ("ms", 1e6), ("s", 1e9)))


def bytes_text(count):
    return with_unit(count, (("B", 1), ("KiB", 2**10), ("MiB", 2**20), ("GiB", 2**30)))
