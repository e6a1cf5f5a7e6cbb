#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Evaluation;

class StandardVectors : public testing::TestWithParam<Evaluation> {};

TEST_P(StandardVectors, Answer_IsExact) {
    EXPECT_EQ(GetParam().answer(), GetParam().expected) << GetParam();
}

const Evaluation kProducts[] = {
    {"dot", "a = (1 2 3); b = (4 5 6)", "32", ""},
    {"dot", "a = (1 0 0); b = (0 1 0)", "0", "right angle"},
    {"cross", "a = (1 0 0); b = (0 1 0)", "(0 0 1)", "right-handed"},
    {"cross", "a = (0 1 0); b = (1 0 0)", "(0 0 -1)", "order counts"},
    {"cross", "a = (2 4 6); b = (1 2 3)", "(0 0 0)", "parallel"},
    {"length", "value = (2 3 6)", "7", ""},
    {"length", "", "0", ""},
    {"length", "value = (0 -1e200 0)", "1e+200", "no overflow on the way"},
    {"length", "value = (-inf 1 nan)", "inf", ""},
    {"normalize", "value = (0 0 -5)", "(0 0 -1)", ""},
    {"normalize", "value = (3 0 4)", "(0.6 0 0.8)", ""},
    {"normalize", "value = (0 0 0)", "(0 0 0)", "no direction"},
    {"normalize", "value = (0 5e-324 0)", "(0 1 0)", "tiny"},
    {"normalize", "value = (1e308 0 0)", "(1 0 0)", "huge"},
    {"normalize", "value = (inf 0 0)", "(0 0 0)", "not finite"},
    {"normalize", "value = (1 nan 0)", "(0 0 0)", "not finite"},
};
INSTANTIATE_TEST_SUITE_P(Products, StandardVectors, testing::ValuesIn(kProducts));

const Evaluation kComposed[] = {
    {"composeVec2", "x = 1; y = 2", "(1 2)", ""},
    {"composeVec3", "x = 1; y = 2; z = 3", "(1 2 3)", ""},
    {"composeVec4", "x = 1; y = 2; z = 3; w = 4", "(1 2 3 4)", ""},
    {"composePos3", "x = 1; y = 2; z = 3", "(1 2 3)", ""},
    {"composeRgba", "r = 0.1; g = 0.2; b = 0.3", "(0.1 0.2 0.3 1)", "opaque at first"},
    {"composeRgba", "a = 0.5", "(0 0 0 0.5)", ""},
};
INSTANTIATE_TEST_SUITE_P(Composed, StandardVectors, testing::ValuesIn(kComposed));

const Evaluation kSplit[] = {
    {"splitVec2", "value = (1 2)", "1", "", "x"},
    {"splitVec2", "value = (1 2)", "2", "", "y"},
    {"splitVec3", "value = (1 2 3)", "1", "", "x"},
    {"splitVec3", "value = (1 2 3)", "2", "", "y"},
    {"splitVec3", "value = (1 2 3)", "3", "", "z"},
    {"splitVec4", "value = (1 2 3 4)", "1", "", "x"},
    {"splitVec4", "value = (1 2 3 4)", "2", "", "y"},
    {"splitVec4", "value = (1 2 3 4)", "3", "", "z"},
    {"splitVec4", "value = (1 2 3 4)", "4", "", "w"},
    {"splitPos3", "value = (1 2 3)", "1", "", "x"},
    {"splitPos3", "value = (1 2 3)", "2", "", "y"},
    {"splitPos3", "value = (1 2 3)", "3", "", "z"},
    {"splitRgba", "value = (0.1 0.2 0.3 0.4)", "0.1", "", "r"},
    {"splitRgba", "value = (0.1 0.2 0.3 0.4)", "0.2", "", "g"},
    {"splitRgba", "value = (0.1 0.2 0.3 0.4)", "0.3", "", "b"},
    {"splitRgba", "value = (0.1 0.2 0.3 0.4)", "0.4", "", "a"},
    {"splitVec2", "value = (1 2)", "no output", "two parts only", "z"},
};
INSTANTIATE_TEST_SUITE_P(Split, StandardVectors, testing::ValuesIn(kSplit));

TEST(StandardVector, AddedOutputOfSplit_GetsNoAnswer) {
    const tests::StandardNode node("splitVec2");
    node.get()->createOutput("z", AttrType::Real);
    EXPECT_EQ(node.answer("z"), "no answer");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
