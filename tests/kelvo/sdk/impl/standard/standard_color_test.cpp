#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Evaluation;
using tests::StandardNode;

class StandardColor : public testing::TestWithParam<Evaluation> {};

TEST_P(StandardColor, Answer_IsExact) {
    EXPECT_EQ(GetParam().answer(), GetParam().expected) << GetParam();
}

const Evaluation kMixed[] = {
    {"mixColor", "", "(0.5 0.5 0.5 1)", "half black, half white"},
    {"mixColor", "a = (1 0 0 0); b = (0 1 0 1); amount = 0.25", "(0.75 0.25 0 0.25)", ""},
    {"mixColor", "a = (0.5 0 0 1); b = (0.25 1 0 1); amount = 1; mode = add", "(0.75 1 0 1)", ""},
    {"mixColor", "a = (0.5 0 1 1); b = (0.5 1 1 0); amount = 1; mode = multiply", "(0.25 0 1 0)",
     "opacity is mixed"},
    {"mixColor", "a = (0.5 0 1 1); b = (0.5 0.5 0 1); amount = 1; mode = screen", "(0.75 0.5 1 1)",
     ""},
    {"mixColor", "a = (0.5 0 1 1); b = (0.5 1 0 1); amount = 0; mode = multiply", "(0.5 0 1 1)",
     "a alone"},
    {"gamma", "color = (0.25 1 0 0.5); gamma = 2", "(0.5 1 0 0.5)", "opacity stays"},
    {"gamma", "color = (0.5 0.5 0.5 1); gamma = 0.5", "(0.25 0.25 0.25 1)", "darkens"},
    {"gamma", "color = (-1 0.5 2 1); gamma = 1", "(0 0.5 2 1)", "negative channels"},
    {"gamma", "color = (0.5 -1 2 1); gamma = 0", "(0.5 -1 2 1)", "changes nothing"},
    {"gamma", "color = (0.5 -1 2 1); gamma = nan", "(0.5 -1 2 1)", "changes nothing"},
    {"luminance", "", "0", "black"},
    {"luminance", "color = (1 0 0 1)", "0.2126", ""},
    {"luminance", "color = (0 1 0 1)", "0.7152", ""},
    {"luminance", "color = (0 0 1 0)", "0.0722", "without regard to opacity"},
};
INSTANTIATE_TEST_SUITE_P(Mixed, StandardColor, testing::ValuesIn(kMixed));

const Evaluation kFromHsv[] = {
    {"hsvToRgb", "", "(1 0 0 1)", "red"},
    {"hsvToRgb", "hue = 0.25", "(0.5 1 0 1)", "between yellow and green"},
    {"hsvToRgb", "hue = 0.5", "(0 1 1 1)", "cyan"},
    {"hsvToRgb", "hue = 0.75", "(0.5 0 1 1)", "between blue and magenta"},
    {"hsvToRgb", "hue = -0.25", "(0.5 0 1 1)", "goes round"},
    {"hsvToRgb", "hue = 7.5", "(0 1 1 1)", "goes round"},
    {"hsvToRgb", "hue = -1e-20", "(1 0 0 1)", "rounds to a whole turn"},
    {"hsvToRgb", "hue = inf", "(1 0 0 1)", "counts as 0"},
    {"hsvToRgb", "saturation = 0; brightness = 0.5", "(0.5 0.5 0.5 1)", "grey"},
    {"hsvToRgb", "saturation = 0.5; brightness = 4; alpha = 0.25", "(4 2 2 0.25)", "bright"},
    {"hsvToRgb", "saturation = 2", "(1 0 0 1)", "the nearer end"},
    {"hsvToRgb", "saturation = -2", "(1 1 1 1)", "the nearer end"},
};
INSTANTIATE_TEST_SUITE_P(FromHsv, StandardColor, testing::ValuesIn(kFromHsv));

const Evaluation kToHsv[] = {
    {"rgbToHsv", "color = (1 0 0 1)", "0", "red", "hue"},
    {"rgbToHsv", "color = (0 1 1 1)", "0.5", "cyan", "hue"},
    {"rgbToHsv", "color = (0.5 1 0 1)", "0.25", "", "hue"},
    {"rgbToHsv", "color = (0.5 0 1 1)", "0.75", "", "hue"},
    {"rgbToHsv", "color = (3 3 3 1)", "0", "grey", "hue"},
    {"rgbToHsv", "color = (1 0 1e-20 1)", "0", "rounds to a whole turn", "hue"},
    {"rgbToHsv", "color = (4 2 2 1)", "0.5", "", "saturation"},
    {"rgbToHsv", "", "0", "black", "saturation"},
    {"rgbToHsv", "color = (4 2 2 1)", "4", "", "brightness"},
    {"rgbToHsv", "color = (0.5 -3 0 1)", "1", "negative channels", "saturation"},
    {"rgbToHsv", "color = (0.5 -3 0 1)", "0.5", "negative channels", "brightness"},
    {"rgbToHsv", "color = (0.5 0 0 0.25)", "0.25", "", "alpha"},
};
INSTANTIATE_TEST_SUITE_P(ToHsv, StandardColor, testing::ValuesIn(kToHsv));

double number(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

// Converting the hue of each colour of a wheel to RGB and back gives the hue again.
TEST(StandardColors, HueOfHsv_IsTheHue) {
    const StandardNode wheel("hsvToRgb"), back("rgbToHsv");
    ASSERT_TRUE(back.get()->input("color")->connect(wheel.get()->output("result")));
    for (int i = 0; i < 360; ++i) {
        ASSERT_TRUE(wheel.get()->input("hue")->setReal(i / 360.0));
        EXPECT_NEAR(number(back.answer("hue")), i / 360.0, 1e-15) << i;
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
