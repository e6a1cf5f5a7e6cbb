#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

const char* const kSample = R"(kelvo scene 1

# The room.
node xform "room" {
    Array<Node> children = [lamp, desk]
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 2.5 0 1)
}
node light : base, other "lamp" @internal {
    Bool on = true
    Int count = -3
    UInt size = 7
    Real power = 0.1 @stashed 5 @min 0 @max 100 @unit "W" # bright
    Vec2 v2 = (1 2)
    Vec3 v3 = (1 2 3)
    Vec4 v4 = (1 2 3 4)
    Pos2 p2 = (1 2)
    Pos3 p3 = (1 2 3)
    Quat q = (0 0 0 1)
    Rgba color = (0.8 0.6 0.4 1) <- desk.shade
    Mat3 m3 = (1 0 0  0 1 0  0 0 1)
    String text = "a \"text\"\n\x00\xff"
    Node target = room
    Node nobody = null
    Buffer<Float> samples = [1 -0 inf nan 1e-45]
    Object _meta {
        String author = "me"
        Array<Real> weights = [0.25, 0.75]
    }
}
node mesh "desk" {
    output Rgba shade
}
)";

TEST(SceneRead, Diagnostics_AreAppended) {
    const auto scene = kelvo_sdk::Scene::create();
    Diagnostics found;
    EXPECT_FALSE(scene.read("kelvo scene 1\nfirst", "a.kns", &found));
    EXPECT_FALSE(scene.read("kelvo scene 1\nsecond", "b.kns", &found));
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].source, "a.kns");
    EXPECT_EQ(found[1].source, "b.kns");
}

