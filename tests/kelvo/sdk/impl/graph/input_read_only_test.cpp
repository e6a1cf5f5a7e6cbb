// A read-only input keeps its contents against every change through the interface.

#include "kelvo/kelvo.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/validation.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* text = R"(kelvo scene 1

node thing "a" {
    Array<Real> list = [1, 2] @readonly
    Object o {
        Real x = 1
        Array<Real> inner = [3]
        Object deep {
            Int y = 4
        }
    } @readonly
    Object p {
        Real q = 1 @readonly
    }
}
)";

class ReadOnlyInputs : public testing::Test {
protected:
    ReadOnlyInputs() { EXPECT_TRUE(m_scene.read(text, "a.kns")); }
    Input at(const char* path) { return m_scene["a"].inputAt(path); }
    void expectUnchanged() { EXPECT_STREQ(m_scene.text().buf(), text); }

    tests::LogCapture m_log;
    Scene m_scene = Scene::create();
};

TEST_F(ReadOnlyInputs, Array_RefusesEveryChangeAndSaysSo) {
    const Input list = at("list");
    const std::function<bool()> changes[] = {
        [&] { return static_cast<bool>(list.append()); },
        [&] { return list->insertElement(0) != nullptr; },
        [&] { return list->moveElement(0, 1); },
        [&] { return list->removeInput(u64(0)); },
        [&] { return list->removeInput(String("1")); },
        [&] { return list->removeLastInput(); },
        [&] { return list->clearInputs(); },
        [&] { return list->reset(); },
        [&] { return list->createInput(String("2"), AttrType::Real) != nullptr; },
        [&] { return static_cast<bool>(at("list[2]")); },
        [&] { return static_cast<bool>(at("list[+]")); },
    };
    for (const auto& change : changes) {
        const tests::LogCapture log;
        EXPECT_FALSE(change());
        EXPECT_EQ(log.text(), "warning: Cannot change input 'a.list': it is read-only.\n");
    }
    expectUnchanged();
}

TEST_F(ReadOnlyInputs, Object_RefusesMembersThatComeAndGo) {
    const Input object = at("o");
    EXPECT_FALSE(object.createInput("z", AttrType::Real));
    EXPECT_EQ(object->createArray("z", AttrType::Real), nullptr);
    EXPECT_FALSE(object->removeInput(String("x")));
    EXPECT_FALSE(object->removeInput(u64(1)));
    EXPECT_FALSE(object->clearInputs());
    expectUnchanged();
}

TEST_F(ReadOnlyInputs, Reset_OfWhatHoldsAnArray_AsksNotItsElements) {
    const Input parent = m_scene["a"].createInput("parent", AttrType::Object);
    const Input list(parent->createArray("list", AttrType::Real));
    EXPECT_TRUE(list.append().set(2.0));
    static_cast<impl::Input*>(list.get())->setReadOnly(true);
    EXPECT_FALSE(list.reset());
    const std::string alone = m_log.text();
    EXPECT_FALSE(parent.reset());
    EXPECT_EQ(m_log.text(), alone + alone);
    EXPECT_EQ(list.input(0).get<double>(), 2.0);
}

TEST_F(ReadOnlyInputs, WhatTheyHold_RefusesToo) {
    for (const char* path : {"list[0]", "o.x", "o.inner[0]", "o.deep.y"}) {
        EXPECT_TRUE(at(path).isReadOnly()) << path;
        EXPECT_FALSE(at(path).set(9)) << path;
        EXPECT_FALSE(at(path)->setString("9")) << path;
    }
    EXPECT_FALSE(at("o.inner").append());
    EXPECT_FALSE(at("o.deep").createInput("z", AttrType::Real));
    expectUnchanged();
}

TEST_F(ReadOnlyInputs, AskingForWhatIsThere_IsNoChange) {
    EXPECT_EQ(at("o").createInput("x", AttrType::Real), at("o.x"));
    EXPECT_EQ(at("list")->createInput(String("1"), AttrType::Real), at("list[1]").get());
    EXPECT_TRUE(at("list[1]").set(2.0));
    EXPECT_TRUE(m_log.text().empty());
}

TEST_F(ReadOnlyInputs, Holder_OfAReadOnlyMember_IsNotReadOnly) {
    EXPECT_TRUE(at("p.q").isReadOnly());
    EXPECT_FALSE(at("p").isReadOnly());
    EXPECT_TRUE(at("p").createInput("r", AttrType::Real).set(1.0));
}

TEST_F(ReadOnlyInputs, Connections_AreNoWrites) {
    const Output output = m_scene.createNode("thing", "b").createOutput("o", AttrType::Real);
    EXPECT_TRUE(at("list[0]").connect(output));
    EXPECT_TRUE(at("list[0]")->disconnect());
}

