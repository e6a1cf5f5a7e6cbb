#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/name_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

// A list of inputs outside a node.
class InputList : public testing::Test {
protected:
    ~InputList() override {
        for (IInput* input : m_all)
            input->decRef();
    }
    IInput* append(const char* name) {
        m_all.push_back(new Input(nullptr, nullptr, name, AttrType::Int, AttrType::Null));
        appendToList(m_list, m_all.back());
        return m_all.back();
    }
    void appendMany(int count) {
        for (int i = 0; i < count; ++i)
            append(String::format("in%d", i).buf());
    }
    [[nodiscard]] bool isIndexed() const {
        return static_cast<const Input*>(m_list[0])->listIndex() != nullptr;
    }

    ds::Vector<IInput*> m_list;
    std::vector<IInput*> m_all;
};

TEST_F(InputList, Find_IgnoresCase) {
    IInput* input = append("Radius");
    EXPECT_EQ(findInList(m_list, "rADIUS"), input);
    EXPECT_EQ(findInList(m_list, "radiu"), nullptr);
}

TEST_F(InputList, EmptyList_HasNothing) {
    EXPECT_EQ(findInList(m_list, "a"), nullptr);
}

TEST_F(InputList, Index_IsMadeFromSixteenInputsOn) {
    appendMany(15);
    EXPECT_FALSE(isIndexed());
    append("last");
    EXPECT_TRUE(isIndexed());
    EXPECT_EQ(findInList(m_list, "LAST"), m_all.back());
}

TEST_F(InputList, Index_IsMadeWhenTheSixteenthIsInserted) {
    appendMany(15);
    m_all.push_back(new Input(nullptr, nullptr, "amid", AttrType::Int, AttrType::Null));
    insertIntoList(m_list, 7, m_all.back());
    EXPECT_TRUE(isIndexed());
    EXPECT_EQ(findInList(m_list, "in7"), m_all[7]);
}

TEST_F(InputList, FirstThatLeaves_GivesTheIndexToOneWithADescription) {
    appendMany(40);
    auto* second = static_cast<Input*>(m_all[1]);
    second->setDetails(RefersTo<AttrDetails>::adopt(new AttrDetails));
    removeFromList(m_list, 0);
    EXPECT_TRUE(isIndexed());
    EXPECT_NE(second->details(), nullptr);
    EXPECT_EQ(findInList(m_list, "in39"), m_all[39]);
}

TEST_F(InputList, FirstThatLeaves_GivesTheIndexToOneThatKeepsAValue) {
    appendMany(40);
    auto* second = static_cast<Input*>(m_all[1]);
    second->stash();
    removeFromList(m_list, 0);
    EXPECT_TRUE(isIndexed());
    EXPECT_NE(second->stashed(), nullptr);
}

TEST_F(InputList, FirstOfAName_Wins_WithAndWithoutIndex) {
    IInput* first = append("twin");
    append("TWIN");
    EXPECT_EQ(findInList(m_list, "Twin"), first);
    appendMany(100);
    append("twin");
    EXPECT_EQ(findInList(m_list, "Twin"), first);
}

// The hash of sixteen bytes ignores the last eight when the first eight are those of a constant.
TEST_F(InputList, NamesOfTheSameHash_AreToldApart) {
    const std::string start = "\x08\xc9\xbc\xf3\x67\xe6\x09\x6a";
    const std::string first = start + "firstone", second = start + "second12";
    ASSERT_EQ(NameView(first).foldedHash(), NameView(second).foldedHash());
    append(first.c_str());
    append(second.c_str());
    EXPECT_EQ(findInList(m_list, NameView(second)), m_all[1]);
    appendMany(40);
    EXPECT_EQ(findInList(m_list, NameView(second)), m_all[1]);
    removeFromList(m_list, 0);
    EXPECT_EQ(findInList(m_list, NameView(first)), nullptr);
    EXPECT_EQ(findInList(m_list, NameView(second)), m_all[1]);
}

TEST_F(InputList, FirstThatWasInsertedAndLeaves_TakesItsIndexWithIt) {
    appendMany(20);
    IInput* first = new Input(nullptr, nullptr, "first", AttrType::Int, AttrType::Null);
    m_all.push_back(first);
    insertIntoList(m_list, 0, first);
    IInput* last = append("last");
    removeFromList(m_list, indexInList<IInput>(m_list, first));
    EXPECT_EQ(findInList(m_list, "last"), last);
}

TEST_F(InputList, RemovedInput_IsNotFound_AndTheNextOfItsNameIs) {
    IInput* first = append("twin");
    appendMany(40);
    IInput* second = append("twin");
    removeFromList(m_list, indexInList<IInput>(m_list, first));
    EXPECT_EQ(findInList(m_list, "twin"), second);
    append("more");
    EXPECT_EQ(findInList(m_list, "twin"), second);
    removeFromList(m_list, indexInList<IInput>(m_list, second));
    EXPECT_EQ(findInList(m_list, "twin"), nullptr);
}

TEST_F(InputList, SecondOfThreeTwinsThatLeaves_LeavesTheFirstFound) {
    IInput* first = append("twin");
    IInput* second = append("twin");
    appendMany(40);
    append("twin");
    removeFromList(m_list, indexInList<IInput>(m_list, second));
    EXPECT_EQ(findInList(m_list, "twin"), first);
}