class SceneReaderTest : public testing::Test {
protected:
    bool read(std::string_view text) {
        m_errors.clear();
        ReadOptions options;
        options.source = "t";
        return readScene(*m_scene, text, options, &m_errors);
    }
    [[nodiscard]] std::string firstError() const {
        return m_errors.empty() ? "" : m_errors[0].text().buf();
    }
    [[nodiscard]] std::string written() const {
        return kelvo_sdk::Scene(m_scene.get()).text().buf();
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Diagnostics m_errors;
};

TEST_F(SceneReaderTest, WrittenText_IsTheTextThatWasRead) {
    ASSERT_TRUE(read(kSample)) << firstError();
    EXPECT_EQ(written(), kSample);
    EXPECT_EQ(m_scene->nodeCount(), 3u);
}

TEST_F(SceneReaderTest, TextCutAtEveryByte_IsReadWholeOrNotAtAll) {
    const std::string_view text = kSample;
    for (std::size_t length = 0; length < text.size(); ++length) {
        m_scene = RefersTo<Scene>::adopt(new Scene);
        const bool done = read(text.substr(0, length));
        EXPECT_EQ(done, m_errors.empty()) << length;
        EXPECT_TRUE(done || m_scene->nodeCount() == 0) << length;
        EXPECT_LE(m_errors.size(), 20u);
    }
}

TEST_F(SceneReaderTest, FlippedBytes_NeverCrashAndLeaveAllOrNothing) {
    for (std::size_t at = 0; at < std::string_view(kSample).size(); ++at) {
        for (const int flip : {1, 32, 128}) {
            std::string text = kSample;
            text[at] = static_cast<char>(text[at] ^ flip);
            m_scene = RefersTo<Scene>::adopt(new Scene);
            ASSERT_TRUE(read(text) || m_scene->nodeCount() == 0) << at;
        }
    }
}

TEST_F(SceneReaderTest, FailedRead_LeavesTheSceneAsItWas) {
    ASSERT_TRUE(read(kSample));
    const std::string before = written();
    EXPECT_FALSE(read("node a \"x\" {\n}\nnode b \"y\" {\n    Reel r = 1\n}\n"));
    EXPECT_EQ(written(), before);
}

TEST_F(SceneReaderTest, TakenNames_GetANumberAndReferencesFollow) {
    ASSERT_TRUE(read("node a \"x\" {\n    Node self = x\n}\n"));
    ASSERT_TRUE(read("node a \"x\" {\n    Node self = x\n}\n"));
    INode* second = m_scene->findNode("x1");
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(static_cast<Input*>(second->input(u64(0)))->value().asNode(), second);
}

struct BadText {
    const char* text;
    const char* error;
    const char* note;
};

class SceneReaderBad : public SceneReaderTest, public testing::WithParamInterface<BadText> {};

// The first error begins with its place and contains the expected text.
TEST_P(SceneReaderBad, IsRefusedWithItsPlace) {
    EXPECT_FALSE(read(GetParam().text)) << GetParam().note;
    EXPECT_NE(firstError().find(GetParam().error), std::string::npos) << firstError();
    EXPECT_EQ(firstError().rfind("t:", 0), 0u) << firstError();
    EXPECT_EQ(m_scene->nodeCount(), 0u);
}

const BadText kBadTexts[] = {
    {"kelvo scene 2\n", "t:1:13: ", "another version"},
    {"node a \"x\" {\n    Reel r = 1\n}\n",
     "t:2:5: node 'x': Unknown kind 'Reel': did you mean "
     "'Real'?",
     "the nearest kind"},
    {"node a \"my x\" {\n}\n", "t:1:8: ", "an illegal name"},
    {"node a \"x\" {\n}\nnode a \"X\" {\n}\n", "t:3:8: ", "a name twice"},
    {"node a \"x\" {\n    Node n = lmap\n}\nnode a \"lamp\" {\n}\n", "'lamp'", "the nearest node"},
    {"node a \"x\" {\n    Real r = 1 <- x.out\n}\n", "t:2:", "no such output"},
    {"node a \"x\" {\n    Real r = 1 <- x.out\n    output Real out\n}\n", "x.out", "a loop"},
    {"node a \"x\" {\n    Mat4 m = (1 2)\n}\n", "t:2:", "too few numbers"},
    {"node a \"x\" {\n    Int i = 1.5\n}\n", "t:2:", "no integer"},
    {"node a \"x\" {\n    String s = \"open\n}\n", "t:2:", "a text that is not closed"},
    {"node a \"x\" {\n", "t:", "a node that is not closed"},
    {"node a \"x\" {\n    String s = \"\xff\"\n}\n", "t:2:17: ", "no UTF-8"},
    {"node a \"x\" {\n    Buffer<Floot> b = [1]\n}\n", "Float", "an unknown element type"},
};
INSTANTIATE_TEST_SUITE_P(Table, SceneReaderBad, testing::ValuesIn(kBadTexts));

TEST_F(SceneReaderTest, MillionOpenBrackets_AreAnError) {
    const std::string brackets(1000000, '[');
    EXPECT_FALSE(read("node a \"x\" {\n    Array<Array> a = " + brackets));
    EXPECT_FALSE(read("node a \"x\" {\n    Buffer<Float> b = " + brackets));
    EXPECT_FALSE(read(std::string(1000000, '{')));
    EXPECT_FALSE(read(std::string(1000000, '(')));
    EXPECT_EQ(m_scene->nodeCount(), 0u);
}

TEST_F(SceneReaderTest, DeepObjects_AreBounded) {
    std::string text = "node a \"x\" {\n";
    for (int i = 0; i < 100000; ++i)
        text += "Object o {\n";
    EXPECT_FALSE(read(text));
    EXPECT_LE(m_errors.size(), 20u);
}

TEST_F(SceneReaderTest, ManyErrors_AreReportedUpToTwenty) {
    std::string text = "node a \"x\" {\n";
    for (int i = 0; i < 100; ++i)
        text += "    Reel r = 1\n";
    EXPECT_FALSE(read(text + "}\n"));
    EXPECT_EQ(m_errors.size(), 20u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
