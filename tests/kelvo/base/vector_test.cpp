#include "kelvo/base/vector.h"

#include "kelvo/base/string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

using namespace qv;
using ds::Vector;

namespace {

// An element that counts the living objects of its type.
struct Counted {
    static inline int alive = 0;
    int value = 0;

    Counted() { ++alive; }
    Counted(int v) : value(v) { ++alive; }
    Counted(const Counted& other) : value(other.value) { ++alive; }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --alive; }
    bool operator==(const Counted&) const = default;
};

// An element whose arrays come from an allocator that only records the requests.
struct Greedy {
    static inline std::size_t requested = 0;
    u64 words[4];

    static void* operator new[](std::size_t size) {
        requested = size;
        throw std::bad_alloc();
    }
    static void operator delete[](void*) noexcept {}
};

struct Token {
    String text;
    u64 aux = 0;
    i64 index = -1;
};

template<class T>
std::vector<T> listed(const Vector<T>& vector) {
    return {vector.begin(), vector.end()};
}

} // namespace

TEST(Vector, Layout_IsStorageCountCapacity) {
    Vector<int*> vector;
    vector.push_back(nullptr);
    ASSERT_EQ(sizeof vector, 3 * sizeof(u64));
    u64 words[3];
    std::memcpy(words, static_cast<const void*>(&vector), sizeof words);
    EXPECT_EQ(words[0], reinterpret_cast<u64>(vector.data()));
    EXPECT_EQ(words[1], 1u);
    EXPECT_EQ(words[2], 2u);
}

TEST(Vector, Default_HasNoStorage) {
    const Vector<int*> vector;
    EXPECT_EQ(vector.data(), nullptr);
    EXPECT_EQ(vector.size(), 0u);
    EXPECT_EQ(vector.capacity(), 0u);
    EXPECT_TRUE(vector.empty());
    EXPECT_TRUE(vector.isEmpty());
    EXPECT_EQ(vector.begin(), vector.end());
}

TEST(Vector, Append_GrowsToTwoThenDoubles) {
    Vector<int*> vector;
    std::vector<u64> capacities;
    for (int i = 0; i < 9; ++i) {
        vector.push_back(nullptr);
        capacities.push_back(vector.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<u64>{2, 2, 4, 4, 8, 8, 8, 8, 16}));
}

TEST(Vector, Append_AfterOddReservation_DoublesTheCount) {
    Vector<int> vector;
    vector.reserve(3);
    for (int i = 0; i < 4; ++i)
        vector.push_back(i);
    EXPECT_EQ(vector.capacity(), 6u);
    EXPECT_EQ(listed(vector), (std::vector<int>{0, 1, 2, 3}));
}

TEST(Vector, Append_OfItsOwnElementWhileGrowing_KeepsTheValue) {
    Vector<String> vector{"a", "b"};
    ASSERT_EQ(vector.capacity(), 2u);
    vector.push_back(vector[0]);
    vector.push_back(std::move(vector[1]));
    EXPECT_EQ(vector[2], "a");
    EXPECT_EQ(vector[3], "b");
}

TEST(Vector, Growth_MovesElements) {
    Vector<String> vector;
    vector.push_back("text");
    const char* const buf = vector[0].buf();
    for (int i = 0; i < 8; ++i)
        vector.push_back(String());
    EXPECT_EQ(vector[0].buf(), buf);
    EXPECT_EQ(vector[0].get()->refCount(), 1);
}

TEST(Vector, Copy_HasCapacityOfExactlyTheCount) {
    Vector<String> vector{"a"};
    vector.push_back("b");
    vector.push_back("c");
    const Vector<String> copy(vector);
    EXPECT_EQ(copy.capacity(), 3u);
    EXPECT_EQ(copy, vector);
    EXPECT_EQ(copy[0].buf(), vector[0].buf());
}

TEST(Vector, CopyOfEmpty_HasNoStorage) {
    Vector<int> vector;
    vector.reserve(4);
    EXPECT_EQ(Vector<int>(vector).data(), nullptr);
}

TEST(Vector, Move_TakesTheStorage) {
    Vector<int> vector{1, 2};
    const int* const data = vector.data();
    const Vector<int> moved(std::move(vector));
    EXPECT_EQ(moved.data(), data);
    EXPECT_EQ(vector.data(), nullptr); // NOLINT(bugprone-use-after-move): empty by contract
    EXPECT_EQ(vector.capacity(), 0u);
}

