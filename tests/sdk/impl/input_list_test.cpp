#include "sdk/impl/input.h"
#include "sdk/impl/input_list.h"
#include "sdk/impl/name_index.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

// A list of inputs without a node.
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

TEST_F(InputList, FirstOfAName_Wins_WithAndWithoutIndex) {
    IInput* first = append("twin");
    append("TWIN");
    EXPECT_EQ(findInList(m_list, "Twin"), first);
    appendMany(100);
    append("twin");
    EXPECT_EQ(findInList(m_list, "Twin"), first);
}

TEST_F(InputList, FirstThatWasInsertedAndLeaves_TakesItsIndexWithIt) {
    appendMany(20);
    auto* first = new Input(nullptr, nullptr, "first", AttrType::Int, AttrType::Null);
    m_all.push_back(first);
    insertIntoList(m_list, 0, first);
    IInput* last = append("last");
    EXPECT_TRUE(removeFromList(m_list, first));
    EXPECT_EQ(findInList(m_list, "last"), last);
}

TEST_F(InputList, RemovedInput_IsNotFound_AndTheNextOfItsNameIs) {
    IInput* first = append("twin");
    appendMany(40);
    IInput* second = append("twin");
    EXPECT_TRUE(removeFromList(m_list, first));
    EXPECT_EQ(findInList(m_list, "twin"), second);
    append("more");
    EXPECT_EQ(findInList(m_list, "twin"), second);
    EXPECT_FALSE(removeFromList(m_list, first));
}

TEST_F(InputList, Removal_KeepsTheOrderAndTakesEveryOccurrence) {
    append("a");
    IInput* b = append("b");
    append("c");
    m_list.push_back(b);
    EXPECT_TRUE(removeFromList(m_list, b));
    ASSERT_EQ(m_list.size(), 2u);
    EXPECT_EQ(m_list[0], m_all[0]);
    EXPECT_EQ(m_list[1], m_all[2]);
}

TEST_F(InputList, ThousandsOfNames_AreAllFound) {
    appendMany(3000);
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(findInList(m_list, String::format("IN%d", i)), m_all[static_cast<u64>(i)]);
    EXPECT_EQ(findInList(m_list, "in3000"), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
