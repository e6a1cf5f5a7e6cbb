#include "kelvo/sdk/eval_ctx.h"
#include "tests/support/log_capture.h"
#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Evaluation;
using tests::StandardNode;

class StandardArithmetic : public testing::TestWithParam<Evaluation> {};

TEST_P(StandardArithmetic, Result_IsExact) {
    EXPECT_EQ(GetParam().answer(), GetParam().expected) << GetParam();
}

const Evaluation kSums[] = {
    {"add", "a = 1.5; b = 2", "3.5", ""},
    {"add", "a = 1e308; b = 1e308", "inf", "too large"},
    {"subtract", "a = 1; b = 3", "-2", ""},
    {"multiply", "a = -1.5; b = 2", "-3", ""},
    {"multiply", "a = 3", "3", "b is 1 at first"},
    {"minimum", "a = 1; b = -2", "-2", ""},
    {"minimum", "a = nan; b = 2", "2", "no number gives way"},
    {"minimum", "a = 2; b = nan", "2", "no number gives way"},
    {"maximum", "a = 1; b = -2", "1", ""},
    {"maximum", "a = nan; b = 2", "2", "no number gives way"},
    {"maximum", "a = 2; b = nan", "2", "no number gives way"},
    {"maximum", "a = -inf; b = inf", "inf", ""},
    {"absolute", "value = -2.5", "2.5", ""},
    {"absolute", "value = -0", "0", "sign of zero"},
};
INSTANTIATE_TEST_SUITE_P(Sums, StandardArithmetic, testing::ValuesIn(kSums));

const Evaluation kQuotients[] = {
    {"divide", "a = 1; b = 4", "0.25", ""},
    {"divide", "a = 1; b = 0", "0", "by zero"},
    {"divide", "a = 1; b = -0; otherwise = 7", "7", "by zero below"},
    {"divide", "a = 0; b = 0; otherwise = nan", "nan", "what is wished"},
    {"divide", "a = 1; b = inf; otherwise = 7", "0", ""},
    {"modulo", "a = 7; b = 3", "1", ""},
    {"modulo", "a = -7; b = 3", "2", "sign of the divisor"},
    {"modulo", "a = 7; b = -3", "-2", "sign of the divisor"},
    {"modulo", "a = -6; b = 3", "0", "no rest"},
    {"modulo", "a = nan; b = 3; otherwise = 5", "5", "no number"},
    {"modulo", "a = 7; b = 0; otherwise = 5", "5", "by zero"},
    {"modulo", "a = inf; b = 3; otherwise = 5", "5", "infinite"},
    {"modulo", "a = 7; b = inf; otherwise = 5", "5", "infinite"},
    {"power", "a = 2; b = 10", "1024", ""},
    {"power", "a = -2; b = 3", "-8", "whole exponent"},
    {"power", "a = 0; b = 0", "1", ""},
    {"power", "a = 0; b = -1; otherwise = 7", "7", "pole"},
    {"power", "a = -1; b = 0.5; otherwise = 7", "7", "no real number"},
};
INSTANTIATE_TEST_SUITE_P(Quotients, StandardArithmetic, testing::ValuesIn(kQuotients));

const Evaluation kRounded[] = {
    {"round", "value = 2.5", "3", "halves away from zero"},
    {"round", "value = -2.5", "-3", "halves away from zero"},
    {"round", "value = 2.4", "2", ""},
    {"round", "value = -2.5; mode = down", "-3", ""},
    {"round", "value = 2.1; mode = up", "3", ""},
    {"round", "value = -2.9; mode = zero", "-2", ""},
    {"round", "value = inf", "inf", ""},
    {"trigonometry", "value = 0", "0", "sine is the default"},
    {"trigonometry", "value = 0; mode = cos", "1", ""},
    {"trigonometry", "value = 0; mode = tan", "0", ""},
    {"trigonometry", "value = 1; mode = acos", "0", ""},
    {"trigonometry", "value = 2; mode = acos", "0", "the nearer end"},
};
INSTANTIATE_TEST_SUITE_P(Rounded, StandardArithmetic, testing::ValuesIn(kRounded));

class StandardFunctions : public testing::TestWithParam<Evaluation> {};

// Compares with a tolerance, because functions of C libraries differ in the last bits.
TEST_P(StandardFunctions, Result_IsTheFunction) {
    const std::string answer = GetParam().answer();
    char* end = nullptr;
    EXPECT_NEAR(std::strtod(answer.c_str(), &end), std::strtod(GetParam().expected, nullptr), 1e-14)
        << GetParam();
    EXPECT_NE(end, answer.c_str()) << answer;
}

const Evaluation kFunctions[] = {
    {"power", "a = 2; b = 0.5", "1.4142135623730951", "root"},
    {"trigonometry", "value = 0.5", "0.479425538604203", "sine"},
    {"trigonometry", "value = 0.5; mode = cos", "0.8775825618903728", ""},
    {"trigonometry", "value = 0.5; mode = tan", "0.5463024898437905", ""},
    {"trigonometry", "value = 0.5; mode = asin", "0.5235987755982989", ""},
    {"trigonometry", "value = -3; mode = asin", "-1.5707963267948966", "the nearer end"},
    {"trigonometry", "value = 0.5; mode = acos", "1.0471975511965979", ""},
    {"trigonometry", "value = 1; mode = atan", "0.7853981633974483", ""},
};
INSTANTIATE_TEST_SUITE_P(Table, StandardFunctions, testing::ValuesIn(kFunctions));

TEST(StandardEval, UnknownChoice_IsNamed) {
    const tests::LogCapture log;
    const StandardNode node("round");
    ASSERT_TRUE(node.set("mode = sideways"));
    EXPECT_EQ(node.answer(), "no answer");
    EXPECT_EQ(log.text(), "error: Cannot evaluate 'node.result': input 'mode' knows no "
                          "'sideways'.\n");
}

TEST(StandardEval, MissingInput_IsNamed) {
    const tests::LogCapture log;
    const StandardNode node("add");
    ASSERT_TRUE(node.get()->removeInput("b"));
    EXPECT_EQ(node.answer(), "no answer");
    EXPECT_NE(log.text().find("'b'"), std::string::npos) << log.text();
}

TEST(StandardEval, OutputOfAnotherKind_GetsNoAnswer) {
    const StandardNode node("boolValue");
    ASSERT_TRUE(node.get()->clearOutputs());
    node.get()->createOutput("result", AttrType::Mat4);
    EXPECT_EQ(node.answer(), "no answer");
}

TEST(StandardEval, AddedOutput_GetsNoAnswer) {
    const StandardNode node("add");
    node.get()->createOutput("other", AttrType::Real);
    EXPECT_EQ(node.answer("other"), "no answer");
    EXPECT_EQ(node.answer(), "0");
}

TEST(StandardEval, EmptyContext_GetsNoAnswer) {
    const StandardNode node("add");
    double out = 5.0;
    EvalCtx empty;
    EXPECT_FALSE(node.get()->nodeEval(nullptr, &out));
    EXPECT_FALSE(node.get()->nodeEval(&empty, &out));
    EXPECT_EQ(out, 5.0);
}

TEST(StandardEval, Otherwise_IsReadOnlyWhenNeeded) {
    const StandardNode node("divide");
    ASSERT_TRUE(node.set("a = 1; b = 2"));
    ASSERT_TRUE(node.get()->removeInput("otherwise"));
    EXPECT_EQ(node.answer(), "0.5");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
