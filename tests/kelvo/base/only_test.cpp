#include "kelvo/base/only.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace qv {
namespace {

class First;
class Second;

struct Lock {
    static int open(Only<First> /*key*/) { return 1; }
    static int share(Only<First, Second> /*key*/) { return 2; }
};

class First {
public:
    static int open() { return Lock::open({}); }
    static int share() { return Lock::share({}); }
};

class Second {
public:
    static int share() {
        return [] { return Lock::share({}); }();
    }
};

TEST(Only, NamedClass_CanCall) {
    EXPECT_EQ(First::open(), 1);
}

TEST(Only, EachOfSeveralNamedClasses_CanCall) {
    EXPECT_EQ(First::share(), 2);
    EXPECT_EQ(Second::share(), 2);
}

template<typename T>
constexpr bool canOpen = requires {
    T::open({});
};
template<typename T>
constexpr bool canShare = requires {
    T::share({});
};

TEST(Only, OtherCode_CannotMakeAKey) {
    static_assert(!std::is_default_constructible_v<Only<First>>);
    static_assert(!std::is_default_constructible_v<Only<First, Second>>);
    static_assert(!std::is_aggregate_v<Only<First>>);
    EXPECT_FALSE(canOpen<Lock>);
    EXPECT_FALSE(canShare<Lock>);
}

TEST(Only, OtherKey_DoesNotOpen) {
    EXPECT_FALSE((std::is_convertible_v<Only<Second>, Only<First>>));
    EXPECT_FALSE((std::is_convertible_v<Only<First>, Only<First, Second>>));
}

} // namespace
} // namespace qv
