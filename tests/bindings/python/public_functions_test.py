"""Every function of the public headers is in the package, or public_functions.txt says why not."""
from __future__ import annotations

import fnmatch
import pathlib
import re

import kelvo

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[2]
FOLDERS = ("sdk", "files", "binary", "plugins")

NOISE = re.compile(r"//[^\n]*|^\s*#[^\n]*(?:\\\n[^\n]*)*", re.M)
ACCESS = re.compile(r"(public|private|protected):\s*")
HIDDEN = re.compile(r"(inline )?namespace (\S*::)?(detail|impl)\b")
OWNER = re.compile(r"(?:template ?<.*> )?(class|struct) (?:\[\[\w+\]\] )?(?:QV_EXPORT )?([\w:]+)")
INNER = re.compile(r"<[^<>]*>|\[\[\w+\]\]|requires\([^()]*\)")
NOT_PLAIN = re.compile(r"operator|= delete|static_assert|friend ")


class Header:
    """Finds the functions of a header that clients may call."""

    def __init__(self, text: str) -> None:
        self.functions: list[str] = []
        # The kinds of the open braces: the name of a class, "" for a namespace, None for others.
        self.scopes: list[str | None] = []
        self.is_public = [True]
        for statement, end in re.findall(r"([^{};]*)([{};])", NOISE.sub("", text)):
            self._take(" ".join(statement.split()), end)

    def _take(self, statement: str, end: str) -> None:
        while access := ACCESS.match(statement):
            self.is_public[-1] = access[1] == "public"
            statement = statement[access.end():]
        if end == "}":
            self.scopes.pop()
            self.is_public.pop()
        elif end == ";" or not self._open(statement):
            self._note(statement)
            if end == "{":
                self.scopes.append(None)
                self.is_public.append(False)

    def _open(self, statement: str) -> bool:
        """Opens a namespace or class; false for other statements."""
        owner = OWNER.match(statement)
        if not owner and not re.match(r"(inline )?namespace\b", statement):
            return False
        self.scopes.append(owner[2] if owner else "")
        self.is_public.append(not HIDDEN.match(statement) and (not owner or owner[1] == "struct"))
        return True

    def _note(self, statement: str) -> None:
        if not all(self.is_public) or NOT_PLAIN.search(statement):
            return
        while (plain := INNER.sub("", statement)) != statement:
            statement = plain
        called = re.match(r"[^=(]*?(~?\w+) ?\((?!\*)", statement)
        owners = "::".join(scope for scope in self.scopes if scope).split("::")
        if called and called[1].lstrip("~") != owners[-1]:
            self.functions.append("::".join([*filter(None, owners), called[1]]))


def public_functions() -> set[str]:
    return {function for folder in FOLDERS for file in (ROOT / "kelvo" / folder).glob("*.h")
            for function in Header(file.read_text()).functions}


def table() -> dict[str, str]:
    lines = (HERE / "public_functions.txt").read_text().splitlines()
    rows = [line.split(None, 1) for line in lines if line and not line.startswith("#")]
    return {pattern: place for pattern, place in rows}


def is_there(path: str) -> bool:
    place: object = kelvo
    for name in path.split("."):
        if not hasattr(place, name):
            return False
        place = getattr(place, name)
    return True


def name_in_python(function: str) -> str:
    *owners, name = function.split("::")
    return ".".join([*owners, re.sub(r"(?<!^)(?=[A-Z])", "_", name).lower()])


def test_the_functions_of_a_header_are_found() -> None:
    header = Header("""
        #define IGNORED(x) f(x)
        namespace qv { struct Options { u32 threads = 0; std::function<String(int)> of = {};
            int (*call)(); };
        class QV_EXPORT Node : public Base<int()> { int hidden();
        public: explicit Node(int a) : m_a(a) {} ~Node();
            [[nodiscard]] bool isThere() const { return call(); }
            template<typename T> T get(T fallback = T()) const; Node& operator=(Node) = delete;
        private: int alsoHidden(); };
        namespace detail { void inside(); }
        inline Node make(u32 a = number(1)) { return Node(a); } }""")
    assert header.functions == ["Node::isThere", "Node::get", "make"]
    assert len(public_functions()) > 300


def test_every_public_function_has_a_place() -> None:
    patterns = table()
    lost = [function for function in sorted(public_functions())
            if not any(fnmatch.fnmatchcase(function, pattern) for pattern in patterns)
            and not is_there(name_in_python(function))]
    assert lost == []


def test_every_place_is_there_and_needed() -> None:
    functions = public_functions()
    for pattern, place in table().items():
        assert place.startswith("- ") or is_there(place), place
        meant = fnmatch.filter(functions, pattern)
        assert meant, pattern
        assert not all(is_there(name_in_python(function)) for function in meant), pattern
