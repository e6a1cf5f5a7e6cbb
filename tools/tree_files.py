"""Functions that the checks of the tree share: its files, its floors, and the form of a finding."""
import pathlib
import subprocess
import sys

HOME = pathlib.Path(__file__).resolve().parent.parent
FLOORS = ("kelvo/base", "kelvo/sdk/interfaces", "kelvo/sdk", "kelvo/sdk/impl")
# The highest floor that clients see.
PUBLIC_FLOORS = 3
# The part of the roof that is installed with the floors.
INSTALLED = ("kelvo/binary", "kelvo/files", "kelvo/plugins")
ROOF = (*INSTALLED, "render", "tools", "bindings", "examples", "tests", "bench", "fuzz")
# The umbrella header and its former place; they belong to no floor.
UMBRELLAS = ("kelvo/kelvo.h", "kelvo/sdk/kelvo.h")
SOURCES = (".h", ".cpp")
LEFT_OUT = {".git", "build", "__pycache__"}


def files(root, *suffixes):
    """Returns the sorted paths, relative to `root`, of all files that git tracks or would track."""
    command = ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others",
               "--exclude-standard"]
    listing = subprocess.run(command, capture_output=True, text=True, check=False)
    if listing.returncode == 0 and listing.stdout:
        names = listing.stdout.split("\0")
    else:
        names = [path.relative_to(root).as_posix() for path in pathlib.Path(root).rglob("*")]
    found = {name for name in names if name and not LEFT_OUT & set(name.split("/"))}
    return sorted(name for name in found
                  if (root / name).is_file() and (not suffixes or name.endswith(suffixes)))


def floor_of(name):
    """Returns the number of a file's floor, from 1; None for the roof and other files."""
    folder = name.rsplit("/", 1)[0] if "/" in name and name not in UMBRELLAS else ""
    inside = [floor for floor in FLOORS if folder == floor or folder.startswith(floor + "/")]
    return FLOORS.index(max(inside, key=len)) + 1 if inside else None


def roof_of(name):
    """Returns a file's folder of the roof; None for the floors and other files."""
    return next((folder for folder in ROOF if name.startswith(folder + "/")), None)


def is_for_use(name):
    """Tells whether a header belongs to the floors or is for clients."""
    return floor_of(name) is not None or name in UMBRELLAS or roof_of(name) in INSTALLED


def lines(root, name):
    return (root / name).read_text(encoding="utf-8", errors="replace").splitlines()


def run_alone(check):
    """Runs a check as a program of its own: check_x.py [ROOT]."""
    root = pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else HOME
    findings = check(root)
    print("\n".join(findings) if findings else "ok")
    return 1 if findings else 0
