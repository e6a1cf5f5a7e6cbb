#include "kelvo/sdk/impl/index/node_table.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

// The table never dereferences its nodes, so that any distinct addresses will do.
Node* fakeNode(std::size_t number) {
    static std::vector<char> addresses(1000);
    return reinterpret_cast<Node*>(&addresses[number]);
}

TEST(NodeTable, Find_IgnoresCase) {
    NodeTable table;
    table.add("Lamp", fakeNode(1));
    EXPECT_EQ(table.find("lAMP"), fakeNode(1));
    EXPECT_EQ(table.find("lamps"), nullptr);
}

TEST(NodeTable, Order_IsThatOfAddition) {
    NodeTable table;
    table.add("c", fakeNode(1));
    table.add("a", fakeNode(2));
    table.add("b", fakeNode(3));
    EXPECT_EQ(table.remove("a"), fakeNode(2));
    EXPECT_EQ(table.at(0), fakeNode(1));
    EXPECT_EQ(table.at(1), fakeNode(3));
    EXPECT_EQ(table.at(2), nullptr);
    EXPECT_EQ(table.size(), 2u);
}

TEST(NodeTable, Remove_UnknownName_ReturnsNull) {
    NodeTable table;
    EXPECT_EQ(table.remove("a"), nullptr);
}

TEST(NodeTable, Rename_KeepsThePlaceInOrder) {
    NodeTable table;
    table.add("a", fakeNode(1));
    table.add("b", fakeNode(2));
    table.rename("a", "z");
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_EQ(table.find("z"), fakeNode(1));
    EXPECT_EQ(table.at(0), fakeNode(1));
}

TEST(NodeTable, Rename_OfCaseAlone_Works) {
    NodeTable table;
    table.add("lamp", fakeNode(1));
    table.rename("lamp", "LAMP");
    EXPECT_EQ(table.find("lamp"), fakeNode(1));
}

TEST(NodeTable, PlaceOfARemovedNode_TakesAnotherNodeAndName) {
    NodeTable table;
    const NodeNumber number = table.add("a", fakeNode(1));
    table.add("b", fakeNode(2));
    NodeTable::Place place = table.take("a");
    EXPECT_EQ(table.add(std::move(place), "c", fakeNode(3), 1), number);
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_EQ(table.find("c"), fakeNode(3));
    EXPECT_EQ(table.at(1), fakeNode(3));
}

TEST(NodeTable, NodeWithoutAPlace_IsAddedAsANewOne) {
    NodeTable table;
    const NodeNumber number = table.add("a", fakeNode(1));
    NodeTable::Place none = table.take("x");
    EXPECT_NE(table.add(std::move(none), "b", fakeNode(2), 0), number);
    EXPECT_EQ(table.at(0), fakeNode(2));
}

struct FreeNameCase {
    std::vector<const char*> taken;
    const char* wanted;
    const char* expected;
    const char* note;
};

class NodeTableFreeName : public testing::TestWithParam<FreeNameCase> {};

TEST_P(NodeTableFreeName, Result) {
    NodeTable table;
    std::size_t number = 0;
    for (const char* name : GetParam().taken)
        table.add(name, fakeNode(number++));
    EXPECT_STREQ(table.freeName(GetParam().wanted).buf(), GetParam().expected) << GetParam().note;
}

const FreeNameCase kFreeNames[] = {
    {{}, "lamp", "lamp", "a free name stays"},
    {{"lamp"}, "lamp", "lamp1", "the first number is 1"},
    {{"lamp"}, "LAMP", "LAMP1", "taken without regard to case, kept in its own"},
    {{"lamp", "lamp1"}, "lamp", "lamp2", "taken numbers are passed over"},
    {{"lamp3"}, "lamp3", "lamp4", "a number counts on"},
    {{"lamp3"}, "lamp", "lamp", "a number of its own is another name"},
    {{"lamp", "LAMP1", "Lamp2"}, "lamp", "lamp3", "numbered names are taken in any case"},
    {{"a9"}, "a9", "a10", "counting on adds a digit"},
    {{"a999999998"}, "a999999998", "a999999999", "a number of 9 digits counts on"},
    {{"a1234567890"}, "a1234567890", "a12345678901", "one of 10 digits belongs to the name"},
    {{"a1234567890123"}, "a1234567890123", "a12345678901231", "a long number belongs to the name"},
};
INSTANTIATE_TEST_SUITE_P(Table, NodeTableFreeName, testing::ValuesIn(kFreeNames));

TEST(NodeTable, FreeName_AfterRemoval_GivesTheFreedNumberAgain) {
    NodeTable table;
    for (std::size_t i = 0; i < 4; ++i)
        table.add(table.freeName("lamp"), fakeNode(i));
    table.remove("lamp1");
    EXPECT_STREQ(table.freeName("lamp").buf(), "lamp1");
}

TEST(NodeTable, FreeName_ManyOfOneName_AreNumberedInOrder) {
    NodeTable table;
    for (std::size_t i = 0; i < 900; ++i)
        table.add(table.freeName("n"), fakeNode(i));
    EXPECT_EQ(table.find("n899"), fakeNode(899));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
