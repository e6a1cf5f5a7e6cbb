"""The recorded ratios of this library to its peers, and the rule when one has become worse."""
import benchmarks
from benchmarks import BenchmarkError

WORSE = 1.25
REMEDY = "scripts/bench --against peers --record"
ABOUT = ("The processor time of this library divided by that of each peer, by benchmark: "
         f"below 1 is faster. Written by {REMEDY}.")


def read(path):
    """Returns the recorded ratios {row: {peer: ratio}}."""
    contents = benchmarks.read_json(path, REMEDY)
    ratios = contents.get("ratios") if isinstance(contents, dict) else None
    if not is_table(ratios):
        raise BenchmarkError(f'{path} has no table "ratios" of rows and peers. '
                             f"Record it anew with {REMEDY}")
    for row, of_row in ratios.items():
        for peer, ratio in of_row.items():
            if isinstance(ratio, bool) or not isinstance(ratio, (int, float)) or not ratio > 0:
                raise BenchmarkError(f"{path}: the ratio of {row} to {peer} is no number above 0. "
                                     f"Record it anew with {REMEDY}")
    return ratios


def is_table(ratios):
    return isinstance(ratios, dict) and all(isinstance(row, dict) for row in ratios.values())


def write(path, ratios):
    benchmarks.write_json(path, {"about": ABOUT, "ratios": ratios})


def worse(recorded, ratios):
    """Returns (row, peer, ratio, recorded ratio) for each ratio more than 25 % worse."""
    return [(row, peer, ratio, recorded[row][peer])
            for row, of_row in ratios.items() for peer, ratio in of_row.items()
            if ratio > WORSE * recorded.get(row, {}).get(peer, float("inf"))]
