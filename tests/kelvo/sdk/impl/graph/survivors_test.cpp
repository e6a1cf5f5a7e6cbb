#include "kelvo/sdk/impl/graph/survivors.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

class Thing : public RefCounted {};

struct Survival : testing::Test {
    RefersTo<Thing> one = RefersTo<Thing>::adopt(new Thing);
    RefersTo<Thing> other = RefersTo<Thing>::adopt(new Thing);
    const Thing* const none = nullptr;
};

TEST_F(Survival, Held_AreAliveUntilItEnds) {
    {
        const Survivors survivors(one.get(), none, other.get());
        EXPECT_TRUE(survivors.any());
        EXPECT_EQ(one->refCount(), 2);
        EXPECT_EQ(other->refCount(), 2);
    }
    EXPECT_EQ(one->refCount(), 1);
    EXPECT_EQ(other->refCount(), 1);
}

TEST_F(Survival, Hold_CountsTheFirstTimeAlone) {
    Survivors survivors;
    EXPECT_FALSE(survivors.any());
    survivors.hold(one.get());
    survivors.hold(other.get());
    EXPECT_EQ(one->refCount(), 2);
    EXPECT_EQ(other->refCount(), 1);
}

TEST_F(Survival, Copies_HoldTheSame) {
    auto first = std::make_unique<Survivors>(one.get());
    const Survivors copy(*first);
    first.reset();
    EXPECT_EQ(one->refCount(), 2);
    EXPECT_TRUE(copy.any());
}

TEST_F(Survival, Move_HandsTheReferencesOver) {
    auto first = std::make_unique<Survivors>(one.get(), other.get());
    {
        const Survivors moved(std::move(*first));
        EXPECT_EQ(one->refCount(), 2);
        first.reset();
        EXPECT_EQ(one->refCount(), 2);
        EXPECT_TRUE(moved.any());
    }
    EXPECT_EQ(one->refCount(), 1);
    EXPECT_EQ(other->refCount(), 1);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
