#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Evaluation;
using tests::StandardNode;

class StandardNoise : public testing::TestWithParam<Evaluation> {};

TEST_P(StandardNoise, Result_IsTheSameOnEveryMachine) {
    EXPECT_EQ(GetParam().answer(), GetParam().expected) << GetParam();
}

// The numbers were computed by a second implementation, in another language.
const Evaluation kBits[] = {
    {"noise", "position = (0.5 0.5 0.5)", "0.375", ""},
    {"noise", "position = (0.25 0.75 0.125)", "0.09467262172256596", ""},
    {"noise", "position = (-1.3 2.7 100.1)", "0.4086814505554162", "below zero"},
    {"noise", "position = (-1.3 2.7 100.1); seed = 7", "-0.08233210757291941", ""},
    {"noise", "position = (-1.3 2.7 100.1); seed = -1", "0.20428353951083317", ""},
    {"noise", "position = (0.1 0.2 0.3); octaves = 4", "0.039869149336535084", ""},
    {"noise", "position = (0.1 0.2 0.3); octaves = 16; roughness = 1", "0.10953965300492084", ""},
    {"noise", "position = (0.1 0.2 0.3); frequency = 12.5", "0.1973576545715332", ""},
    {"noise", "position = (1000000000.3 -1000000000.7 0.5)", "0.1968329912871734", "far out"},
};
INSTANTIATE_TEST_SUITE_P(Bits, StandardNoise, testing::ValuesIn(kBits));

const Evaluation kStated[] = {
    {"noise", "position = (3 -5 7)", "0", "whole numbers"},
    {"noise", "position = (nan 0.5 0.5)", "0", "no number"},
    {"noise", "position = (0.5 inf 0.5)", "0", "infinite"},
    {"noise", "position = (1e300 0.5 0.5); octaves = 16", "0", "too far out"},
    {"noise", "position = (0.5 0.5 0.5); frequency = 0", "0", "no frequency"},
    {"noise", "position = (0.5 0.5 0.5); octaves = 0", "0.375", "at least one"},
    {"noise", "position = (0.1 0.2 0.3); octaves = 1000; roughness = 9", "0.10953965300492084",
     "the nearer ends"},
    {"noise", "position = (0.5 0.5 0.5); octaves = 5; roughness = -1", "0.375",
     "the first octave alone"},
};
INSTANTIATE_TEST_SUITE_P(Stated, StandardNoise, testing::ValuesIn(kStated));

double noiseAt(const StandardNode& noise, double x) {
    double value = 0.0;
    Node reader(nullptr, "reader", "reader");
    IInput* input = reader.createInput("in", AttrType::Real);
    EXPECT_TRUE(noise.get()->input("position")->setPos3({{x, 0.37, 0.81}}));
    EXPECT_TRUE(input->connect(noise.get()->output("result")));
    EXPECT_TRUE(input->readReal(value, true, nullptr));
    return value;
}

TEST(StandardNoiseField, Steps_AreSmall) {
    const StandardNode noise("noise");
    double before = noiseAt(noise, -5.0);
    for (int i = 1; i <= 10000; ++i) {
        const double next = noiseAt(noise, -5.0 + i / 1000.0);
        ASSERT_LT(std::fabs(next - before), 0.005) << i;
        before = next;
    }
}

TEST(StandardNoiseField, Values_SpreadOverTheRange) {
    const StandardNode noise("noise");
    double least = 0.0, most = 0.0;
    for (int i = 0; i < 5000; ++i) {
        const double value = noiseAt(noise, i * 0.73);
        least = std::min(least, value);
        most = std::max(most, value);
    }
    EXPECT_LT(least, -0.5);
    EXPECT_GE(least, -1.0);
    EXPECT_GT(most, 0.5);
    EXPECT_LE(most, 1.0);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
