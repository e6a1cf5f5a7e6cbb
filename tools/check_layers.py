#!/usr/bin/env python3
"""Four floors and a roof: a file includes only from its own floor or a lower one, by its path from
the root; the floors need the C++ standard library alone and open no file. check_layers.py [ROOT]"""
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
# What a folder of the roof may take from another: the clients that check or measure the others.
MAY_SEE_THE_ROOF = ("tests", "bench", "fuzz")


def roof_of(name):
    top = name.split("/", 1)[0]
    return top if top in tree_files.ROOF else None


def fault_of_header(name):
    if name in OPENS_FILES:
        return f"<{name}> opens files, which belong to the roof"
    if name not in STANDARD:
        return f"<{name}> is no header of the C++ standard library"
    return None


def fault_of_path(root, source, included):
    if included.startswith("/") or ".." in included.split("/") or not (root / included).is_file():
        return f'"{included}" is no path from the root'
    own, other = tree_files.floor_of(source), tree_files.floor_of(included)
    if own is not None:
        if other is None:
            return f'"{included}" stands outside the floors'
        return f'"{included}" stands on floor {other}, above floor {own}' if other > own else None
    here, there = roof_of(source), roof_of(included)
    if there and there != here and here not in MAY_SEE_THE_ROOF:
        return f'"{included}": nothing includes the roof'
    return None


def check(root):
    findings = []
    for source in tree_files.files(root, *tree_files.SOURCES):
        floor = tree_files.floor_of(source)
        if floor is None and not roof_of(source):
            findings.append(f"{source}: stands on no floor and not on the roof")
            continue
        for number, line in enumerate(tree_files.lines(root, source), 1):
            include = INCLUDE.match(line)
            fault = None
            if include and include[1] is not None:
                fault = fault_of_path(root, source, include[1])
            elif include and include[2] is not None and floor is not None:
                fault = fault_of_header(include[2])
            elif include and floor is not None:
                fault = f"{include[3]}: an include names its file"
            if fault:
                findings.append(f"{source}:{number}: {fault}")
    return findings


if __name__ == "__main__":
    sys.exit(tree_files.run_alone(check))
