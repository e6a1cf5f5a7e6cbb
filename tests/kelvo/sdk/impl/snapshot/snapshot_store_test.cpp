#include "kelvo/sdk/impl/snapshot/snapshot_store.h"

#include <gtest/gtest.h>

#include <array>

namespace qv::kelvo_sdk::impl {
namespace {

int s_ended = 0;

struct Counted : SharedBlock {
    explicit Counted(SnapshotVersion first) : SharedBlock(&end, first) {}
    static void end(SharedBlock* block) noexcept {
        ++s_ended;
        delete static_cast<Counted*>(block);
    }
};

class SnapshotStoreTest : public testing::Test {
protected:
    SnapshotStoreTest() { s_ended = 0; }
    SharedBlock* make() { return new Counted(m_store.next()); }
    SnapshotStore::Entry& take(std::size_t i) {
        m_store.open(m_entries[i]);
        return m_entries[i];
    }

    SnapshotStore m_store;
    std::array<SnapshotStore::Entry, 4> m_entries;
};

TEST_F(SnapshotStoreTest, Retire_ABlockOfNoSnapshot_FreesIt) {
    m_store.retire(make());
    EXPECT_EQ(s_ended, 1);
}

TEST_F(SnapshotStoreTest, Retire_ABlockOfASnapshot_FreesItWithTheSnapshot) {
    SharedBlock* block = make();
    take(0);
    m_store.retire(block);
    EXPECT_EQ(s_ended, 0);
    m_store.close(m_entries[0]);
    EXPECT_EQ(s_ended, 1);
}

TEST_F(SnapshotStoreTest, Share_KeepsTheBlocksOfTheSnapshot) {
    for (const bool isSnapshotFirst : {true, false}) {
        s_ended = 0;
        SharedBlock* block = make();
        SnapshotStore::Entry& snapshot = take(0);
        m_store.retire(block);
        m_store.share(m_entries[1], snapshot);
        EXPECT_EQ(m_store.oldest(), snapshot.version);
        m_store.close(m_entries[isSnapshotFirst ? 0 : 1]);
        EXPECT_EQ(s_ended, 0);
        m_store.close(m_entries[isSnapshotFirst ? 1 : 0]);
        EXPECT_EQ(s_ended, 1);
    }
}

TEST_F(SnapshotStoreTest, Retire_ABlockOfTwoSnapshots_FreesItWithTheLastOfThem) {
    for (const bool isOldestFirst : {true, false}) {
        s_ended = 0;
        SharedBlock* block = make();
        take(0);
        take(1);
        m_store.retire(block);
        m_store.close(m_entries[isOldestFirst ? 0 : 1]);
        EXPECT_EQ(s_ended, 0);
        m_store.close(m_entries[isOldestFirst ? 1 : 0]);
        EXPECT_EQ(s_ended, 1);
    }
}

TEST_F(SnapshotStoreTest, Close_ASnapshotAmongOthers_FreesOnlyBlocksThatNoOtherHas) {
    take(0);
    SharedBlock* middle = make();
    take(1);
    m_store.retire(middle);
    take(2);
    m_store.close(m_entries[1]);
    EXPECT_EQ(s_ended, 1);
    m_store.close(m_entries[0]);
    m_store.close(m_entries[2]);
}

TEST_F(SnapshotStoreTest, Retire_ABlockWhoseSnapshotsEnded_FreesIt) {
    SharedBlock* block = make();
    m_store.close(take(0));
    m_store.retire(block);
    EXPECT_EQ(s_ended, 1);
}

TEST_F(SnapshotStoreTest, Oldest_FollowsTheSnapshotsAlive) {
    EXPECT_EQ(m_store.oldest(), 1U);
    take(0);
    take(1);
    EXPECT_EQ(m_store.oldest(), 1U);
    m_store.close(m_entries[0]);
    EXPECT_EQ(m_store.oldest(), 2U);
    m_store.close(m_entries[1]);
    EXPECT_EQ(m_store.oldest(), m_store.next());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
