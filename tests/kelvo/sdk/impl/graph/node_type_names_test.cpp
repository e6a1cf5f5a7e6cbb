#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "tests/support/log_capture.h"
#include "tests/support/recording_observer.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::RecordingObserver;

class NodeTypeNames : public testing::Test {
protected:
    void makePath(const char* dir, const char* file, const char* ext) {
        m_node.createInput("dir", AttrType::String)->setString(dir);
        m_node.createInput("file", AttrType::String)->setString(file);
        m_node.createInput("ext", AttrType::String)->setString(ext);
    }
    // An output without a value, so that reading an input connected to it fails.
    Output* valueless(const char* name) {
        return static_cast<Output*>(m_source.createOutput(name, AttrType::String));
    }
    Output* speaking(const char* text) {
        Output* output = valueless("text");
        output->setValue(Value(String(text)));
        return output;
    }

    Node m_source{nullptr, "source", "s"};
    Node m_node{nullptr, "mesh", "m1"};
};

// ---- Display name: the input "name" ----------------------------------------------------

TEST_F(NodeTypeNames, NameInput_IsShownTrimmed) {
    struct Case {
        const char *text, *expected, *note;
    };
    const Case cases[] = {
        {"Lamp", "Lamp", "as it is"},
        {"  Lamp ", "Lamp", "blanks around"},
        {"\t\r\nLamp\n", "Lamp", "other white space"},
        {" Big  Lamp ", "Big  Lamp", "blanks inside stay"},
        {"lamp", "lamp", "case stays"},
        {"", "m1", "empty"},
        {"   ", "m1", "blanks only"},
        {" \t\n", "m1", "white space only"},
    };
    IInput* input = m_node.createInput("name", AttrType::String);
    for (const Case& c : cases) {
        input->setString(c.text);
        EXPECT_EQ(m_node.displayName(), c.expected) << c.note;
    }
}

TEST_F(NodeTypeNames, NameInput_IsFoundInAnyCase) {
    m_node.createInput("Name", AttrType::String)->setString("Lamp");
    EXPECT_EQ(m_node.displayName(), "Lamp");
}

TEST_F(NodeTypeNames, ConnectedNameInput_IsEvaluated) {
    IInput* input = m_node.createInput("name", AttrType::String);
    input->setString("Lamp");
    input->connect(speaking(" Sun "));
    EXPECT_EQ(m_node.displayName(), "Sun");
}

TEST_F(NodeTypeNames, NameInputThatCannotBeRead_IsPassedOverInSilence) {
    IInput* input = m_node.createInput("name", AttrType::String);
    input->setString("Lamp");
    input->connect(valueless("none"));
    const LogCapture log;
    EXPECT_EQ(m_node.displayName(), "m1");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeTypeNames, NameInputOfAnotherKind_IsIgnored) {
    for (const AttrType type : {AttrType::Null, AttrType::Bool, AttrType::Int, AttrType::Real,
                                AttrType::Vec3, AttrType::Node, AttrType::Object}) {
        Node node(nullptr, "mesh", "m1");
        node.createInput("name", type)->setString("1");
        EXPECT_EQ(node.displayName(), "m1") << attrTypeName(type);
    }
    m_node.createArray("name", AttrType::String)->appendElement()->setString("Lamp");
    EXPECT_EQ(m_node.displayName(), "m1");
}

TEST_F(NodeTypeNames, StringBehindANameInputOfAnotherKind_IsIgnored) {
    m_node.createInput("name", AttrType::Int);
    IInput* second = m_node.createInput("name", AttrType::String);
    second->setString("Lamp");
    ASSERT_EQ(m_node.inputCount(), 2u);
    EXPECT_EQ(m_node.displayName(), "m1");
}

TEST_F(NodeTypeNames, NameInput_ComesBeforeThePath) {
    m_node.setBases({"path"}, false, false);
    makePath("textures", "wood", "png");
    IInput* input = m_node.createInput("name", AttrType::String);
    input->setString("Lamp");
    EXPECT_EQ(m_node.displayName(), "Lamp");
    input->setString(" ");
    EXPECT_EQ(m_node.displayName(), "wood.png");
    input->connect(valueless("none"));
    EXPECT_EQ(m_node.displayName(), "wood.png");
}

// ---- Display name: the path ------------------------------------------------------------

TEST_F(NodeTypeNames, PathRule_IsForNodesOfTypePath) {
    struct Case {
        const char* type;
        StringVector bases;
        const char* expected;
    };
    const Case cases[] = {
        {"path", {}, "wood.png"},  {"image", {"path"}, "wood.png"},
        {"image", {}, "n1"},       {"Path", {}, "n1"},
        {"image", {"Path"}, "n1"}, {"image", {"object", "path"}, "wood.png"},
    };
    for (const Case& c : cases) {
        Node node(nullptr, c.type, "n1");
        node.setBases(c.bases, false, false);
        for (const char* name : {"dir", "file", "ext"})
            node.createInput(name, AttrType::String);
        node.setPath(String("textures/wood.png"));
        EXPECT_EQ(node.displayName(), c.expected) << node.typeDesc();
    }
}

