#include "kelvo/sdk/impl/snapshot/dependency_table.h"

#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class DependencyTableTest : public testing::Test {
protected:
    DependencyTableTest() {
        for (const char* name : {"a", "b", "c"}) {
            const kelvo_sdk::Node made = m_scene.createNode("thing", name);
            made.createArray("links", AttrType::Node);
            made.createInput("x", AttrType::Real);
            static_cast<void>(made.createOutput("o", AttrType::Real));
        }
    }
    void link(const char* from, const char* to) {
        m_scene[from]["links"].append().set(m_scene[to]);
        update(from);
    }
    void update(const char* name) {
        m_snapshot = m_scene.snapshot();
        const auto* picture = static_cast<const SnapshotPicture*>(m_snapshot.get());
        const NodeNumber number = m_snapshot[name].number();
        m_table.set(number, picture->tables().record(number));
    }
    std::string readersOf(const char* name) {
        std::multiset<std::string> names;
        m_table.forEachReader(m_snapshot[name].number(), [&](NodeNumber reader) {
            names.emplace(m_snapshot.nodeWithNumber(reader).name().view());
        });
        std::string text;
        for (const std::string& each : names)
            text += each + " ";
        return text;
    }
    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Snapshot m_snapshot;
    DependencyTable m_table;
};

TEST_F(DependencyTableTest, Readers_OfLinksAndConnections_AreFound) {
    link("b", "a");
    m_scene["c"]["x"].connect(m_scene["a"].output("o"));
    update("c");
    link("c", "b");
    EXPECT_EQ(readersOf("a"), "b c ");
    EXPECT_EQ(readersOf("b"), "c ");
    EXPECT_EQ(readersOf("c"), "");
}

TEST_F(DependencyTableTest, Set_Again_ReplacesTheDependencies) {
    link("b", "a");
    link("b", "a");
    link("c", "a");
    EXPECT_EQ(readersOf("a"), "b b c ");
    m_scene["b"]["links"].clearInputs();
    update("b");
    EXPECT_EQ(readersOf("a"), "c ");
    link("b", "c");
    EXPECT_EQ(readersOf("a") + readersOf("c"), "c b ");
}

TEST_F(DependencyTableTest, Set_OfNoRecord_RemovesTheDependenciesAlone) {
    link("b", "a");
    link("c", "b");
    m_table.set(m_snapshot["b"].number(), nullptr);
    EXPECT_EQ(readersOf("a") + readersOf("b"), "c ");
    m_table.set(m_snapshot["c"].number(), nullptr);
    EXPECT_EQ(readersOf("b"), "");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
