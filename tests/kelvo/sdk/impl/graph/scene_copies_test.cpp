#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/interfaces/node_observer.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"
#include "tests/support/recording_observer.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::libraryOf;
using tests::LogCapture;
using tests::RecordingObserver;
using tests::sceneOf;
using tests::textOf;

constexpr const char* types = R"(kelvo types 1

type thing @abstract {
    Array<Node> children = []
}

type lamp : thing {
    Real power = 1
    Real size = 2
    String count = "3"
    Node target = null
    output Real out
    output Real glow
}

type spot : thing {
    Int count = 0
    Real power = 1 @min 0 @max 10
    Real angle = 45
    Node target = null
    output Real out
}

type cloud : thing {
    Buffer<Pos3f> points = [] @type Pos3f
}

type crate {
    Object box {
        Real width = 1
        Real depth = 2
    }
    Real load = 1
    Array<Int> counts = []
    Array<Real> sizes = []
    String owner = ""
}

type shelf {
    Object box {
        Real width = 1
    }
    Object load {
    }
    Array<Real> counts = []
    Array<Node> sizes = []
    Node owner = null
}
)";

// Records a scene's notifications about its nodes.
class SceneJournal : public SceneObserver {
public:
    explicit SceneJournal(Journal& journal) : m_journal(journal) {}
    void nodeAdded(INode* node) override { note("+", node); }
    void nodeRemoved(INode* node) override { note("-", node); }
    void inputChanged(const IInput* input, const AttrData*) override {
        m_journal.add(std::string("changed=") + input->path().buf());
    }
    void inputConnected(const IInput* input, const IOutput*, const IOutput*) override {
        m_journal.add(std::string("connected=") + input->path().buf());
    }

private:
    void note(const char* what, INode* node) {
        m_journal.add(std::string(what) + node->name().buf() + ":" + node->type().buf());
    }
    Journal& m_journal;
};

class SceneCopies : public testing::Test {
protected:
    SceneCopies() { m_scene.addLibrary(LibInfo(libraryOf(types).get())); }

    void read(const char* text) { ASSERT_EQ(tests::errorsOf(text, m_scene), ""); }
    [[nodiscard]] kelvo_sdk::Node node(const char* name) const { return m_scene.findNode(name); }
    [[nodiscard]] std::string valueOf(const char* path) const {
        const String text(path);
        const auto dot = text.view().find('.');
        const auto found = m_scene.findNode(String(text.view().substr(0, dot)));
        const auto input = found.inputAt(String(text.view().substr(dot + 1)));
        return input ? input.asString(false, nullptr).buf() : "none";
    }
    // Converts, and returns the values that did not fit, one per line.
    std::string convert(const char* name, const char* type) {
        ConversionLosses losses;
        m_converted = node(name).convertTo(type, &losses);
        std::string lines;
        for (const ConversionLoss& loss : losses)
            lines += std::string(loss.path.buf()) + " " + loss.reason.buf() + "\n";
        return lines;
    }

    using LibInfo = kelvo_sdk::LibInfo;
    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_converted;
};

TEST_F(SceneCopies, Replacement_ComesFromTheDefinitionAndHasNameAndPlace) {
    m_scene.createNode("lamp", "a");
    const auto old = m_scene.createNode("lamp", "b");
    m_scene.createNode("lamp", "c");
    convert("b", "spot");
    EXPECT_EQ(m_scene.nodeCount(), 3u);
    EXPECT_EQ(m_scene.node(1), m_converted);
    EXPECT_EQ(node("b"), m_converted);
    EXPECT_NE(m_converted, old);
    EXPECT_STREQ(m_converted->typeDesc().buf(), "spot [thing]");
    EXPECT_EQ(valueOf("b.angle"), "45");
    EXPECT_EQ(old->scene(), nullptr);
    EXPECT_EQ(m_converted->scene(), m_scene.get());
}

TEST_F(SceneCopies, Values_OfTheSameNameAreKeptAndConverted) {
    read(R"(kelvo scene 1
node lamp "a" {
    Real power = 7
    String count = "12"
    Node target = b
}
node spot "b" {
}
)");
    EXPECT_EQ(convert("a", "spot"), "");
    EXPECT_EQ(valueOf("a.power"), "7");
    EXPECT_EQ(valueOf("a.count"), "12");
    EXPECT_EQ(m_converted["count"].type(), AttrType::Int);
    EXPECT_EQ(m_converted["target"].asNode(false, nullptr), node("b"));
}

