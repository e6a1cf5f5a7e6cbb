#include "kelvo/sdk/impl/graph/node_iterator.h"

#include "kelvo/sdk/impl/graph/node.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class NodeIteratorTest : public testing::Test {
protected:
    [[nodiscard]] std::string walk(ds::Vector<INode*> nodes, bool reverse, bool unique) {
        const auto iterator =
            RefersTo<NodeIterator>::adopt(new NodeIterator(std::move(nodes), reverse, unique));
        std::string names;
        for (const INode* node = iterator->first(); node; node = iterator->next())
            names += node->name().buf();
        EXPECT_EQ(iterator->count(), names.size());
        EXPECT_EQ(iterator->next(), nullptr);
        return names;
    }

    Node m_a{nullptr, "thing", "a"}, m_b{nullptr, "thing", "b"}, m_c{nullptr, "thing", "c"};
};

TEST_F(NodeIteratorTest, Plain_YieldsTheListAsItIs) {
    EXPECT_EQ(walk({&m_a, &m_b, &m_a, &m_c}, false, false), "abac");
    EXPECT_EQ(walk({}, false, false), "");
}

TEST_F(NodeIteratorTest, Reverse_WalksBackToFront) {
    EXPECT_EQ(walk({&m_a, &m_b, &m_a, &m_c}, true, false), "caba");
}

TEST_F(NodeIteratorTest, Unique_LeavesOutWhatWasYieldedBefore) {
    EXPECT_EQ(walk({&m_a, &m_b, &m_a, &m_c, &m_b}, false, true), "abc");
    EXPECT_EQ(walk({&m_a, &m_b, &m_a, &m_c}, true, true), "cab");
}

TEST_F(NodeIteratorTest, First_StartsOver) {
    const auto iterator = RefersTo<NodeIterator>::adopt(
        new NodeIterator(ds::Vector<INode*>{&m_a, &m_b}, false, false));
    EXPECT_EQ(iterator->refCount(), 1);
    EXPECT_EQ(iterator->next(), &m_a);
    EXPECT_EQ(iterator->next(), &m_b);
    EXPECT_EQ(iterator->first(), &m_a);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
