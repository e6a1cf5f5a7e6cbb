#include "kelvo/sdk/impl/types/knd_checker.h"

#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/library_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Library;
using tests::libraryErrors;
using tests::libraryOf;

struct ErrorCase {
    const char* text;
    const char* errors;
};

class KndCheckerErrors : public testing::TestWithParam<ErrorCase> {};

TEST_P(KndCheckerErrors, Read_NamesEachThingAndItsPlaces) {
    const Library library = tests::emptyLibrary();
    EXPECT_EQ(libraryErrors(GetParam().text, library), GetParam().errors);
    EXPECT_EQ(library->typeCount(), 0u);
}

const ErrorCase kBases[] = {
    {"type lamp : lihgt {\n}\ntype light {\n}",
     "1:13: in 'lamp': Unknown base 'lihgt': did you mean 'light'?"},
    {"type lamp : Light {\n}\ntype light {\n}",
     "1:13: in 'lamp': Unknown base 'Light': did you mean 'light'?"},
    {"type a : zebra {\n}", "1:10: in 'a': Unknown base 'zebra'."},
    {"type a : b, b {\n}\ntype b {\n}", "1:13: in 'a': The base 'b' is named twice."},
    {"type a : a {\n}", "1:10: in 'a': The bases form a loop: a : a."},
    {"type a : b {\n}\ntype b : c {\n}\ntype c : b {\n}",
     "5:10: in 'c': The bases form a loop: b : c : b."},
    {"type a {\n}\ntype b {\n}\ntype a {\n}",
     "5:6: in 'a': The name 'a' is taken by the type in line 1."},
    {"type a {\n}\ntype A {\n}", "3:6: in 'A': The name 'A' is taken by the type in line 1."},
};
INSTANTIATE_TEST_SUITE_P(Bases, KndCheckerErrors, testing::ValuesIn(kBases));

const ErrorCase kAttributes[] = {
    {"type a {\n  Real x\n  Int X\n}", "3:7: in 'a': The type has an input 'X' already (line 2)."},
    {"type a {\n  output Real x\n  output Int x\n}",
     "3:14: in 'a': The type has an output 'x' already (line 2)."},
    {"type a {\n  Real x\n}\ntype b : a {\n  Real x\n}",
     "5:8: in 'b': The type has an input 'x' already from its base 'a' (line 2)."},
    {"type a {\n  output Real x\n}\ntype b : a {\n}\ntype c : b {\n  output Int X\n}",
     "7:14: in 'c': The type has an output 'X' already from its base 'a' (line 2)."},
    {"type a {\n  Real x\n}\ntype b {\n  Real x\n}\ntype c : a, b {\n}",
     "7:13: in 'c': The bases give two inputs 'x': that of 'a' (line 2) and that of 'b' (line 5)."},
    {"type a {\n  output Real x\n}\ntype b {\n  output Real x\n}\ntype c : a, b {\n}",
     "7:13: in 'c': The bases give two outputs 'x': that of 'a' (line 2) and that of 'b' (line "
     "5)."},
    {"type a {\n  Object o {\n    Real m\n    Real M\n  }\n}",
     "4:10: in 'a': The object has a member 'M' already."},
};
INSTANTIATE_TEST_SUITE_P(Attributes, KndCheckerErrors, testing::ValuesIn(kAttributes));

const ErrorCase kValues[] = {
    {"type a {\n  Node n = b\n}",
     "2:12: in 'a': Found 'b' where 'null' was expected: a definition knows no nodes."},
    {"type a {\n  Real x <- b.out\n}", "2:13: in 'a': A definition has no connections."},
    {"type a {\n  Real x = 1 @stashed 2\n}", "2:8: in 'a': A definition keeps no value aside."},
    {"type a {\n  Object o {\n    Real x = 1 @stashed 2\n  }\n}",
     "3:10: in 'a': A definition keeps no value aside."},
    {"type a {\n  Real x = 9 @max 3\n}", "2:12: in 'a': The value 9 is above the maximum 3."},
};
INSTANTIATE_TEST_SUITE_P(Values, KndCheckerErrors, testing::ValuesIn(kValues));