TEST_F(SceneCopies, ValuesThatDoNotFit_AreReportedWithAReason) {
    read(R"(kelvo scene 1
node lamp "a" {
    Real power = 70
    Real size = 5
    String count = "many"
}
)");
    EXPECT_EQ(convert("a", "spot"),
              "a.size is no input of type 'spot'\n"
              "a.power does not take '70': it is out of range or not among the choices\n"
              "a.count is Int: 'many' does not convert\n");
    EXPECT_EQ(valueOf("a.power"), "1");
    EXPECT_EQ(valueOf("a.count"), "0");
}

TEST_F(SceneCopies, ConnectionsThatDoNotFit_AreReportedWithBothEnds) {
    read(R"(kelvo scene 1
node bare "a" {
    output Rgba color
}
node lamp "b" {
    String count = "3" <- a.color
}
)");
    EXPECT_EQ(convert("b", "spot"),
              "b.count was connected to 'a.color' (Rgba), which does not convert to Int\n");
    EXPECT_EQ(m_converted["count"].source(), kelvo_sdk::Output());
}

TEST_F(SceneCopies, Buffers_AreKeptWhenTheyAreOfTheDeclaredElementType) {
    read(R"(kelvo scene 1
node bare "a" {
    Buffer<Pos3f> points = [(1 2 3)]
}
node bare "b" {
    Buffer<Float> points = [1 2 3]
}
)");
    EXPECT_EQ(convert("a", "cloud"), "");
    EXPECT_EQ(m_converted["points"].buffer<qv::math::Pos3f>().size(), 1u);
    EXPECT_EQ(convert("b", "cloud"), "b.points is Buffer<Pos3f>: '[1 2 3]' does not convert\n");
    EXPECT_EQ(m_converted["points"].typeName(), "Buffer<Pos3f>");
}

TEST_F(SceneCopies, MemberThatTheTypeLacks_IsLost) {
    read(R"(kelvo scene 1
node crate "a" {
    Object box {
        Real depth = 3
    }
}
)");
    EXPECT_EQ(convert("a", "shelf"), "a.box.depth is no member of 'a.box'\n");
    EXPECT_EQ(valueOf("a.box.depth"), "none");
}

TEST_F(SceneCopies, InputsThatAreOfAnotherKindThere_AreReported) {
    read(R"(kelvo scene 1
node crate "a" {
    Real load = 3
    Array<Real> sizes = [3, 4]
}
)");
    EXPECT_EQ(convert("a", "shelf"), "a.load was Real and is Object\n"
                                     "a.sizes was Array<Real> and is Array<Node>\n");
    EXPECT_EQ(m_converted["sizes"].inputCount(), 0u);
}

TEST_F(SceneCopies, Elements_AreConverted) {
    read("kelvo scene 1\nnode crate \"a\" {\n    Array<Int> counts = [3, 4]\n}\n");
    EXPECT_EQ(convert("a", "shelf"), "");
    EXPECT_EQ(valueOf("a.counts[0]") + valueOf("a.counts[1]"), "34");
}

TEST_F(SceneCopies, TextThatNamesANode_BecomesALinkToIt) {
    m_scene.createNode("crate", "a")["owner"].set("b");
    m_scene.createNode("crate", "b")["owner"].set("b");
    EXPECT_EQ(convert("a", "shelf"), "");
    EXPECT_EQ(m_converted["owner"].asNode(false, nullptr), node("b"));
    EXPECT_EQ(convert("b", "shelf"), "");
    EXPECT_EQ(m_converted["owner"].asNode(false, nullptr), m_converted);
}

TEST_F(SceneCopies, WithoutAReport_WhatDoesNotFitIsLogged) {
    m_scene.createNode("lamp", "a")["size"].set(5.0);
    const LogCapture log;
    node("a").convertTo("spot");
    EXPECT_EQ(log.text(), "warning: Converted to 'spot': 'a.size' is no input of type 'spot'.\n");
}

TEST_F(SceneCopies, ValueAtItsDefault_IsNoLoss) {
    m_scene.createNode("lamp", "a");
    EXPECT_EQ(convert("a", "spot"), "");
}

