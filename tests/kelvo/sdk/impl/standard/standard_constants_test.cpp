#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Evaluation;

class StandardConstants : public testing::TestWithParam<Evaluation> {};

TEST_P(StandardConstants, Result_IsTheValue) {
    EXPECT_EQ(GetParam().answer(), GetParam().expected) << GetParam();
}

const Evaluation kConstants[] = {
    {"boolValue", "", "false", "default"},
    {"boolValue", "value = true", "true", ""},
    {"intValue", "value = -9223372036854775808", "-9223372036854775808", "least"},
    {"uintValue", "value = 18446744073709551615", "18446744073709551615", "greatest"},
    {"realValue", "value = 0.1", "0.1", "same bits"},
    {"realValue", "value = -0", "-0", "sign of zero"},
    {"realValue", "value = nan", "nan", "no number"},
    {"vec2Value", "value = (1 2)", "(1 2)", ""},
    {"vec3Value", "value = (1 2 3)", "(1 2 3)", ""},
    {"vec4Value", "value = (1 2 3 4)", "(1 2 3 4)", ""},
    {"pos2Value", "value = (1 2)", "(1 2)", ""},
    {"pos3Value", "value = (1 2 3)", "(1 2 3)", ""},
    {"quatValue", "", "(0 0 0 1)", "no rotation"},
    {"quatValue", "value = (1 0 0 0)", "(1 0 0 0)", ""},
    {"rgbaValue", "", "(0 0 0 1)", "opaque black"},
    {"rgbaValue", "value = (0.1 0.2 0.3 0.4)", "(0.1 0.2 0.3 0.4)", ""},
    {"mat3Value", "", "(1 0 0  0 1 0  0 0 1)", "identity"},
    {"mat3Value", "value = (1 2 3 4 5 6 7 8 9)", "(1 2 3  4 5 6  7 8 9)", ""},
    {"mat4Value", "", "(1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)", "identity"},
    {"mat4Value", "value = (1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16)",
     "(1 2 3 4  5 6 7 8  9 10 11 12  13 14 15 16)", ""},
    {"stringValue", "value = a text", "a text", ""},
};
INSTANTIATE_TEST_SUITE_P(Table, StandardConstants, testing::ValuesIn(kConstants));

} // namespace
} // namespace qv::kelvo_sdk::impl
