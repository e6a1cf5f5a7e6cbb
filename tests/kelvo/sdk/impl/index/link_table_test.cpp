#include "kelvo/sdk/impl/index/link_table.h"

#include <gtest/gtest.h>

#include <memory>

namespace qv::kelvo_sdk::impl {
namespace {

// The table never dereferences nodes and inputs, so that any distinct addresses will do.
interfaces::INode* fakeNode(int& place) {
    return reinterpret_cast<interfaces::INode*>(&place);
}
Input* fakeInput(int& place) {
    return reinterpret_cast<Input*>(&place);
}

class LinkTableTest : public testing::Test {
protected:
    LinkTableTest() {
        for (int i = 0; i < 3; ++i)
            m_links[i].input = fakeInput(m_places[i]);
    }

    int m_places[5] = {};
    interfaces::INode* m_a = fakeNode(m_places[3]);
    interfaces::INode* m_b = fakeNode(m_places[4]);
    Link m_links[3];
};

TEST_F(LinkTableTest, First_IsTheOldestLink) {
    LinkTable table;
    EXPECT_EQ(table.first(m_a), nullptr);
    for (Link& link : m_links)
        table.add(link, m_a);
    EXPECT_EQ(table.first(m_a), m_links[0].input);
    table.remove(m_links[0]);
    EXPECT_EQ(table.first(m_a), m_links[1].input);
}

TEST_F(LinkTableTest, Count_IsPerTarget) {
    LinkTable table;
    table.add(m_links[0], m_a);
    table.add(m_links[1], m_b);
    table.add(m_links[2], m_a);
    EXPECT_EQ(table.count(m_a), 2u);
    EXPECT_EQ(table.count(m_b), 1u);
    table.remove(m_links[1]);
    EXPECT_EQ(table.count(m_b), 0u);
    EXPECT_EQ(table.first(m_b), nullptr);
}

TEST_F(LinkTableTest, Removal_FromTheMiddle_KeepsTheOthers) {
    LinkTable table;
    for (Link& link : m_links)
        table.add(link, m_a);
    table.remove(m_links[1]);
    table.remove(m_links[0]);
    EXPECT_EQ(table.first(m_a), m_links[2].input);
    EXPECT_EQ(m_links[1].table, nullptr);
}

TEST_F(LinkTableTest, DyingTable_LetsItsLinksGo) {
    auto table = std::make_unique<LinkTable>();
    for (Link& link : m_links)
        table->add(link, m_a);
    table.reset();
    for (const Link& link : m_links)
        EXPECT_EQ(link.table, nullptr);
    EXPECT_EQ(m_links[0].target, m_a);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