const ErrorCase kPages[] = {
    {"type a {\n  Real radius\n  page \"P\" { raduis }\n}",
     "3:14: in 'a': The type has no input 'raduis': did you mean 'radius'?"},
    {"type a {\n  output Real y\n  page \"P\" { y }\n}",
     "3:14: in 'a': The type has no input 'y'."},
    {"type a {\n  Real x\n  page \"P\" { x, X }\n}",
     "3:17: in 'a': The input 'X' is shown already."},
    {"type a {\n  Real x\n  page \"P\" { x }\n  page \"Q\" { group \"G\" { x } }\n}",
     "4:26: in 'a': The input 'x' is shown already."},
    {"type a {\n  page \"P\" {}\n  page \"P\" {}\n}",
     "3:8: in 'a': The type has a page 'P' already."},
    {"type a {\n  page \"P\" { group \"G\" {} group \"G\" {} }\n}",
     "2:33: in 'a': The page has a group 'G' already."},
};
INSTANTIATE_TEST_SUITE_P(Pages, KndCheckerErrors, testing::ValuesIn(kPages));

// ---- With other libraries ----------------------------------------------------------------------

TEST(KndChecker, TypeOfTheLibrary_IsDefinedOnce) {
    const Library library = libraryOf("\ntype a {\n}");
    EXPECT_EQ(libraryErrors("type A {\n}", library),
              "1:6: in 'A': The library has a type 'a' already (types.knd, line 2).");
    EXPECT_EQ(library->typeCount(), 1u);
}

TEST(KndChecker, BaseOfAnotherLibrary_ConflictNamesItsSource) {
    const Library bases = libraryOf("type a {\n  Real x\n}");
    EXPECT_EQ(
        libraryErrors("type b : a {\n  Real x\n}", tests::emptyLibrary(), bases),
        "2:8: in 'b': The type has an input 'x' already from its base 'a' (types.knd, line 2).");
}

TEST(KndChecker, BaseOfAnotherLibrary_NearNamesAreFound) {
    const Library bases = libraryOf("type light {\n}");
    EXPECT_EQ(libraryErrors("type b : lihgt {\n}", tests::emptyLibrary(), bases),
              "1:10: in 'b': Unknown base 'lihgt': did you mean 'light'?");
}

TEST(KndChecker, SameAttributeByTwoWays_IsNoConflict) {
    const Library library = libraryOf("type a {\n Real x\n output Real y\n}\ntype b : a {\n}\n"
                                      "type c : a {\n}\ntype d : b, c {\n}");
    EXPECT_EQ(library->findType("d")->inputCount(), 1u);
    EXPECT_EQ(library->findType("d")->outputCount(), 1u);
}

// ---- Bounds ------------------------------------------------------------------------------------

TEST(KndChecker, LongChainOfBases_IsAnError) {
    std::string text = "type t0 {\n}\n";
    for (int i = 1; i <= 101; ++i)
        text += "type t" + std::to_string(i) + " : t" + std::to_string(i - 1) + " {\n}\n";
    EXPECT_EQ(libraryErrors(text),
              "203:6: in 't101': The type has more than 100 bases, theirs included.");
}

TEST(KndChecker, InputsInheritedTooOften_IsAnError) {
    std::string text = "type b {\n";
    for (int i = 0; i < 1000; ++i)
        text += "Real i" + std::to_string(i) + "\n";
    text += "}\n";
    for (int i = 0; i < 1000; ++i)
        text += "type t" + std::to_string(i) + ":b{\n}\n";
    EXPECT_NE(libraryErrors(text).find("The types get more than 26"), std::string::npos);
}

TEST(KndChecker, BasesThatConflictThroughout_AreReportedOnceAndSoon) {
    std::string lines;
    for (int i = 0; i < 20'000; ++i)
        lines += "Real x" + std::to_string(i) + "\n";
    const std::string errors =
        libraryErrors("type a {\n" + lines + "}\ntype b {\n" + lines + "}\ntype c : a, b {\n}\n");
    EXPECT_EQ(errors, "40005:13: in 'c': The bases give two inputs 'x0': that of 'a' (line 2) and "
                      "that of 'b' (line 20004).");
}

TEST(KndChecker, PagesInheritedTooOften_IsAnError) {
    std::string text = "type a {\n";
    for (int i = 0; i < 3000; ++i)
        text += "page \"p" + std::to_string(i) + "\" {}\n";
    text += "}\n";
    for (int i = 0; i < 1000; ++i)
        text += "type b" + std::to_string(i) + " : a {\npage \"q\" {}\n}\n";
    const std::string errors = libraryErrors(text);
    EXPECT_NE(errors.find("attributes and groups from their bases"), std::string::npos) << errors;
    EXPECT_EQ(errors.find('\n'), std::string::npos) << errors;
}

TEST(KndChecker, TooManyTypes_IsAnError) {
    std::string text;
    for (int i = 0; i <= 10000; ++i)
        text += "type t" + std::to_string(i) + "{\n}\n";
    EXPECT_EQ(libraryErrors(text), "20001:5: There are more than 10000 types.");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