TEST_F(InputList, Removal_KeepsTheOrder) {
    append("a");
    append("b");
    append("c");
    removeFromList(m_list, 1);
    ASSERT_EQ(m_list.size(), 2u);
    EXPECT_EQ(m_list[0], m_all[0]);
    EXPECT_EQ(m_list[1], m_all[2]);
}

TEST_F(InputList, Removal_KeepsTheIndex) {
    appendMany(40);
    removeFromList(m_list, 20);
    removeFromList(m_list, 0);
    EXPECT_TRUE(isIndexed());
    EXPECT_EQ(findInList(m_list, "in0"), nullptr);
    EXPECT_EQ(findInList(m_list, "in20"), nullptr);
    EXPECT_EQ(findInList(m_list, "in39"), m_all[39]);
}

TEST_F(InputList, ListThatGetsShortAndLongAgain_ForgetsWhatLeft) {
    appendMany(16);
    removeFromList(m_list, 15);
    removeFromList(m_list, 14);
    IInput* added = append("a");
    append("b");
    EXPECT_EQ(findInList(m_list, "in14"), nullptr);
    EXPECT_EQ(findInList(m_list, "a"), added);
}

TEST_F(InputList, SixteenthThatLeaves_LeavesNoIndex) {
    appendMany(16);
    removeFromList(m_list, 15);
    EXPECT_FALSE(isIndexed());
    append("last");
    EXPECT_EQ(findInList(m_list, "in15"), nullptr);
}

TEST_F(InputList, FirstOfBefore_KeepsNoIndex) {
    appendMany(17);
    m_all.push_back(new Input(nullptr, nullptr, "first", AttrType::Int, AttrType::Null));
    insertIntoList(m_list, 0, m_all.back());
    removeFromList(m_list, 17);
    removeFromList(m_list, 16);
    removeFromList(m_list, 0);
    append("last");
    EXPECT_EQ(findInList(m_list, "in16"), nullptr);
}

TEST_F(InputList, Insertion_InFrontOfATwin_IsFoundInstead) {
    appendMany(40);
    IInput* earlier = append("IN30");
    m_list.pop_back();
    insertIntoList(m_list, 5, earlier);
    EXPECT_EQ(findInList(m_list, "in30"), earlier);
    removeFromList(m_list, 5);
    EXPECT_EQ(findInList(m_list, "in30"), m_all[30]);
}

TEST_F(InputList, Insertion_InFrontOfATwinAtTheEnd_IsFoundInstead) {
    appendMany(40);
    IInput* earlier = append("IN39");
    m_list.pop_back();
    insertIntoList(m_list, 39, earlier);
    EXPECT_EQ(findInList(m_list, "in39"), earlier);
}

TEST_F(InputList, Insertion_BehindATwin_LeavesTheFirstFound) {
    appendMany(40);
    IInput* later = append("IN5");
    m_list.pop_back();
    insertIntoList(m_list, 30, later);
    EXPECT_EQ(findInList(m_list, "in5"), m_all[5]);
}

TEST_F(InputList, FirstOfTwoTwinsInARowThatLeaves_LeavesTheSecondFound) {
    appendMany(20);
    IInput* first = append("twin");
    IInput* second = append("twin");
    removeFromList(m_list, indexInList<IInput>(m_list, first));
    EXPECT_EQ(findInList(m_list, "twin"), second);
}

TEST_F(InputList, ListThatGrowsAndShrinksAtTheFront_IsFoundByName) {
    appendMany(40);
    for (u64 i = 0; i < 40; ++i)
        removeFromList(m_list, 0);
    for (u64 i = 40; i-- > 0;)
        insertIntoList(m_list, 0, m_all[i]);
    for (u64 i = 0; i < 40; ++i) {
        ASSERT_EQ(m_list[i], m_all[i]);
        ASSERT_EQ(findInList(m_list, m_all[i]->name()), m_all[i]);
    }
}

TEST_F(InputList, RandomEdits_FindTheFirstOfEachName) {
    std::mt19937 random(3);
    for (int i = 0; i < 120; ++i)
        append(String::format("in%d", i % 70).buf());
    ds::Vector<IInput*> out;
    for (int step = 0; step < 4000; ++step) {
        const bool comesBack = m_list.empty() || (!out.empty() && random() % 2 == 0);
        if (comesBack) {
            insertIntoList(m_list, random() % (m_list.size() + 1), out.back());
            out.pop_back();
        } else {
            const u64 index = random() % 3 == 0 ? 0 : random() % m_list.size();
            out.insert(random() % (out.size() + 1), m_list[index]);
            removeFromList(m_list, index);
        }
        for (int i = 0; i < 70; i += 7) {
            const String name = String::format("in%d", i);
            const auto isNamed = [&](IInput* input) { return input->name().equals(name); };
            const auto first = std::ranges::find_if(m_list, isNamed);
            ASSERT_EQ(findInList(m_list, name), first == m_list.end() ? nullptr : *first);
        }
    }
}

TEST_F(InputList, ThousandsOfNames_AreAllFound) {
    appendMany(3000);
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(findInList(m_list, String::format("IN%d", i)), m_all[static_cast<u64>(i)]);
    EXPECT_EQ(findInList(m_list, "in3000"), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
