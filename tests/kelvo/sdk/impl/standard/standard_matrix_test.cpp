#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Evaluation;
using tests::StandardNode;

class StandardMatrix : public testing::TestWithParam<Evaluation> {};

TEST_P(StandardMatrix, Result_IsExact) {
    EXPECT_EQ(GetParam().answer(), GetParam().expected) << GetParam();
}

const Evaluation kExact[] = {
    {"composeMatrix", "", "(1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)", "identity"},
    {"composeMatrix", "translate = (1 2 3)", "(1 0 0 0  0 1 0 0  0 0 1 0  1 2 3 1)", "last row"},
    {"composeMatrix", "translate = (1 2 3); scale = (2 3 4)",
     "(2 0 0 0  0 3 0 0  0 0 4 0  1 2 3 1)", "scaled before it is moved"},
    {"multiplyMatrices", "", "(1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)", "identity"},
    {"multiplyMatrices",
     "a = (2 0 0 0 0 2 0 0 0 0 2 0 0 0 0 1); b = (1 0 0 0 0 1 0 0 0 0 1 0 1 2 3 1)",
     "(2 0 0 0  0 2 0 0  0 0 2 0  1 2 3 1)", "a first"},
    {"multiplyMatrices",
     "b = (2 0 0 0 0 2 0 0 0 0 2 0 0 0 0 1); a = (1 0 0 0 0 1 0 0 0 0 1 0 1 2 3 1)",
     "(2 0 0 0  0 2 0 0  0 0 2 0  2 4 6 1)", "a first"},
    {"transformPosition", "position = (1 2 3)", "(1 2 3)", "identity"},
    {"transformPosition", "position = (1 1 1); matrix = (2 0 0 0 0 3 0 0 0 0 4 0 10 20 30 1)",
     "(12 23 34)", ""},
    {"transformPosition", "position = (1 0 0); matrix = (1 0 0 5 0 1 0 5 0 0 1 5 0 0 0 5)",
     "(1 0 0)", "the last column does not count"},
};
INSTANTIATE_TEST_SUITE_P(Exact, StandardMatrix, testing::ValuesIn(kExact));

struct Turn {
    const char* settings;
    const char* position;
    std::vector<double> expected;
    const char* note;
};

std::vector<double> numbers(const std::string& tuple) {
    std::vector<double> found;
    const char* at = tuple.c_str() + 1;
    for (char* end = nullptr; *at != '\0' && *at != ')'; at = end)
        found.push_back(std::strtod(at, &end));
    return found;
}

class StandardTurn : public testing::TestWithParam<Turn> {};

TEST_P(StandardTurn, Position_IsMoved) {
    const StandardNode matrix("composeMatrix"), moved("transformPosition");
    ASSERT_TRUE(matrix.set(GetParam().settings));
    ASSERT_TRUE(moved.get()->input("position")->setString(GetParam().position));
    ASSERT_TRUE(moved.get()->input("matrix")->connect(matrix.get()->output("result")));
    const std::vector<double> found = numbers(moved.answer());
    ASSERT_EQ(found.size(), 3u) << moved.answer();
    for (u64 i = 0; i < 3; ++i)
        EXPECT_NEAR(found[i], GetParam().expected[i], 1e-14) << GetParam().note;
}

const Turn kTurns[] = {
    {"rotate = (1.5707963267948966 0 0)", "(0 1 0)", {0, 0, 1}, "y to z about x"},
    {"rotate = (0 1.5707963267948966 0)", "(0 0 1)", {1, 0, 0}, "z to x about y"},
    {"rotate = (0 0 1.5707963267948966)", "(1 0 0)", {0, 1, 0}, "x to y about z"},
    {"rotate = (1.5707963267948966 0 1.5707963267948966)", "(0 1 0)", {0, 0, 1}, "x before z"},
    {"rotate = (1.5707963267948966 1.5707963267948966 0)", "(0 1 0)", {1, 0, 0}, "x before y"},
    {"rotate = (0 1.5707963267948966 1.5707963267948966)", "(0 0 1)", {0, 1, 0}, "y before z"},
    {"rotate = (0 0 1.5707963267948966); scale = (2 3 4)", "(1 0 0)", {0, 2, 0}, "scaled first"},
    {"rotate = (0 0 1.5707963267948966); translate = (5 0 0)", "(1 0 0)", {5, 1, 0}, "moved last"},
};
INSTANTIATE_TEST_SUITE_P(Table, StandardTurn, testing::ValuesIn(kTurns));

} // namespace
} // namespace qv::kelvo_sdk::impl
