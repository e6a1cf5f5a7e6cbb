#include "kelvo/sdk/impl/snapshot/stored_nodes.h"

#include "kelvo/sdk/impl/snapshot/type_records.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/memory_pieces.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class StoredNodesTest : public testing::Test {
protected:
    StoredNodesTest() {
        const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
        for (u32 i = 0; i < 1'000; ++i)
            EXPECT_TRUE(scene.createNode("t", String::format("n%u", i)).result());
        m_stored = tests::MemorySink::store(scene.snapshot());
    }
    [[nodiscard]] RefersTo<StoredNodes> opened() {
        auto nodes = RefersTo<StoredNodes>::adopt(
            new StoredNodes(RefersTo<PieceSource>(m_stored.get()), m_shapes, m_types));
        EXPECT_TRUE(nodes->open());
        return nodes;
    }
    // Makes a piece of nodes unreadable: the first one is the first piece.
    void damage(u64 piece) { m_stored->pieces[piece].size = 2; }

    ShapeTable m_shapes;
    TypeRecords m_types;
    RefersTo<tests::MemoryPieces> m_stored;
};

TEST_F(StoredNodesTest, Records_AreFoundByNumberAndName) {
    const auto nodes = opened();
    EXPECT_EQ(nodes->size(), 1'000u);
    EXPECT_EQ(nodes->record(700)->name(), "n700");
    EXPECT_EQ(nodes->find("N700"), nodes->record(700));
    EXPECT_EQ(nodes->record(1'000), nullptr);
    EXPECT_EQ(nodes->find("n1000"), nullptr);
}

TEST_F(StoredNodesTest, EqualCommentsOfSuccessiveNodes_AreOne) {
    const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    ASSERT_TRUE(scene.read("node t \"a\" {\n}\n\nnode t \"b\" {\n}\n\nnode t \"c\" {\n}\n"
                           "# d\nnode t \"d\" {\n    Real x = 1  # x\n}\n"
                           "node t \"e\" {\n    Real y = 1  # x\n}\n\nnode t \"f\" {\n}\n",
                           "text", nullptr));
    m_stored = tests::MemorySink::store(scene.snapshot());
    const auto nodes = opened();
    const auto extras = [&](const char* name) { return nodes->find(name)->extras(); };
    EXPECT_EQ(extras("a"), nullptr);
    ASSERT_NE(extras("b"), nullptr);
    EXPECT_EQ(extras("b"), extras("c"));
    EXPECT_EQ(extras("d")->comments.leading, "# d\n");
    EXPECT_NE(extras("d"), extras("e"));
    EXPECT_EQ(extras("e")->commentsOfInput(0, 0)->trailing, "# x");
    EXPECT_EQ(extras("f")->comments.leading, "\n");
}

TEST_F(StoredNodesTest, ADamagedPiece_HidesItsNodesAlone) {
    damage(0);
    const auto nodes = opened();
    EXPECT_TRUE(nodes->damage());
    EXPECT_EQ(nodes->record(5), nullptr);
    EXPECT_EQ(nodes->find("n5"), nullptr);
    EXPECT_NE(nodes->record(300), nullptr);
    EXPECT_EQ(nodes->damage().message(),
              "piece 0, byte 0: the nodes cannot be read, because the data are damaged or were "
              "written by a faulty program.");
}

TEST_F(StoredNodesTest, AVerification_FindsDamageThatNobodyMet) {
    damage(1);
    const auto nodes = opened();
    EXPECT_TRUE(nodes->damage());
    EXPECT_FALSE(nodes->verify());
    EXPECT_FALSE(nodes->damage());
}

TEST_F(StoredNodesTest, ASourceWithoutPieces_IsRefused) {
    m_stored->pieces.clear();
    StoredNodes nodes(RefersTo<PieceSource>(m_stored.get()), m_shapes, m_types);
    EXPECT_EQ(nodes.open().message(), "The stored snapshot has no pieces.");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