TEST(Vector, Swap_ExchangesElementsAndRoom) {
    Vector<int> few, many;
    few.push_back(1);
    many.reserve(100);
    many.swap(few);
    EXPECT_EQ(many.size(), 1u);
    EXPECT_EQ(few.capacity(), 100u);
    EXPECT_TRUE(few.empty());
}

TEST(Vector, Assignment_ReplacesTheElements) {
    Vector<int> vector{1, 2, 3};
    const Vector<int> other{4};
    vector = other;
    EXPECT_EQ(vector, other);
    vector = Vector<int>{5, 6};
    EXPECT_EQ(listed(vector), (std::vector<int>{5, 6}));
    auto& same = vector;
    vector = same;
    vector = std::move(same);
    EXPECT_EQ(vector.size(), 2u);
}

TEST(Vector, Destruction_OfPointers_LeavesTheObjects) {
    int object = 1;
    { Vector<int*> vector{&object, &object}; }
    EXPECT_EQ(object, 1);
}

TEST(Vector, Destruction_DestroysTheWholeArray) {
    {
        Vector<Counted> vector{1, 2, 3};
        vector.push_back(4);
        EXPECT_EQ(Counted::alive, 6); // a slot for each place of the capacity
    }
    EXPECT_EQ(Counted::alive, 0);
}

TEST(Vector, Remove_KeepsTheOrderOfTheRest) {
    int a = 0, b = 0, c = 0;
    Vector<int*> vector{&a, &b, &c};
    vector.remove(1);
    EXPECT_EQ(listed(vector), (std::vector<int*>{&a, &c}));
    EXPECT_EQ(vector.data()[2], nullptr) << "the vacated slot";
    EXPECT_EQ(vector.capacity(), 3u);
}

TEST(Vector, Remove_OfAText_KeepsTheOrderOfTheRest) {
    Vector<String> vector{"a", "b", "c", "d"};
    vector.remove(1);
    EXPECT_EQ(vector, (Vector<String>{"a", "c", "d"}));
}

TEST(Vector, Remove_BehindTheLast_TakesTheLastAway) {
    Vector<int> vector{1, 2};
    vector.reserve(4);
    vector.remove(2);
    EXPECT_EQ(listed(vector), std::vector<int>{1});
}

TEST(Vector, Remove_ReleasesWhatTheLastSlotHeld) {
    const String text("held");
    Vector<String> vector{text, text};
    vector.remove(0);
    EXPECT_EQ(text.get()->refCount(), 2);
    vector.pop_back();
    EXPECT_EQ(text.get()->refCount(), 1);
}

TEST(Vector, RemoveAll_TakesEveryCopy) {
    struct Case {
        Vector<int> before;
        int value;
        std::vector<int> after;
        bool found;
    };
    const Case cases[] = {
        {{1, 2, 1, 3, 1}, 1, {2, 3}, true},
        {{1, 1}, 1, {}, true},
        {{1, 2}, 3, {1, 2}, false},
        {{}, 1, {}, false},
        {{2, 1}, 1, {2}, true},
    };
    for (const Case& c : cases) {
        Vector<int> vector(c.before);
        EXPECT_EQ(vector.removeAll(c.value), c.found);
        EXPECT_EQ(listed(vector), c.after);
    }
}

TEST(Vector, RemoveAll_OfItsOwnElement_ComparesWithWhatItWas) {
    Vector<String> vector{"a", "b", "a"};
    EXPECT_TRUE(vector.removeAll(vector[0]));
    ASSERT_EQ(vector.size(), 1u);
    EXPECT_EQ(vector[0], "b");
}

TEST(Vector, RemoveAll_ClearsTheVacatedSlots) {
    int a = 0, b = 0;
    Vector<int*> vector{&a, &b, &a};
    vector.removeAll(&a);
    EXPECT_EQ(vector.data()[1], nullptr);
    EXPECT_EQ(vector.data()[2], nullptr);
}

TEST(Vector, Extract_ReturnsTheElementAndClosesTheGap) {
    Vector<Token> vector{Token{"mat", 1, 2}, Token{"color", 3, -1}, Token{"r", 0, -1}};
    const Token first = vector.extract(0);
    EXPECT_EQ(first.text, "mat");
    EXPECT_EQ(first.aux, 1u);
    EXPECT_EQ(first.index, 2);
    ASSERT_EQ(vector.size(), 2u);
    EXPECT_EQ(vector[0].text, "color");
    EXPECT_EQ(vector[1].text, "r");
}