TEST_F(SceneCopies, InputsBeyondTheDefinition_AreKept) {
    read(R"(kelvo scene 1
node lamp "a" {
    Real power = 7
    Object own {
        Array<Int> list = [1, 2]
        Node me = a
    }
    output Vec3 more
}
)");
    EXPECT_EQ(convert("a", "spot"), "");
    EXPECT_EQ(valueOf("a.own.list[1]"), "2");
    EXPECT_EQ(valueOf("a.own.me"), "a");
    EXPECT_EQ(m_converted["own"]["me"].asNode(false, nullptr), m_converted);
    EXPECT_EQ(m_converted.output("more")->type(), AttrType::Vec3);
}

TEST_F(SceneCopies, ToAnUnknownType_KeepsEverything) {
    m_scene.createNode("lamp", "a")["size"].set(5.0);
    EXPECT_EQ(convert("a", "comet"), "");
    EXPECT_STREQ(m_converted->typeDesc().buf(), "comet");
    EXPECT_EQ(valueOf("a.size"), "5");
    EXPECT_EQ(valueOf("a.count"), "3");
    EXPECT_EQ(m_converted->outputCount(), 2u);
}

TEST_F(SceneCopies, FromAnUnknownType_GivesTheInputsOfTheDefinition) {
    read("kelvo scene 1\nnode comet \"a\" {\n    Real power = 3\n    Bool tail = true\n}\n");
    EXPECT_EQ(convert("a", "spot"), "");
    EXPECT_EQ(valueOf("a.power"), "3");
    EXPECT_EQ(valueOf("a.angle"), "45");
    EXPECT_EQ(valueOf("a.tail"), "true");
}

constexpr const char* family = R"(kelvo scene 1
node lamp "p" {
    Array<Node> children = [a, b, c]
    Node target = b
}
node lamp "a" {
}
node lamp "b" {
    Array<Node> children = [a, c, b]
    Real power = 1 <- a.out
}
node lamp "c" {
    Real power = 1 <- b.out
    Real size = 2 <- b.glow
}
)";

TEST_F(SceneCopies, Links_LeadToTheReplacementFromTheirPlaces) {
    read(family);
    convert("b", "spot");
    EXPECT_EQ(valueOf("p.children[1]"), "b");
    EXPECT_EQ(node("p")["children"].input(1).asNode(false, nullptr), m_converted);
    EXPECT_EQ(node("p")["target"].asNode(false, nullptr), m_converted);
    EXPECT_EQ(m_converted->indexIn(node("p").get()), 1);
}

TEST_F(SceneCopies, LinksOfTheNode_AreKeptAndThoseToItselfFollow) {
    read(family);
    convert("b", "spot");
    EXPECT_EQ(m_converted["children"].inputCount(), 3u);
    EXPECT_EQ(valueOf("b.children[0]") + valueOf("b.children[1]"), "ac");
    EXPECT_EQ(m_converted["children"].input(2).asNode(false, nullptr), m_converted);
}

TEST_F(SceneCopies, Connections_AreKeptInBothDirections) {
    read(family);
    EXPECT_EQ(convert("b", "spot"), "c.size was connected to 'b.glow', which type 'spot' lacks\n");
    EXPECT_EQ(m_converted["power"].source(), node("a").output("out"));
    EXPECT_EQ(node("c")["power"].source(), m_converted.output("out"));
    EXPECT_FALSE(node("c")["size"].source());
    EXPECT_EQ(node("a").output("out")->targetCount(), 1u);
}

TEST_F(SceneCopies, RemovingTheReplacement_ClearsEveryLinkToIt) {
    read(family);
    convert("b", "spot");
    m_scene.removeNode(m_converted);
    EXPECT_EQ(valueOf("p.children[1]") + valueOf("p.target"), "");
    EXPECT_FALSE(node("c")["power"].source());
}

TEST_F(SceneCopies, NodesObservers_AreNotifiedOfTheReplacementOnce) {
    Journal journal;
    RecordingObserver observer("o", journal);
    const auto old = m_scene.createNode("lamp", "a");
    old.subscribe(&observer);
    convert("a", "spot");
    EXPECT_EQ(journal.take(), "o:converted=a");
    m_converted["power"].set(4.0);
    EXPECT_EQ(journal.take(), "");
    EXPECT_TRUE(old.unsubscribe(&observer));
}

