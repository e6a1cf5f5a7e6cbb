#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Evaluation;

class StandardRange : public testing::TestWithParam<Evaluation> {};

TEST_P(StandardRange, Result_IsExact) {
    EXPECT_EQ(GetParam().answer(), GetParam().expected) << GetParam();
}

const Evaluation kMixed[] = {
    {"mix", "a = 2; b = 4", "3", "half of both"},
    {"mix", "a = 0.1; b = 0.3; amount = 0", "0.1", "a alone, bit for bit"},
    {"mix", "a = 0.1; b = 0.3; amount = 1", "0.3", "b alone, bit for bit"},
    {"mix", "a = 2; b = 4; amount = 2", "6", "beyond"},
    {"mix", "a = 2; b = 4; amount = -1", "0", "beyond"},
    {"clamp", "value = 0.5", "0.5", ""},
    {"clamp", "value = -1", "0", ""},
    {"clamp", "value = 5", "1", ""},
    {"clamp", "value = 5; min = 3; max = 2", "3", "bounds change places"},
    {"clamp", "value = 2.5; min = 3; max = 2", "2.5", "bounds change places"},
    {"clamp", "value = nan", "nan", "no number stays so"},
    {"clamp", "value = inf; max = 7", "7", ""},
};
INSTANTIATE_TEST_SUITE_P(Mixed, StandardRange, testing::ValuesIn(kMixed));

const Evaluation kMapped[] = {
    {"remap", "value = 5; fromMin = 0; fromMax = 10; toMin = 100; toMax = 200", "150", ""},
    {"remap", "value = 20; fromMax = 10", "2", "beyond"},
    {"remap", "value = 20; fromMax = 10; clamped = true", "1", "kept inside"},
    {"remap", "value = -5; fromMax = 10; toMin = 1; toMax = 0; clamped = true", "1", "falling"},
    {"remap", "value = 3; fromMin = 2; fromMax = 2; toMin = 7", "7", "empty range"},
    {"remap", "value = 0.25; fromMin = 1; fromMax = 0", "0.75", "falling"},
    {"smoothstep", "value = 0.5", "0.5", "middle"},
    {"smoothstep", "value = 0.25", "0.15625", ""},
    {"smoothstep", "value = -3", "0", "below"},
    {"smoothstep", "value = 3", "1", "above"},
    {"smoothstep", "value = 0.75; from = 1; to = 0", "0.15625", "falling"},
    {"smoothstep", "value = 2; from = 2; to = 2", "1", "a jump"},
    {"smoothstep", "value = 1.5; from = 2; to = 2", "0", "a jump"},
};
INSTANTIATE_TEST_SUITE_P(Mapped, StandardRange, testing::ValuesIn(kMapped));

} // namespace
} // namespace qv::kelvo_sdk::impl