TEST(Vector, Extract_LeavesADefaultElementBehindTheLast) {
    Vector<Token> vector{Token{"a", 1, 1}, Token{"b", 2, 2}};
    (void)vector.extract(0);
    EXPECT_EQ(vector.capacity(), 2u);
    EXPECT_TRUE(vector.data()[1].text.isEmpty());
    EXPECT_EQ(vector.data()[1].aux, 0u);
    EXPECT_EQ(vector.data()[1].index, -1);
}

TEST(Vector, Extract_ReleasesTheText) {
    const String text("held");
    Vector<Token> vector{Token{text}};
    (void)vector.extract(0);
    EXPECT_EQ(text.get()->refCount(), 1);
}

TEST(Vector, Insert_WithRoomLeft_KeepsTheStorage) {
    Vector<int> vector;
    vector.reserve(3);
    vector.push_back(1);
    const int* const storage = vector.data();
    vector.insert(0, 0);
    vector.insert(2, 2);
    EXPECT_EQ(vector.data(), storage);
    EXPECT_EQ(vector.capacity(), 3u);
    EXPECT_EQ(listed(vector), (std::vector<int>{0, 1, 2}));
}

TEST(Vector, Insert_MovesTheRestUp) {
    Vector<String> vector;
    vector.insert(0, "c");
    vector.insert(0, "a");
    vector.insert(1, "b");
    vector.insert(3, "d");
    EXPECT_EQ(vector, (Vector<String>{"a", "b", "c", "d"}));
    Vector<int> numbers{1, 3};
    numbers.insert(1, 2);
    EXPECT_EQ(listed(numbers), (std::vector<int>{1, 2, 3}));
}

// Long vectors of pointers insert and remove at the front without moving the rest.
struct LongVector : testing::Test {
    LongVector() {
        for (int& item : m_items)
            m_vector.push_back(&item);
    }
    void expectItems(u64 from) const {
        ASSERT_EQ(m_vector.size(), m_items.size() - from);
        for (u64 i = from; i < m_items.size(); ++i)
            ASSERT_EQ(m_vector[i - from], &m_items[i]);
    }
    std::vector<int> m_items = std::vector<int>(1000);
    Vector<int*> m_vector;
};

TEST_F(LongVector, RemoveAtTheFront_LeavesTheRestWhereItIs) {
    int* const* last = &m_vector.back();
    m_vector.remove(0);
    EXPECT_EQ(&m_vector.back(), last);
    EXPECT_EQ(m_vector.capacity(), 1023u);
    expectItems(1);
}

TEST_F(LongVector, InsertAtTheFront_TakesTheRoomThere) {
    for (int i = 0; i < 900; ++i)
        m_vector.remove(0);
    int* const* last = &m_vector.back();
    for (u64 i = 900; i-- > 0;)
        m_vector.insert(0, &m_items[i]);
    EXPECT_EQ(&m_vector.back(), last);
    EXPECT_EQ(m_vector.capacity(), 1024u);
    expectItems(0);
}

TEST_F(LongVector, InsertAtTheFrontOfAFullOne_Grows) {
    Vector<int*> full;
    full.reserve(m_items.size());
    for (int& item : m_items)
        full.push_back(&item);
    full.remove(m_items.size() - 1);
    full.push_back(&m_items.back());
    ASSERT_EQ(full.capacity(), full.size());
    full.insert(0, nullptr);
    EXPECT_GE(full.capacity(), full.size());
    EXPECT_EQ(full[0], nullptr);
    EXPECT_TRUE(std::equal(full.begin() + 1, full.end(), m_vector.begin(), m_vector.end()));
}

TEST_F(LongVector, AppendBehindRoomInFront_UsesItBeforeItGrows) {
    for (int i = 0; i < 900; ++i)
        m_vector.remove(0);
    for (u64 i = 0; i < 900; ++i)
        m_vector.push_back(&m_items[i]);
    EXPECT_EQ(m_vector.capacity(), 1024u);
    EXPECT_EQ(m_vector[0], &m_items[900]);
    EXPECT_EQ(m_vector.back(), &m_items[899]);
}

TEST_F(LongVector, CopyMoveAndReserve_LeaveTheRoomBehind) {
    m_vector.remove(0);
    const Vector<int*> copy(m_vector);
    EXPECT_EQ(copy.capacity(), 999u);
    EXPECT_EQ(copy, m_vector);
    Vector<int*> moved(std::move(m_vector));
    moved.reserve(5000);
    EXPECT_EQ(moved.capacity(), 5000u);
    EXPECT_EQ(copy, moved);
}

