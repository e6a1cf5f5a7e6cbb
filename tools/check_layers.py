#!/usr/bin/env python3
"""Checks the includes of the four floors and the roof. A file includes only from its own floor or a
lower one, by its path from the root; the floors use the C++ standard library alone and open no
file. A subject of the implementation includes only the subjects in its row in CONTRIBUTING.md, and
no two subjects include each other. The roof includes public headers; only tests and benchmarks
include the implementation. Tools and examples may use the renderer by its public headers. The
headers in kelvo/files belong to the roof but serve all clients, so they use public headers and the
standard library alone. The umbrella header belongs to no floor, and no file on the floors includes
it. check_layers.py [ROOT]"""
import re
import sys

import tree_files

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]*)"|<([^>]*)>|(\S.*))')
STANDARD = frozenset("""
algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono
cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine
csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque
exception execution format forward_list functional future initializer_list iomanip ios iosfwd
iostream istream iterator latch limits list locale map memory memory_resource mutex new numbers
numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set
shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
strstream syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map
unordered_set utility valarray variant vector version
""".split())
OPENS_FILES = frozenset(("filesystem", "fstream"))
# Headers for all clients, outside the floors.
FILES = "kelvo/files"
# Folders of the roof that may include others of it: they check or measure them.
MAY_SEE_THE_ROOF = ("tests", "bench", "fuzz")
# Folders of the roof that others of it use as libraries.
LIBRARIES = ("render",)
# Folders of the roof that may include the implementation: they check or measure its parts.
MAY_SEE_INSIDE = ("tests", "bench")


def fault_of_header(name, opens_files):
    if name in OPENS_FILES:
        return None if opens_files else f"<{name}> opens files, which belong to the roof"
    if name not in STANDARD:
        return f"<{name}> is no header of the C++ standard library"
    return None


def is_public(name):
    return (tree_files.floor_of(name) or tree_files.PUBLIC_FLOORS + 1) <= tree_files.PUBLIC_FLOORS


# Returns why a client header must not include a file: clients get public headers and `FILES` alone.
def fault_of_client_header(source, included):
    if is_public(included) or tree_files.roof_of(included) == FILES:
        return None
    if {source, included} == set(tree_files.UMBRELLAS):
        return None
    return f'"{included}" is not for clients, who get {source}'


def subject_of(name):
    """Returns the subject that a file of the implementation belongs to, None for other files."""
    inside = name.removeprefix(tree_files.FLOORS[-1] + "/")
    return inside.split("/", 1)[0] if inside != name and "/" in inside else None


def allowed_subjects(root):
    """Returns {subject: subjects it may include} from the table in CONTRIBUTING.md."""
    page = root / "CONTRIBUTING.md"
    text = page.read_text(encoding="utf-8") if page.is_file() else ""
    return {row[1]: set(re.findall(r"\w+", row[2]))
            for row in re.finditer(r"^\| `(\w+)/` \|[^|]*\|([^|]*)\|$", text, re.MULTILINE)}


def loops(allowed):
    """Returns the subjects that depend on themselves, directly or through others."""
    reached = {subject: set(uses) for subject, uses in allowed.items()}
    for _ in allowed:
        for uses in reached.values():
            uses.update(*(reached.get(used, ()) for used in list(uses)))
    return sorted(subject for subject, uses in reached.items() if subject in uses)


def fault_of_subject(allowed, source, included):
    here, there = subject_of(source), subject_of(included)
    if not here or not there or here == there:
        return None
    if here not in allowed:
        return f"the subject {here} has no row in CONTRIBUTING.md"
    return None if there in allowed[here] else f'"{included}": {here} may not use {there}'


def fault_of_path(root, source, included):
    if included.startswith("/") or ".." in included.split("/") or not (root / included).is_file():
        return f'"{included}" is no path from the root'
    if source in tree_files.UMBRELLAS or tree_files.roof_of(source) == FILES:
        return fault_of_client_header(source, included)
    own, other = tree_files.floor_of(source), tree_files.floor_of(included)
    if own is not None:
        if other is None:
            return f'"{included}" stands outside the floors'
        return f'"{included}" stands on floor {other}, above floor {own}' if other > own else None
    here, there = tree_files.roof_of(source), tree_files.roof_of(included)
    if included.startswith("render/impl/") and here not in ("render", *MAY_SEE_INSIDE):
        return f'"{included}": the implementation of the renderer'
    if (there and there not in (here, *tree_files.INSTALLED, *LIBRARIES)
            and here not in MAY_SEE_THE_ROOF):
        return f'"{included}": nothing includes the roof'
    if here and here not in MAY_SEE_INSIDE and other is not None and not is_public(included):
        return f'"{included}": the roof includes public headers, not the implementation'
    return None


def check(root):
    allowed = allowed_subjects(root)
    findings = [f"CONTRIBUTING.md: the subject {subject} may use itself by way of others"
                for subject in loops(allowed)]
    for source in tree_files.files(root, *tree_files.SOURCES):
        floor = tree_files.floor_of(source)
        is_file = tree_files.roof_of(source) == FILES
        if floor is None and source not in tree_files.UMBRELLAS and not tree_files.roof_of(source):
            findings.append(f"{source}: stands on no floor and not on the roof")
            continue
        is_bare = floor is not None or is_file
        for number, line in enumerate(tree_files.lines(root, source), 1):
            include = INCLUDE.match(line)
            fault = None
            if include and include[1] is not None:
                fault = (fault_of_path(root, source, include[1])
                         or fault_of_subject(allowed, source, include[1]))
            elif include and include[2] is not None and is_bare:
                fault = fault_of_header(include[2], is_file)
            elif include and is_bare:
                fault = f"{include[3]}: an include names its file"
            if fault:
                findings.append(f"{source}:{number}: {fault}")
    return findings


if __name__ == "__main__":
    sys.exit(tree_files.run_alone(check))
