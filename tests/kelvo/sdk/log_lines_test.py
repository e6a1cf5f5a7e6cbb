"""Every line that the library logs is one complete sentence that names its subject."""
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
FLOORS = ("kelvo/base", "kelvo/sdk", "kelvo/files")
CALL = re.compile(r'log(?:Error|Warning)\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)')
# Sentences for the log and for results.
FORMAT = re.compile(r'String::format\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)')
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')

# These calls log a whole diagnostic, which names its place.
PASSED_ON = "%s"
# These messages are about the process or a whole edit, which has no name.
NAMELESS = ("An edit ", "Observers were not told of an edit", "The observers of a scene come to no",
            "An observer threw when it was told of an edit")


def lines():
    """Yields the place and the text of every log call with a literal text."""
    for floor in FLOORS:
        for source in sorted((ROOT / floor).rglob("*")):
            if source.suffix not in (".cpp", ".h"):
                continue
            text = source.read_text()
            for call in CALL.finditer(text):
                words = "".join(LITERAL.findall(call.group(1)))
                line = text.count("\n", 0, call.start()) + 1
                yield f"{source.relative_to(ROOT)}:{line}", words


def fault(words):
    """Returns the faults of a text; empty if there are none."""
    if words == PASSED_ON:
        return ""
    if "\\n" in words or "\\r" in words:
        return "is more than a line"
    if not words[0].isupper():
        return "begins with no capital letter"
    # The reason of a refusal ends with its own full stop.
    if not words.endswith(".") and not words.endswith("the value %s"):
        return "has no full stop"
    if len(words.split()) < 3:
        return "is no sentence"
    if "  " in words:
        return "has two blanks"
    if "%" not in words and not words.startswith(NAMELESS):
        return "names nothing"
    return ""


class LogLines(unittest.TestCase):
    def test_each_is_one_sentence_that_names_its_subject(self):
        found = list(lines())
        self.assertGreater(len(found), 45)
        wrong = [f"{place}: \"{words}\" {fault(words)}" for place, words in found if fault(words)]
        self.assertEqual(wrong, [])

    def test_each_refusal_is_one_sentence_that_names_its_subject(self):
        text = (ROOT / "kelvo/sdk/impl/graph/refusals.cpp").read_text()
        found = ["".join(LITERAL.findall(call.group(1))) for call in FORMAT.finditer(text)]
        self.assertGreater(len(found), 5)
        self.assertEqual([words for words in found if fault(words)], [])

    def test_each_call_has_a_text_of_its_own(self):
        calls = sum(len(re.findall(r"\blog(?:Error|Warning)\((?!const char)", source.read_text()))
                    for floor in FLOORS for source in (ROOT / floor).rglob("*.cpp"))
        self.assertEqual(calls, sum(1 for place, _ in lines() if ".cpp:" in place))

    def test_faults_are_found(self):
        for words, expected in (("Cannot set '%s'.", ""), ("cannot set '%s'.", "capital"),
                                ("Cannot set '%s'", "full stop"), ("Cannot\\nset '%s'.", "a line"),
                                ("Gone: '%s'.", "no sentence"), ("Cannot set it now.", "nothing"),
                                ("An edit cannot be undone: no memory.", "")):
            self.assertIn(expected, fault(words), words)
            self.assertEqual(bool(expected), bool(fault(words)), words)


if __name__ == "__main__":
    unittest.main()