TEST_F(NodeTypeNames, PathRule_ShowsTheFileOfThePathAsItStands) {
    struct Case {
        const char *dir, *file, *ext, *expected, *note;
    };
    const Case cases[] = {
        {"textures", "wood", "png", "wood.png", "file and extension"},
        {"textures", "wood", "", "wood", "no extension"},
        {"", "wood", ".tar.gz", "wood.tar.gz", "several dots"},
        {"a", " wood ", "png", " wood .png", "not trimmed"},
        {"textures/", "", "", "m1", "no file part"},
        {"/", "", "", "m1", "root"},
        {"", "", "png", "m1", "an extension alone is no path"},
        {"", "", "", "m1", "nothing"},
        {"a/textures", "", "", "textures", "the last name is the file part"},
        {"a", "", "profile", ".profile", "a leading dot begins a name"},
        {"a", "x\\y", "png", "x\\y.png", "a backslash separates nothing"},
        {"a", "x/y", "png", "y.png", "a slash does"},
    };
    m_node.setBases({"path"}, false, false);
    for (const Case& c : cases) {
        makePath(c.dir, c.file, c.ext);
        EXPECT_EQ(m_node.displayName(), c.expected) << c.note;
    }
}

TEST_F(NodeTypeNames, PathTypeWithoutPathInputs_LogsThatAndShowsTheName) {
    m_node.setBases({"path"}, false, false);
    const LogCapture log;
    EXPECT_EQ(m_node.displayName(), "m1");
    EXPECT_EQ(log.text(), "error: Cannot read node 'm1' as a path.\n");
}

TEST_F(NodeTypeNames, PathThatCannotBeRead_ShowsTheNameInSilence) {
    m_node.setBases({"path"}, false, false);
    makePath("textures", "wood", "png");
    m_node.findInputByName("file")->connect(valueless("none"));
    const LogCapture log;
    EXPECT_EQ(m_node.displayName(), "m1");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeTypeNames, NodesName_IsShared) {
    EXPECT_EQ(m_node.displayName().buf(), m_node.name().buf());
}

// ---- Display name set ------------------------------------------------------------------

TEST_F(NodeTypeNames, Set_WritesTheTextAsItIs) {
    IInput* input = m_node.createInput("NAME", AttrType::String);
    EXPECT_TRUE(m_node.setDisplayName(" Lamp "));
    String text;
    input->readString(text, false, nullptr);
    EXPECT_EQ(text, " Lamp ");
    EXPECT_EQ(m_node.displayName(), "Lamp");
    EXPECT_EQ(m_node.name(), "m1");
}

TEST_F(NodeTypeNames, Set_WritesANameInputOfAnotherKindIfItCan) {
    struct Case {
        AttrType type;
        const char *text, *stored;
        bool expected;
    };
    const Case cases[] = {{AttrType::Int, "12", "12", true},
                          {AttrType::Int, "twelve", "0", false},
                          {AttrType::Bool, "true", "true", true},
                          {AttrType::Null, "x", "", false},
                          {AttrType::Object, "x", "", false}};
    for (const Case& c : cases) {
        Node node(nullptr, "mesh", "m1");
        IInput* input = node.createInput("name", c.type);
        EXPECT_EQ(node.setDisplayName(c.text), c.expected) << attrTypeName(c.type);
        String stored;
        input->readString(stored, false, nullptr);
        EXPECT_EQ(stored, c.stored) << attrTypeName(c.type);
    }
}

TEST_F(NodeTypeNames, Set_WritesTheFirstOfTheName) {
    m_node.createInput("name", AttrType::Int);
    m_node.createInput("name", AttrType::String);
    EXPECT_FALSE(m_node.setDisplayName("Lamp"));
    EXPECT_TRUE(m_node.setDisplayName("7"));
    i64 number = 0;
    m_node.findInputByIndex(0)->readInt(number, false, nullptr);
    EXPECT_EQ(number, 7);
}

TEST_F(NodeTypeNames, SetWithoutANameInput_IsFalseSilentAndMakesNothing) {
    m_node.createOutput("name", AttrType::String);
    const LogCapture log;
    EXPECT_FALSE(m_node.setDisplayName("Lamp"));
    EXPECT_EQ(m_node.inputCount(), 0u);
    EXPECT_EQ(m_node.displayName(), "m1");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeTypeNames, SetOfAReadOnlyInput_IsFalse) {
    auto* input = static_cast<Input*>(m_node.createInput("name", AttrType::String));
    input->setReadOnly(true);
    const LogCapture log;
    EXPECT_FALSE(m_node.setDisplayName("Lamp"));
    EXPECT_EQ(log.text(), "warning: Cannot set input 'm1.name': it is read-only.\n");
    EXPECT_EQ(m_node.displayName(), "m1");
}

TEST_F(NodeTypeNames, Set_IsAnnouncedAsTheInputsChange) {
    m_node.createInput("name", AttrType::String);
    Journal journal;
    RecordingObserver observer("o", journal);
    m_node.subscribe(&observer);
    m_node.setDisplayName("Lamp");
    EXPECT_EQ(journal.take(), "o:changed=name");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
