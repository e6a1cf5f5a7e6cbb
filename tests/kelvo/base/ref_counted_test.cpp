#include "kelvo/base/ref_counted.h"

#include <gtest/gtest.h>

#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

using namespace qv;

namespace {

class Thing : public RefCounted {
public:
    explicit Thing(int* deaths = nullptr) : m_deaths(deaths) {}
    ~Thing() override {
        if (m_deaths) ++*m_deaths;
    }

private:
    int* m_deaths;
};

// A shared object whose `RefCounted` part is not its first base.
class Container {
public:
    virtual ~Container() = default;
    virtual int answer() const { return 42; }
};
class Mixed : public Container, public RefCounted {};

} // namespace

TEST(RefCounted, New_HasCountOfOne) {
    auto* thing = new Thing;
    EXPECT_EQ(thing->refCount(), 1);
    thing->decRef();
}

TEST(RefCounted, DecRef_FromOne_Destroys) {
    int deaths = 0;
    auto* thing = new Thing(&deaths);
    thing->incRef();
    thing->decRef();
    EXPECT_EQ(deaths, 0);
    thing->decRef();
    EXPECT_EQ(deaths, 1);
}

TEST(RefCounted, Copy_HasItsOwnCountOfOne) {
    auto* thing = new Thing;
    thing->incRef();
    auto* copy = new Thing(*thing);
    EXPECT_EQ(copy->refCount(), 1);
    copy->decRef();
    thing->decRef();
    thing->decRef();
}

TEST(RefersTo, Layout_IsInterfacePointerThenObject) {
    EXPECT_TRUE(std::is_polymorphic_v<RefersTo<Thing>>);
    EXPECT_TRUE(std::has_virtual_destructor_v<RefersTo<Thing>>);
    const auto handle = RefersTo<Thing>::adopt(new Thing);
    ASSERT_EQ(sizeof handle, 2 * sizeof(void*));
    EXPECT_EQ(reinterpret_cast<Thing* const*>(&handle)[1], handle.get());
}

TEST(RefersTo, Default_HoldsNull) {
    const RefersTo<Thing> handle;
    EXPECT_TRUE(handle.isEmpty());
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle, nullptr);
}

TEST(RefersTo, Object_IsReachedLikeThatOfAPointer) {
    const auto handle = RefersTo<Thing>::adopt(new Thing);
    EXPECT_TRUE(handle);
    EXPECT_EQ(&*handle, handle.get());
}

TEST(RefersTo, Pointer_TakesAReferenceOfItsOwn) {
    auto* thing = new Thing;
    {
        const RefersTo<Thing> handle(thing);
        EXPECT_EQ(thing->refCount(), 2);
    }
    EXPECT_EQ(thing->refCount(), 1);
    thing->decRef();
}

TEST(RefersTo, Adopt_TakesOverTheCreatorsReference) {
    int deaths = 0;
    {
        const auto handle = RefersTo<Thing>::adopt(new Thing(&deaths));
        EXPECT_EQ(handle->refCount(), 1);
    }
    EXPECT_EQ(deaths, 1);
}

TEST(RefersTo, Copy_AddsAReference) {
    const auto handle = RefersTo<Thing>::adopt(new Thing);
    const RefersTo<Thing> copy(handle);
    EXPECT_EQ(handle->refCount(), 2);
    EXPECT_EQ(copy, handle);
}

TEST(RefersTo, Move_StealsTheReference) {
    auto handle = RefersTo<Thing>::adopt(new Thing);
    Thing* const thing = handle.get();
    const RefersTo<Thing> moved(std::move(handle));
    EXPECT_EQ(thing->refCount(), 1);
    EXPECT_EQ(moved.get(), thing);
    EXPECT_TRUE(handle.isEmpty()); // NOLINT(bugprone-use-after-move): empty by contract
}

TEST(RefersTo, CopyAssignment_ReleasesTheOldObject) {
    int deaths = 0;
    auto handle = RefersTo<Thing>::adopt(new Thing(&deaths));
    const auto other = RefersTo<Thing>::adopt(new Thing);
    handle = other;
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(other->refCount(), 2);
}

