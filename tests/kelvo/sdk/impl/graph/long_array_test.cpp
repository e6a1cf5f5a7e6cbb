// Elements that are added, removed and moved anywhere in a long array know their index.
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

class LongArray : public testing::Test {
protected:
    LongArray() {
        for (int i = 0; i < 100; ++i)
            m_array.append().set(i);
        m_scene.setUndoEnabled(true);
    }
    // Checks that each element has its index as its name.
    void expectNumbered() const {
        for (u64 i = 0; i < m_array.inputCount(); ++i) {
            const std::string index = std::to_string(i);
            ASSERT_EQ(m_array.input(i)->name().buf(), index);
            ASSERT_EQ(m_array.input(i)->path().buf(), "a.list[" + index + "]");
        }
        ASSERT_TRUE(m_scene.verify().empty());
    }
    [[nodiscard]] std::vector<i64> values() const {
        std::vector<i64> all;
        for (u64 i = 0; i < m_array.inputCount(); ++i)
            all.push_back(m_array.input(i).get<i64>());
        return all;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Input m_array = m_scene.createNode("t", "a").createArray("list", AttrType::Int);
};

TEST_F(LongArray, InsertedInFront_AllMoveUp) {
    const kelvo_sdk::Input last = m_array.input(99);
    ASSERT_TRUE(m_array->insertElement(0));
    EXPECT_STREQ(last->name().buf(), "100");
    expectNumbered();
    ASSERT_TRUE(m_scene.undo());
    EXPECT_STREQ(last->name().buf(), "99");
    expectNumbered();
}

TEST_F(LongArray, RemovedElement_KeepsTheNameOfItsPlace) {
    const kelvo_sdk::Scene::UndoScope scope(m_scene, "Shorten", "Lengthen");
    const kelvo_sdk::Input second = m_array.input(1);
    ASSERT_TRUE(m_array->removeInput(u64(0)));
    ASSERT_TRUE(m_array->removeInput(u64(0)));
    ASSERT_TRUE(m_array->removeInput(u64(0)));
    EXPECT_EQ(second.node(), nullptr);
    EXPECT_STREQ(m_array.input(0)->path().buf(), "a.list[0]");
    expectNumbered();
}

TEST_F(LongArray, MovedFromEndToEnd_TheRestKeepsItsOrder) {
    std::vector<i64> expected = values();
    for (const auto& [from, to] :
         {std::pair(0, 99), {99, 0}, {98, 1}, {3, 97}, {40, 60}, {60, 40}}) {
        ASSERT_TRUE(m_array->moveElement(static_cast<u64>(from), static_cast<u64>(to)));
        const i64 moved = expected[static_cast<std::size_t>(from)];
        expected.erase(expected.begin() + from);
        expected.insert(expected.begin() + to, moved);
        EXPECT_EQ(values(), expected) << from << " to " << to;
        expectNumbered();
    }
    while (m_scene.undo())
        expectNumbered();
    EXPECT_EQ(values().front(), 0);
    EXPECT_EQ(values().back(), 99);
}

TEST_F(LongArray, RandomEdits_AreNumbered_AndUndone) {
    std::mt19937 random(11);
    std::vector<std::string> states{m_scene.text().buf()};
    for (int i = 0; i < 300; ++i) {
        const u64 count = m_array.inputCount();
        const bool isFront = random() % 2 != 0;
        const auto place = [&] { return isFront ? random() % 3 : count - 1 - random() % 3; };
        const u64 what = random() % 4;
        const bool isDone = what == 0   ? m_array->insertElement(place()) != nullptr
                            : what == 1 ? m_array->removeInput(place())
                            : what == 2 ? m_array->moveElement(place(), random() % count)
                                        : m_array.input(place()).set(1000 + i);
        ASSERT_TRUE(isDone);
        expectNumbered();
        if (states.back() != m_scene.text().buf()) states.emplace_back(m_scene.text().buf());
    }
    for (std::size_t i = states.size(); i-- > 0 && m_scene.undo();)
        expectNumbered();
    while (m_scene.undo()) {
    }
    EXPECT_EQ(m_scene.text().buf(), states.front());
    while (m_scene.redo()) {
    }
    EXPECT_EQ(m_scene.text().buf(), states.back());
    expectNumbered();
}

TEST_F(LongArray, Copies_CountFromTheirFirst) {
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(m_array->insertElement(0));
    const kelvo_sdk::Node copy = m_scene["a"].clone();
    EXPECT_STREQ(copy["list"].input(104)->name().buf(), "104");
    EXPECT_STREQ(m_array.input(104)->name().buf(), "104");
    EXPECT_TRUE(m_scene.verify().empty());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