TEST_F(SceneCopies, NodesObserver_FindsEverythingInPlace) {
    read(family);
    Journal journal;
    RecordingObserver observer("o", journal);
    std::string seen;
    observer.then = [&] { seen = valueOf("p.children[1]") + node("b").type().buf(); };
    const auto old = node("b");
    old.subscribe(&observer);
    convert("b", "spot");
    EXPECT_EQ(seen, "bspot");
    old.unsubscribe(&observer);
}

TEST_F(SceneCopies, SceneObservers_AreNotifiedOfWhatWasRelinkedThenOfTheConversion) {
    read(family);
    Journal journal;
    SceneJournal observer(journal);
    m_scene.subscribe(&observer);
    convert("b", "spot");
    EXPECT_EQ(journal.take(), "changed=p.children[1] changed=p.target connected=c.power "
                              "connected=c.size -b:lamp +b:spot");
    m_scene.unsubscribe(&observer);
}

struct Refusal {
    const char* type;
    const char* log;
};

TEST_F(SceneCopies, RefusedTypes_ChangeNothing) {
    read(family);
    const std::string before = textOf(m_scene);
    const auto old = node("b");
    for (const Refusal& row :
         {Refusal{"thing", "error: Cannot convert node 'b': type 'thing' is abstract.\n"},
          Refusal{"no name",
                  "error: Cannot use 'no name' as a node's type: it is no simple identifier.\n"},
          Refusal{"", "error: Cannot use '' as a node's type: it is no simple identifier.\n"}}) {
        const LogCapture log;
        EXPECT_EQ(old.convertTo(row.type), kelvo_sdk::Node()) << row.type;
        EXPECT_EQ(log.text(), row.log);
    }
    EXPECT_EQ(textOf(m_scene), before);
    EXPECT_EQ(node("b"), old);
}

TEST_F(SceneCopies, NodeWhoseNameIsNoIdentifier_IsNotCopied) {
    const auto scene = kelvo_sdk::Scene::create();
    const kelvo_sdk::Node node(adoptRef, new Node(scene.get(), "thing", "a b"));
    const LogCapture log;
    EXPECT_EQ(node.clone().message(),
              "Cannot use 'a b' as a node's name: it is no simple identifier.");
}

TEST_F(SceneCopies, NodesThatAreNotOfTheScene_AreRefused) {
    auto* scene = static_cast<Scene*>(m_scene.get());
    const auto other = RefersTo<Node>::adopt(new Node(nullptr, "lamp", "x"));
    EXPECT_EQ(scene->convertNode(nullptr, "spot"), nullptr);
    EXPECT_EQ(scene->convertNode(other.get(), "spot"), nullptr);
    EXPECT_EQ(m_scene.nodeCount(), 0u);
}

TEST_F(SceneCopies, Comments_GoAlong) {
    read("kelvo scene 1\n\n# of a\nnode lamp \"a\" {\n    Real power = 3 # why\n}\n");
    convert("a", "spot");
    EXPECT_NE(textOf(m_scene).find("# of a\nnode spot \"a\" {"), std::string::npos);
    EXPECT_NE(textOf(m_scene).find("Real power = 3 # why"), std::string::npos);
}

TEST_F(SceneCopies, AnObserverThatRemovesTheReplacement_LeavesNone) {
    const auto old = m_scene.createNode("lamp", "a");
    Journal journal;
    RecordingObserver observer("o", journal);
    observer.then = [&] { m_scene.removeNode(node("a")); };
    old.subscribe(&observer);
    convert("a", "spot");
    EXPECT_FALSE(m_converted);
    EXPECT_EQ(m_scene.nodeCount(), 0u);
    old.unsubscribe(&observer);
}

TEST_F(SceneCopies, BackAndForth_KeepsWhatBothTypesHave) {
    read("kelvo scene 1\nnode lamp \"a\" {\n    Real power = 4\n    Real size = 5\n}\n");
    convert("a", "spot");
    convert("a", "lamp");
    EXPECT_EQ(valueOf("a.power") + valueOf("a.count") + valueOf("a.size"), "432");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