TEST_F(LongVector, RandomEdits_MatchAModel) {
    std::mt19937 random(9);
    std::vector<int*> model(m_vector.begin(), m_vector.end());
    for (int step = 0; step < 20000; ++step) {
        const u64 place = random() % 4 == 0 ? 0 : random() % (model.size() + 1);
        const bool grows = model.empty() || place == model.size() || (step / 3000) % 2 != 0;
        if (grows) {
            m_vector.insert(place, &m_items[random() % 1000]);
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(place), m_vector[place]);
        } else {
            m_vector.remove(place);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(place));
        }
        if (step % 100 == 0) {
            m_vector.push_back(&m_items[0]);
            model.push_back(&m_items[0]);
        }
        ASSERT_GE(m_vector.capacity(), m_vector.size());
    }
    EXPECT_TRUE(std::equal(m_vector.begin(), m_vector.end(), model.begin(), model.end()));
}

TEST(Vector, FrontAndBack_AreTheEnds) {
    Vector<int> vector{1, 2, 3};
    vector.front() = 4;
    vector.back() = 5;
    const Vector<int>& same = vector;
    EXPECT_EQ(same.front(), 4);
    EXPECT_EQ(same.back(), 5);
    EXPECT_EQ(same[1], 2);
}

TEST(Vector, IndexOf_AnswersTheFirst) {
    const Vector<int> vector{5, 6, 5};
    EXPECT_EQ(vector.indexOf(5), 0u);
    EXPECT_EQ(vector.indexOf(7), ~u64{0});
    EXPECT_TRUE(vector.contains(6));
    EXPECT_FALSE(vector.contains(7));
}

TEST(Vector, Clear_KeepsTheStorage) {
    const String text("held");
    Vector<String> vector{text, text};
    vector.clear();
    EXPECT_EQ(vector.capacity(), 2u);
    EXPECT_TRUE(vector.empty());
    EXPECT_EQ(text.get()->refCount(), 1);
}

TEST(Vector, Release_FreesTheStorage) {
    Vector<int> vector{1, 2, 3};
    vector.release();
    EXPECT_EQ(vector.data(), nullptr);
    EXPECT_EQ(vector.capacity(), 0u);
    vector.push_back(1);
    EXPECT_EQ(vector.capacity(), 2u);
}

TEST(Vector, Reserve_OfTheCapacity_KeepsTheStorage) {
    Vector<int> vector{1, 2, 3};
    const int* const storage = vector.data();
    vector.reserve(3);
    EXPECT_EQ(vector.data(), storage);
}

TEST(Vector, Count_HasTwoNames) {
    const Vector<int> vector{1, 2, 3};
    EXPECT_EQ(vector.size(), 3u);
    EXPECT_EQ(vector.count(), 3u);
}

TEST(Vector, Resize_MakesRoomForExactlyThatCount) {
    Vector<int> vector;
    vector.resize(3);
    EXPECT_EQ(vector.capacity(), 3u);
    EXPECT_EQ(listed(vector), (std::vector<int>{0, 0, 0}));
}

TEST(Vector, Resize_FillsWithDefaults) {
    Vector<int> vector{1, 2, 3};
    vector.resize(1);
    vector.resize(5);
    EXPECT_EQ(listed(vector), (std::vector<int>{1, 0, 0, 0, 0}));
}

TEST(Vector, Equality_ComparesElementsInOrder) {
    const Vector<int> vector{1, 2};
    EXPECT_EQ(vector, (Vector<int>{1, 2}));
    EXPECT_NE(vector, (Vector<int>{2, 1}));
    EXPECT_NE(vector, (Vector<int>{1}));
}

TEST(Vector, SizeThatOverflows_AsksForTheLargestArray) {
    Vector<Greedy> vector;
    EXPECT_THROW(vector.reserve(~u64{0} / sizeof(Greedy) + 1), std::bad_alloc);
    EXPECT_EQ(Greedy::requested, ~std::size_t{0});
    EXPECT_EQ(vector.data(), nullptr);
    EXPECT_EQ(vector.capacity(), 0u);
}

TEST(Vector, AllocationThatFails_ChangesNothing) {
    Vector<Greedy> vector;
    EXPECT_THROW(vector.push_back(Greedy{}), std::bad_alloc);
    EXPECT_EQ(vector.size(), 0u);
    EXPECT_EQ(vector.capacity(), 0u);
    EXPECT_EQ(vector.data(), nullptr);
}
