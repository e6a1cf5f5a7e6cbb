// The handle gives access to the description of an input.

#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* text = R"(
node thing "thing" {
    Real size = 3 @default 2 @min 0.5 @max 9 @unit "m" @label "de" "Größe" @help "en" "How big."
    Vec2 area = (1 1) @min (0 -1)
    String shape = "round" @choices ["round", "flat"]
    Int fixed = 4 @readonly
    Array<Real> list = [1]
    Node friend = other @default null
    Mat4 plain = (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)
}
node thing "other" {
}
)";

class InputDescription : public testing::Test {
protected:
    InputDescription() { EXPECT_TRUE(m_scene.read(text, "text.kns")); }
    [[nodiscard]] Input operator[](const char* name) const { return m_scene["thing"][name]; }

    Scene m_scene = Scene::create();
};

TEST_F(InputDescription, Bounds_AreReadLikeValues) {
    const Input size = (*this)["size"];
    EXPECT_EQ(size.minimum().get<double>(), 0.5);
    EXPECT_EQ(size.maximum().get<int>(), 9);
    EXPECT_EQ(size.maximum().asString(), "9");
    EXPECT_EQ((*this)["area"].minimum().get<math::Vec2d>(), (math::Vec2d{0, -1}));
    EXPECT_FALSE((*this)["area"].maximum());
    EXPECT_FALSE((*this)["plain"].minimum());
}

TEST_F(InputDescription, Choices_AreCountedAndRead) {
    const Input shape = (*this)["shape"];
    ASSERT_EQ(shape.choiceCount(), 2u);
    EXPECT_EQ(shape.choice(0).get<String>(), "round");
    EXPECT_EQ(shape.choice(1).asString(), "flat");
    EXPECT_FALSE(shape.choice(2));
    EXPECT_EQ((*this)["size"].choiceCount(), 0u);
    EXPECT_FALSE((*this)["size"].choice(0));
}

TEST_F(InputDescription, Default_IsTheValueThatResetRestores) {
    const Input size = (*this)["size"];
    EXPECT_FALSE(size.isDefault());
    EXPECT_EQ(size.defaultValue().get<double>(), 2);
    EXPECT_TRUE(size.reset());
    EXPECT_EQ(size.get<double>(), 2);
    EXPECT_TRUE(size.isDefault());
    EXPECT_EQ((*this)["plain"].defaultValue().get<math::Mat4d>(), math::Mat4d::identity);
    EXPECT_FALSE((*this)["list"].defaultValue());
}

TEST_F(InputDescription, TextsAndFlags_AreReported) {
    const Input size = (*this)["size"];
    EXPECT_EQ(size.unit(), "m");
    EXPECT_EQ(size.label("de"), "Größe");
    EXPECT_EQ(size.label("en"), "Size");
    EXPECT_EQ(size.help("en"), "How big.");
    EXPECT_FALSE(size.isReadOnly());
    EXPECT_TRUE((*this)["fixed"].isReadOnly());
    EXPECT_EQ((*this)["list"].typeName(), "Array<Real>");
    EXPECT_EQ((*this)["list"].elementType(), AttrType::Real);
}

TEST_F(InputDescription, InputsOfADescription_AreNoPartOfTheScene) {
    const String before = m_scene.text();
    EXPECT_TRUE((*this)["size"].maximum().set(100));
    EXPECT_TRUE((*this)["friend"].defaultValue().set(m_scene["other"]));
    EXPECT_EQ(m_scene.text(), before);
    EXPECT_FALSE((*this)["size"].set(10));
    EXPECT_TRUE(m_scene.verify().isEmpty());
}

TEST(InputDescriptionEmpty, AnswersNothing) {
    const Input input;
    EXPECT_FALSE(input.minimum());
    EXPECT_FALSE(input.maximum());
    EXPECT_FALSE(input.defaultValue());
    EXPECT_FALSE(input.choice(0));
    EXPECT_EQ(input.choiceCount(), 0u);
    EXPECT_TRUE(input.unit().isEmpty());
    EXPECT_TRUE(input.label().isEmpty());
    EXPECT_TRUE(input.help().isEmpty());
    EXPECT_TRUE(input.typeName().isEmpty());
    EXPECT_FALSE(input.isReadOnly());
    EXPECT_FALSE(input.isDefault());
}

TEST_F(InputDescription, IsDescribed_TellsWhetherThereIsAnyNote) {
    EXPECT_TRUE((*this)["size"].isDescribed());
    EXPECT_TRUE((*this)["shape"].isDescribed());
    EXPECT_FALSE((*this)["fixed"].isDescribed());
    EXPECT_FALSE((*this)["plain"].isDescribed());
    EXPECT_FALSE(Input().isDescribed());
}

TEST_F(InputDescription, InputsMissingInTheText_AreLeftToTheType) {
    const Scene scene = Scene::create();
    scene.addLibrary(LibInfo::standard());
    ASSERT_TRUE(scene.read("node pointLight \"a\" {\n    Real radius = 2\n}\n", "a.kns"));
    EXPECT_TRUE(scene["a"]["intensity"].isOmitted());
    EXPECT_FALSE(scene["a"]["radius"].isOmitted());
    EXPECT_FALSE(scene.createNode("pointLight", "b")["intensity"].isOmitted());
    EXPECT_FALSE(Input().isOmitted());
}

} // namespace
} // namespace qv::kelvo_sdk
