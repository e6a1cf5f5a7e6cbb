// A separate program: its calls of malloc are redirected to functions that count them.

#include "kelvo/kelvo.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

using tests::allocationsOf;

class LookUpAllocation : public testing::Test {
protected:
    LookUpAllocation() {
        m_lamp.createInput("radius", AttrType::Real);
        m_lamp.createOutput("result", AttrType::Real);
        m_lamp.createInput("object", AttrType::Object).createInput("member", AttrType::Real);
        m_lamp.createArray("list", AttrType::Real).append();
    }

    Scene m_scene = Scene::create();
    Node m_lamp = m_scene.createNode("light", "lamp");
};

TEST_F(LookUpAllocation, NewString_IsCounted) {
    EXPECT_EQ(allocationsOf([] { EXPECT_FALSE(String("radius").isEmpty()); }), 1u);
}

TEST_F(LookUpAllocation, LiteralName_AllocatesNothing) {
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp["RADIUS"].set(2.0)); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(m_lamp["radius"].get<double>(), 2.0); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp.output("result")); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp["object"]["member"]); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp["list"]["0"]); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_scene["lamp"]); }), 0u);
}

TEST_F(LookUpAllocation, Question_AllocatesNothing) {
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp.hasInput("radius")); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_FALSE(m_lamp.hasInput("color")); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_FALSE(m_lamp.hasOutput("color")); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_FALSE(m_lamp["object"].hasInput("color")); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(m_lamp.borrowInput("color"), nullptr); }), 0u);
}

TEST_F(LookUpAllocation, KeptNameAndText_AllocateNothing) {
    constexpr Name kept("radius");
    const String text("radius");
    const char* const bytes = text.buf();
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp[kept]); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp[text]); }), 0u);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp[bytes]); }), 0u);
}

TEST_F(LookUpAllocation, AmongManyInputs_AllocatesNothing) {
    for (int i = 0; i < 100; ++i)
        m_lamp.createInput(String::format("in%d", i), AttrType::Real);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(m_lamp["in77"]); }), 0u);
}

} // namespace
} // namespace qv::kelvo_sdk
