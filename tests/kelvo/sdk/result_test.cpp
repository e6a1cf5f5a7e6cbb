#include "kelvo/sdk/result.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <utility>

namespace qv::kelvo_sdk {
namespace {

TEST(Result, Default_IsTrueWithoutMessage) {
    const Result done;
    EXPECT_TRUE(done);
    EXPECT_TRUE(done.message().isEmpty());
}

TEST(Result, Failure_IsFalseAndSaysWhy) {
    const bool isDone = Result::failure("The lamp is out.");
    EXPECT_FALSE(isDone);
    EXPECT_EQ(Result::failure("The lamp is out.").message(), "The lamp is out.");
}

TEST(Result, FailureWithoutText_IsAFailure) {
    const Result failed = Result::failure("");
    EXPECT_FALSE(failed);
    EXPECT_FALSE(failed.message().isEmpty());
}

TEST(Result, Copies_ShareTheMessage) {
    Result copy;
    {
        const Result failed = Result::failure("It is gone.");
        copy = failed;
        EXPECT_EQ(copy.message().buf(), failed.message().buf());
    }
    EXPECT_EQ(copy.message(), "It is gone.");
    copy = Result();
    EXPECT_TRUE(copy);
}

TEST(Result, MovedFrom_IsTrue) {
    Result failed = Result::failure("It is gone.");
    const Result moved = std::move(failed);
    EXPECT_FALSE(moved);
    EXPECT_TRUE(failed); // NOLINT: that is what the test is about.
}

TEST(Made, Handle_IsUsedLikeTheHandle) {
    const Scene scene = Scene::create();
    const auto made = scene.createNode("light", "lamp");
    const Node lamp = made;
    EXPECT_TRUE(made);
    EXPECT_TRUE(made.result());
    EXPECT_EQ(lamp, made);
    EXPECT_EQ(made->scene(), scene.get());
    EXPECT_TRUE(made.message().isEmpty());
}

TEST(Made, Failure_IsEmptyAndSaysWhy) {
    const auto made = Scene().createNode("light", "lamp");
    EXPECT_FALSE(made);
    EXPECT_FALSE(made.result());
    EXPECT_EQ(made.message(), "There is no scene: the handle is empty.");
    EXPECT_FALSE(made.createInput("x", AttrType::Real).set(1));
}

TEST(Made, ChosenBetweenHandles_IsAHandle) {
    const Scene scene = Scene::create();
    const bool isMade = scene.nodeCount() == 0;
    const Node node = isMade ? scene.createNode("light", "lamp") : Node();
    EXPECT_EQ(node.name(), "lamp");
}

} // namespace
} // namespace qv::kelvo_sdk