TEST(RefersTo, MoveAssignment_ReleasesTheOldObject) {
    int deaths = 0;
    auto handle = RefersTo<Thing>::adopt(new Thing(&deaths));
    handle = RefersTo<Thing>::adopt(new Thing);
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(handle->refCount(), 1);
}

TEST(RefersTo, SelfAssignment_KeepsTheObject) {
    auto handle = RefersTo<Thing>::adopt(new Thing);
    auto& same = handle;
    handle = same;
    EXPECT_EQ(handle->refCount(), 1);
    handle = std::move(same);
    EXPECT_EQ(handle->refCount(), 1);
}

TEST(RefersTo, AssignmentFromWithinTheOldObject_KeepsTheNewOne) {
    struct Link : RefCounted {
        RefersTo<Link> next;
    };
    auto first = RefersTo<Link>::adopt(new Link);
    first->next = RefersTo<Link>::adopt(new Link);
    Link* const second = first->next.get();
    first = first->next;
    EXPECT_EQ(first.get(), second);
    EXPECT_EQ(second->refCount(), 1);
}

TEST(RefersTo, DestroyingNull_DoesNothing) {
    RefersTo<Thing> handle(static_cast<Thing*>(nullptr));
    handle.reset();
    EXPECT_TRUE(handle.isEmpty());
}

TEST(RefersTo, Reset_DropsTheReference) {
    int deaths = 0;
    auto handle = RefersTo<Thing>::adopt(new Thing(&deaths));
    handle.reset();
    EXPECT_EQ(deaths, 1);
    EXPECT_TRUE(handle.isEmpty());
}

TEST(RefersTo, Detach_HandsTheReferenceOver) {
    auto handle = RefersTo<Thing>::adopt(new Thing);
    Thing* const thing = handle.detach();
    EXPECT_TRUE(handle.isEmpty());
    EXPECT_EQ(thing->refCount(), 1);
    thing->decRef();
}

TEST(RefersTo, Swap_ExchangesTheObjectsAndCountsNothing) {
    auto some = RefersTo<Thing>::adopt(new Thing);
    RefersTo<Thing> none;
    Thing* const thing = some.get();
    some.swap(none);
    EXPECT_TRUE(some.isEmpty());
    EXPECT_EQ(none.get(), thing);
    EXPECT_EQ(thing->refCount(), 1);
}

TEST(RefersTo, ObjectWithSeveralBases_IsCountedThroughItsCountedPart) {
    const auto handle = RefersTo<Mixed>::adopt(new Mixed);
    const RefersTo<Mixed> copy(handle);
    EXPECT_EQ(handle->refCount(), 2);
    EXPECT_EQ(copy->answer(), 42);
}

TEST(RefersTo, ObjectThatCountsItself_IsCountedByItsOwnFunctions) {
    struct Counting {
        void incRef() { ++count; }
        void decRef() { --count; }
        int count = 1;
    } counting;
    {
        const RefersTo<Counting> handle(&counting);
        EXPECT_EQ(counting.count, 2);
    }
    EXPECT_EQ(counting.count, 1);
}

TEST(RefersTo, HandleOnADerivedObject_ConvertsToOneOnItsBase) {
    const auto handle = RefersTo<Mixed>::adopt(new Mixed);
    const RefersTo<RefCounted> base(handle);
    const RefersTo<IRefCounted> interface(handle);
    EXPECT_EQ(handle->refCount(), 3);
    EXPECT_EQ(base.get(), handle.get());
    EXPECT_EQ(interface.get(), static_cast<IRefCounted*>(handle.get()));
}

TEST(RefersTo, EqualHandles_AreOneKeyOfASet) {
    const auto a = RefersTo<Thing>::adopt(new Thing);
    const auto b = RefersTo<Thing>::adopt(new Thing);
    const std::unordered_set<RefersTo<Thing>> handles{a, b, a};
    EXPECT_EQ(handles.size(), 2u);
    EXPECT_NE(a, b);
}

TEST(RefersTo, CopiesOnSeveralThreads_LeaveTheCountExact) {
    const auto handle = RefersTo<Thing>::adopt(new Thing);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&handle] {
            for (int i = 0; i < 10000; ++i)
                const RefersTo<Thing> copy(handle);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(handle->refCount(), 1);
}
