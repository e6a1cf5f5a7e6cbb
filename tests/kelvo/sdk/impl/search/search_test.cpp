#include "kelvo/sdk/search.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* sceneText = R"(kelvo scene 1

node light "lamp" {
    Real radius = 0.5
    UInt count = 3
    Node target = desk
    String label = "say hi"
    Object shade {
        Rgba tint = (1 0 0 1)
        Array<Vec2> stops = [(0 1), (2 3)]
    }
}
node mesh : geometry "desk" {
    Array<Real> weights = [1, 2, 3]
    Real radius = 2 <- wood.size
}
node material "wood" {
    Int size = -1
    output Real size
}
)";

class Search : public testing::Test {
protected:
    Search() { EXPECT_TRUE(m_scene.read(sceneText, "text")); }

    // Returns the paths of all matches, each followed by a blank.
    [[nodiscard]] std::string found(const Query& query) const {
        const Matches matches = m_scene.find(query);
        EXPECT_TRUE(matches) << matches.fault().message;
        std::string paths;
        for (const Match& match : matches)
            paths += (match.path() + " ").view();
        EXPECT_EQ(foundInSnapshot(query), paths);
        return paths;
    }

    // A snapshot has no libraries, so that the query has to name those of the scene.
    [[nodiscard]] std::string foundInSnapshot(Query query) const {
        for (u64 i = 0; i < m_scene.libraryCount(); ++i)
            query.libraries.push_back(m_scene.library(i));
        const Snapshot snapshot = m_scene.snapshot();
        std::string paths;
        for (const SnapshotMatch& match : find(snapshot, query))
            paths += (match.path() + " ").view();
        EXPECT_EQ(visited(snapshot, query), paths);
        return paths;
    }

    // Searches one node at a time.
    [[nodiscard]] static std::string visited(const Snapshot& snapshot, const Query& query) {
        std::string paths;
        for (u64 i = 0; i < snapshot.nodeCount(); ++i)
            visitMatches(snapshot, query, i, i + 1,
                         [&](const SnapshotMatch& match) { paths += (match.path() + " ").view(); });
        return paths;
    }

    Scene m_scene = Scene::create();
};

TEST_F(Search, Patterns_AreComparedWithWholePaths) {
    const struct {
        const char* pattern;
        const char* expected;
    } cases[] = {
        {"lamp", "lamp "},
        {"LAMP.Radius", "lamp.radius "},
        {"lam", ""},
        {"*", "lamp desk wood "},
        {"?amp", "lamp "},
        {"*.radius", "lamp.radius desk.radius "},
        {"lamp.shade.*", "lamp.shade.tint lamp.shade.stops "},
        {"lamp.**.stops", "lamp.shade.stops "},
        {"**.tint", "lamp.shade.tint "},
        {"*.weights[?]", "desk.weights[0] desk.weights[1] desk.weights[2] "},
        {"**[1]", "lamp.shade.stops[1] desk.weights[1] "},
    };
    for (const auto& each : cases)
        EXPECT_EQ(found({.pattern = each.pattern}), each.expected) << each.pattern;
}

TEST_F(Search, Matches_AreHandlesInTheOrderOfTheScene) {
    const Matches matches = m_scene.find("lamp*.**r*");
    ASSERT_EQ(matches.size(), 2u);
    EXPECT_FALSE(matches.empty());
    EXPECT_EQ(matches[0].input, m_scene["lamp"]["radius"]);
    EXPECT_EQ(matches[0].node, m_scene["lamp"]);
    EXPECT_EQ(matches[1].path(), "lamp.target");
}

TEST_F(Search, ANode_IsAMatchWithoutAnInput) {
    const Matches matches = m_scene.find("desk");
    ASSERT_EQ(matches.size(), 1u);
    EXPECT_EQ(matches[0].node, m_scene["desk"]);
    EXPECT_FALSE(matches[0].input);
}

TEST_F(Search, NodesAndInputs_CanBeLeftOut) {
    EXPECT_EQ(found({.pattern = "wood**", .inputs = false}), "wood ");
    EXPECT_EQ(found({.pattern = "wood**", .nodes = false}), "wood.size ");
    EXPECT_EQ(found({.nodes = false, .inputs = false}), "");
}

TEST_F(Search, Types_AreThoseOfNodesTheirBasesAndKinds) {
    const struct {
        const char* type;
        const char* expected;
    } cases[] = {
        {"light", "lamp "},
        {"GEOMETRY", "desk "},
        {"geo*", "desk "},
        {"Array", "lamp.shade.stops desk.weights "},
        {"array<real>", "desk.weights "},
        {"Int", "wood.size "},
        {"lamp", ""},
        {"", ""},
    };
    for (const auto& each : cases)
        EXPECT_EQ(found({.type = each.type}), each.expected) << each.type;
}

TEST_F(Search, BasesThatTheLibrariesOfTheSceneKnow_Count) {
    const LibInfo library = LibInfo::create();
    ASSERT_TRUE(library.readDefinitions("type emitter @abstract {\n}\ntype light : emitter {\n}\n",
                                        "types.knd"));
    EXPECT_EQ(found({.type = "emitter"}), "");
    EXPECT_EQ(found({.type = "emitter", .libraries = {library}}), "lamp ");
    m_scene.addLibrary(library);
    EXPECT_EQ(found({.type = "emitter"}), "lamp ");
}