TEST_F(ReadOnlyInputs, Copies_KeepContentsAndMark) {
    const Node copy = m_scene["a"].clone();
    EXPECT_EQ(copy["list"].inputCount(), 2u);
    EXPECT_TRUE(copy.inputAt("o.deep.y").isReadOnly());
    EXPECT_FALSE(copy["list"].append());
}

TEST_F(ReadOnlyInputs, ConversionToAnUnknownType_KeepsContentsAndMark) {
    ConversionLosses losses;
    ASSERT_TRUE(m_scene["a"].convertTo("other", &losses));
    EXPECT_TRUE(losses.empty());
    std::string expected = text;
    expected.replace(expected.find("thing"), 5, "other");
    EXPECT_EQ(m_scene.text().buf(), expected);
    EXPECT_FALSE(at("o.inner").append());
}

TEST_F(ReadOnlyInputs, ConversionToATypeThatFixesThem_LosesOthers) {
    const auto library = tests::libraryOf("type fixed {\n  Array<Real> list = [7] @readonly\n"
                                          "  Object o {\n    Real x = 1\n  } @readonly\n}");
    m_scene.addLibrary(LibInfo(library.get()));
    ConversionLosses losses;
    const Node node = m_scene["a"].convertTo("fixed", &losses);
    ASSERT_TRUE(node);
    EXPECT_EQ(node["list"].inputCount(), 1u);
    EXPECT_EQ(node["o"].inputCount(), 1u);
    ASSERT_GE(losses.size(), 1u);
    EXPECT_STREQ(losses[0].path.buf(), "a.list");
    EXPECT_STREQ(losses[0].reason.buf(), "is read-only");
}

TEST_F(ReadOnlyInputs, Undo_TakesThemBackAndDoesThemAgain) {
    m_scene.setUndoEnabled(true);
    EXPECT_TRUE(m_scene["a"].removeInput("o"));
    EXPECT_TRUE(m_scene.undo());
    expectUnchanged();
    EXPECT_FALSE(at("o.x").set(5.0));
    EXPECT_TRUE(m_scene.redo());
    EXPECT_FALSE(m_scene["a"]->hasInput(String("o"), AttrType::Null));
}

TEST_F(ReadOnlyInputs, Children_TakeAndLoseNobody) {
    m_scene.read("node xform \"x\" {\n    Array<Node> children = [y] @readonly\n}\n"
                 "node xform \"y\" {\n}\nnode xform \"z\" {\n}\n",
                 "t");
    EXPECT_FALSE(m_scene["z"].parentTo(m_scene["x"]));
    EXPECT_FALSE(m_scene["y"].unparentFrom(m_scene["x"]));
    EXPECT_EQ(m_scene["x"]["children"].inputCount(), 1u);
    m_scene.removeNode(m_scene["y"]);
    EXPECT_FALSE(m_scene["x"]["children"].input(0).asNode(false, nullptr));
}

TEST_F(ReadOnlyInputs, MarkTakenAway_OpensWhatTheyHold) {
    auto* object = static_cast<impl::Input*>(at("o").get());
    object->setReadOnly(false);
    EXPECT_TRUE(at("o.deep.y").set(5));
    object->setReadOnly(true);
    EXPECT_FALSE(at("o.deep.y").set(6));
}

// A text may hold anything: that is a finding.
TEST_F(ReadOnlyInputs, TextThatChangesThem_IsReadAndFound) {
    const auto library = tests::libraryOf("type seal {\n  Array<Real> list = [7] @readonly\n"
                                          "  Object o {\n    Real x = 1\n  } @readonly\n}");
    const Scene scene = Scene::create();
    scene.addLibrary(LibInfo(library.get()));
    EXPECT_TRUE(scene.read("node seal \"s\" {\n    Array<Real> list = [8]\n"
                           "    Object o {\n        Real x = 2\n    }\n}\n",
                           "s"));
    const auto findings = validate(scene);
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_STREQ(findings[0].message.buf(), "input 's.list' is read-only: it holds other elements "
                                            "than type 'seal' defines.");
    EXPECT_STREQ(findings[1].message.buf(),
                 "input 's.o.x' is read-only: type 'seal' defines 1, not 2.");
    EXPECT_TRUE(findings[1].fix->apply());
    EXPECT_EQ(scene["s"].inputAt("o.x").get<double>(), 1.0);
    EXPECT_FALSE(scene["s"].inputAt("o.x").set(3.0));
}

} // namespace
} // namespace qv::kelvo_sdk
