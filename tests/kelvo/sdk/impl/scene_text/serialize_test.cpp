#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/serialize.h"
#include "kelvo/sdk/interfaces/i_input.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class Serialize : public testing::Test {
protected:
    Serialize() {
        m_a->createInput("same", AttrType::Real);
        m_a->createInput("other", AttrType::Real)->setReal(2);
        m_a->createInput("link", AttrType::Node)->setNode(m_b);
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    INode* m_a = m_scene->createNode("thing", "a");
    INode* m_b = m_scene->createNode("thing", "b");
};

const char* const kA = "node thing \"a\" {\n    Real same = 0\n    Real other = 2\n"
                       "    Node link = b\n}\n";
const char* const kChangedA = "node thing \"a\" {\n    Real other = 2\n    Node link = b\n}\n";
const char* const kB = "node thing \"b\" {\n}\n";

TEST_F(Serialize, Plain_WritesTheNodeAlone) {
    EXPECT_STREQ(m_a->serialize(false, false).buf(), kA);
}

TEST_F(Serialize, ChangedOnly_LeavesOutWhatIsAtItsDefault) {
    EXPECT_STREQ(m_a->serialize(false, true).buf(), kChangedA);
}

TEST_F(Serialize, WithDependencies_WritesThemFirst) {
    EXPECT_STREQ(m_a->serialize(true, false).buf(), (String(kB) + kA).buf());
}

TEST_F(Serialize, Writer_TakesTheFlagsTheOtherWayRound) {
    StringIO out;
    serialize(m_a, out, true, false);
    EXPECT_STREQ(out.buf(), kChangedA);
}

TEST_F(Serialize, Writer_AppendsToWhatIsThere) {
    StringIO out;
    out.append("# first\n");
    serialize(m_b, out, false, false);
    EXPECT_STREQ(out.buf(), (String("# first\n") + kB).buf());
}

TEST_F(Serialize, NoNode_WritesNothing) {
    StringIO out;
    serialize(nullptr, out, true, true);
    EXPECT_TRUE(out.isEmpty());
}

TEST_F(Serialize, CyclesOfLinks_AreWrittenOnce) {
    m_b->createInput("back", AttrType::Node)->setNode(m_a);
    EXPECT_STREQ(m_a->serialize(true, false).buf(),
                 (String("node thing \"b\" {\n    Node back = a\n}\n") + kA).buf());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