TEST_F(Search, OfLibrariesThatKnowAType_TheFirstCounts) {
    const LibInfo first = LibInfo::create();
    const LibInfo second = LibInfo::create();
    ASSERT_TRUE(first.readDefinitions("type light {\n}\n", "first.knd"));
    ASSERT_TRUE(second.readDefinitions("type emitter {\n}\ntype light : emitter {\n}\n", "second"));
    EXPECT_EQ(found({.type = "emitter", .libraries = {first, second}}), "");
    EXPECT_EQ(found({.type = "emitter", .libraries = {second, first}}), "lamp ");
}

TEST_F(Search, Values_AreComparedAsTextOrNumbers) {
    const struct {
        const char* value;
        const char* expected;
    } cases[] = {
        {"desk", "lamp.target "},
        {"3", "lamp.count desk.weights[2] "},
        {"say*", "lamp.label "},
        {"Say*", ""},
        {"(1 0 0 ?)", "lamp.shade.tint "},
        {"[1, 2, 3]", "desk.weights "},
        {"<0", "wood.size "},
        {">=2", "lamp.count desk.weights[1] desk.weights[2] desk.radius "},
        {"=0.5", "lamp.radius "},
    };
    for (const auto& each : cases)
        EXPECT_EQ(found({.value = each.value}), each.expected) << each.value;
}

TEST_F(Search, Conditions_HoldTogether) {
    EXPECT_EQ(found({.pattern = "*.radius", .type = "Real", .value = ">1"}), "desk.radius ");
    EXPECT_EQ(found({.pattern = "lamp*", .type = "Real", .value = ">1"}), "");
}

TEST_F(Search, Faults_TellWhatAndWhere) {
    const struct {
        Query query;
        const char* message;
        u64 at;
    } cases[] = {
        {{.pattern = ""}, "'' is no pattern: it has nothing.", 0},
        {{.pattern = "lamp..x"}, "'lamp..x' is no pattern: it has an empty step.", 4},
        {{.pattern = "a.b[x]"},
         "'a.b[x]' is no pattern: it has between '[' and ']' stands a number, '*' or '?'.",
         3},
        {{.pattern = "a b"}, "'a b' is no pattern: it has a character that no path has.", 1},
        {{.value = "<x"},
         "'x' in '<x' is no number to compare with (a text that begins like this needs a '\\' in "
         "front).",
         1},
        {{.value = ">="},
         "'' in '>=' is no number to compare with (a text that begins like this needs a '\\' in "
         "front).",
         2},
    };
    for (const auto& each : cases) {
        const Matches matches = m_scene.find(each.query);
        EXPECT_FALSE(matches);
        EXPECT_TRUE(matches.empty());
        EXPECT_EQ(matches.fault().message, each.message);
        EXPECT_EQ(matches.fault().at, each.at) << each.message;
        EXPECT_EQ(each.query.fault().message, each.message);
    }
}

TEST_F(Search, WithoutAFault_MatchesAreTrueEvenWhenThereAreNone) {
    const Matches none = m_scene.find("nothing");
    EXPECT_TRUE(none);
    EXPECT_TRUE(none.empty());
    EXPECT_FALSE(Query().fault());
}

TEST_F(Search, EmptyHandle_HasNothing) {
    EXPECT_TRUE(Scene().find("*").empty());
    EXPECT_FALSE(Scene().find("a..b"));
}

TEST_F(Search, Search_ChangesNothing) {
    const String before = m_scene.text();
    m_scene["lamp"].setDirty(false);
    m_scene["desk"].setDirty(false);
    m_scene["wood"].setDirty(false);
    EXPECT_NE(found({.value = "*"}), "");
    EXPECT_EQ(m_scene.text(), before);
    EXPECT_FALSE(m_scene["desk"].dirty());
}

TEST_F(Search, FaultyQueriesOfSnapshots_HaveTheSameFault) {
    const Query query{.pattern = "a["};
    const SnapshotMatches matches = find(m_scene.snapshot(), query);
    EXPECT_FALSE(matches);
    EXPECT_EQ(matches.fault().message, m_scene.find(query).fault().message);
    EXPECT_TRUE(find(Snapshot(), {.pattern = "*"}));
    visitMatches(m_scene.snapshot(), query, 0, 100,
                 [](const SnapshotMatch& match) { ADD_FAILURE() << match.path(); });
}

TEST_F(Search, LargeSnapshots_AreFoundInTheOrderOfTheScene) {
    const Scene scene = Scene::create();
    for (int i = 0; i < 9000; ++i)
        (void)scene.createNode("t", String(std::string_view("n" + std::to_string(i))));
    const Snapshot snapshot = scene.snapshot();
    const SnapshotMatches matches = find(snapshot, {.pattern = "*"});
    ASSERT_EQ(matches.size(), 9000u);
    for (u64 i = 0; i < 9000; ++i)
        ASSERT_EQ(matches[i].node, snapshot.node(i)) << i;
}

TEST_F(Search, DeepArrays_AreSearchedWithoutRecursion) {
    const Node deep = m_scene.createNode("t", "deep");
    Input input = deep.createInput("o", AttrType::Object);
    for (int depth = 0; depth < 2000; ++depth)
        input = input.createInput("o", AttrType::Object);
    input.createInput("last", AttrType::Int).set(77);
    EXPECT_EQ(m_scene.find({.pattern = "deep.**.last", .value = "77"}).size(), 1u);
}

} // namespace
} // namespace qv::kelvo_sdk
