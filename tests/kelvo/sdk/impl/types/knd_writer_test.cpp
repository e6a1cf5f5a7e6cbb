#include "kelvo/sdk/impl/types/knd_writer.h"

#include "tests/support/library_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::libraryOf;
using tests::rewrittenLibrary;

// ---- Texts that are written as they were read --------------------------------------------------

struct SameCase {
    const char* name;
    const char* text;
};

void PrintTo(const SameCase& same, std::ostream* out) {
    *out << same.name;
}

class KndWriterSame : public testing::TestWithParam<SameCase> {};

TEST_P(KndWriterSame, ReadAndWritten_GivesTheSameBytes) {
    EXPECT_EQ(rewrittenLibrary(GetParam().text), GetParam().text);
}

const SameCase kSame[] = {
    {"nothing", "kelvo types 1\n"},
    {"a bare type", "kelvo types 1\n\ntype a {\n}\n"},
    {"types close to each other", "kelvo types 1\n\ntype a {\n}\ntype b {\n}\n"},
    {"types apart", "kelvo types 1\n\ntype a {\n}\n\ntype b {\n}\n"},
    {"bases and flags",
     "kelvo types 1\n\ntype a @abstract @internal {\n}\ntype b : a {\n}\ntype c : b, a {\n}\n"},
    {"a base behind", "kelvo types 1\n\ntype b : a {\n}\ntype a {\n}\n"},
    {"labels and helps",
     "kelvo types 1\n\ntype a {\n    label \"en\" \"A\"\n    label \"de\" \"Ä \\\"x\\\"\"\n"
     "    help \"en\" \"Helps.\"\n}\n"},
    {"a long help", "kelvo types 1\n\ntype a {\n    help \"en\" \"\"\"\n        One.\n\n          "
                    "Two.\n    \"\"\"\n"
                    "}\n"},
    {"an icon",
     "kelvo types 1\n\ntype a {\n    icon \"\"\"\n        <svg>\n            <g/>\n        </svg>\n"
     "    \"\"\"\n}\n"},
    {"an icon on a line", "kelvo types 1\n\ntype a {\n    icon \"<svg/>\"\n}\n"},
    {"a text with its mark inside",
     "kelvo types 1\n\ntype a {\n    help \"en\" \"a\\n\\\"\\\"\\\"\\nb\"\n}\n"},
    {"a text that is indented", "kelvo types 1\n\ntype a {\n    help \"en\" \"  a\\n  b\"\n}\n"},
    {"values",
     "kelvo types 1\n\ntype a {\n    Bool b = true\n    Real r = 0.1 @min 0 @max 1 @unit \"m\"\n"
     "    Vec3 v = (1 2 3)\n    Mat3 m = (1 0 0  0 1 0  0 0 1)\n    String s = \"x\" @choices "
     "[\"x\", "
     "\"y\"]\n    Buffer<Pos3f> p = [(1 2 3)] @type Pos3f\n    Node n = null\n}\n"},
    {"another default", "kelvo types 1\n\ntype a {\n    Real r = 1 @default 2\n}\n"},
    {"flags of inputs",
     "kelvo types 1\n\ntype a {\n    Real r = 1 @silent @readonly\n    Real s = 5 @unchecked @max "
     "3\n}\n"},
    {"arrays and objects", "kelvo types 1\n\ntype a {\n    Array<Real> r = [1, 2]\n    "
                           "Array<Object> o = [{\n        Real x "
                           "= 1\n    }]\n    Object s {\n        Bool on = true @label \"en\" "
                           "\"On\"\n        Object t {\n"
                           "        }\n    }\n}\n"},
    {"outputs", "kelvo types 1\n\ntype a {\n    output Real r\n    output Buffer<Pos3f> p\n}\n"},
    {"pages",
     "kelvo types 1\n\ntype a {\n    Real x = 0\n    Real y = 0\n    Real z = 0\n    page \"P\" {\n"
     "        x\n        group \"G\" @label \"de\" \"H\" { y, z }\n    }\n    page \"Q\" @label "
     "\"de\" "
     "\"R\" {\n        group \"E\" {}\n    }\n    page \"R\" {\n    }\n}\n"},
    {"comments",
     "# Top.\nkelvo types 1 # one\n\n# Before.\ntype a { # open\n    # Label.\n    label \"en\" "
     "\"A\" # "
     "l\n    # Icon.\n    icon \"x\" # i\n    # Input.\n    Real x = 0 # x\n    Object o { # o\n"
     "        # Member.\n        Real m = 1\n        # Inner.\n    }\n    # Output.\n    output "
     "Real y # "
     "y\n    # Page.\n    page \"P\" {\n        x\n    } # p\n    # End.\n} # done\n# Last.\n"},
};
INSTANTIATE_TEST_SUITE_P(Table, KndWriterSame, testing::ValuesIn(kSame));

// ---- Texts that the writer puts in order -------------------------------------------------------

struct OrderCase {
    const char* lines;
    const char* written;
};

class KndWriterOrder : public testing::TestWithParam<OrderCase> {};

TEST_P(KndWriterOrder, ReadAndWritten_GivesTheUsualForm) {
    const std::string expected =
        std::string("kelvo types 1\n\ntype a {\n") + GetParam().written + "}\n";
    EXPECT_EQ(rewrittenLibrary(std::string("type a {\n") + GetParam().lines + "}"), expected);
    EXPECT_EQ(rewrittenLibrary(expected), expected);
}

const OrderCase kOrders[] = {
    {"Real x\n", "    Real x = 0\n"},
    {"Real x @default 3\n", "    Real x = 3\n"},
    {"Real x = 3 @default 3 @min 1\n", "    Real x = 3 @min 1\n"},
    {"output Real y\nReal x = 1\nlabel \"en\" \"A\"\n",
     "    label \"en\" \"A\"\n    Real x = 1\n    output Real y\n"},
    {"page \"P\" { group \"G\" { x } }\nReal x\n",
     "    Real x = 0\n    page \"P\" {\n        group \"G\" { x }\n    }\n"},
    {"Real x\npage \"P\" { # a\n x # b\n }\n",
     "    Real x = 0\n    # a\n    # b\n    page \"P\" {\n        x\n    }\n"},
    {"help \"en\" \"\"\"short\"\"\"\n", "    help \"en\" \"short\"\n"},
    {"help \"en\" \"a\\nb\"\n", "    help \"en\" \"\"\"\n        a\n        b\n    \"\"\"\n"},
    {"icon \"\"\"\n\t<svg>\n\t\t<g/>\n\t</svg>\n\t\"\"\"\n",
     "    icon \"\"\"\n        <svg>\n        \t<g/>\n        </svg>\n    \"\"\"\n"},
    {"icon \"\"\"\"\"\"\n", "    icon \"\"\n"},
};
INSTANTIATE_TEST_SUITE_P(Table, KndWriterOrder, testing::ValuesIn(kOrders));

TEST(KndWriter, SeveralTexts_AreWrittenOneBehindTheOther) {
    const tests::Library library = libraryOf("# One.\nkelvo types 1\n\ntype a {\n}\n");
    EXPECT_EQ(tests::libraryErrors("# Two.\nkelvo types 1\n\ntype b : a {\n}\n", library), "");
    EXPECT_STREQ(library->definitionText().buf(),
                 "# One.\n# Two.\nkelvo types 1\n\ntype a {\n}\ntype b : a {\n}\n");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
