#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::RecordingObserver;
using tests::RecordingScene;

constexpr const char* kParts[] = {"dir", "file", "ext"};

// Records the look-ups and the first label of each call.
class WatchedNode : public Node {
public:
    WatchedNode(IScene* scene, Journal& journal)
        : Node(scene, "image", "img"), m_journal(journal) {}

    using Node::hasInput;
    using Node::input;
    bool hasInput(String name, AttrType type) const override {
        m_journal.add(std::string("has=") + name.buf());
        return Node::hasInput(name, type);
    }
    IInput* input(String path) override {
        m_journal.add(std::string("input=") + path.buf());
        return Node::input(path);
    }
    String label(String language) const override {
        if (!m_labelled) m_journal.add(std::string("label=") + language.buf());
        m_labelled = true;
        return Node::label(language);
    }

private:
    Journal& m_journal;
    mutable bool m_labelled = false;
};

class NodeSetPath : public testing::Test {
protected:
    NodeSetPath() { makeParts(m_node); }
    ~NodeSetPath() override { tests::probe(m_node).setScene(nullptr); }

    void makeParts(Node& node) {
        for (const char* part : kParts)
            node.createInput(part, AttrType::String);
        m_journal.take();
    }
    Input* part(const char* name) { return static_cast<Input*>(m_node.findInputByName(name)); }
    void store(const char* dir, const char* file, const char* ext) {
        part("dir")->setString(dir);
        part("file")->setString(file);
        part("ext")->setString(ext);
        m_journal.take();
    }
    [[nodiscard]] std::string stored() {
        std::string all;
        for (const char* name : kParts) {
            String text;
            part(name)->readString(text, false, nullptr);
            all += std::string(text.buf()) + "|";
        }
        return all;
    }
    bool setPath(const char* dir, const char* file, const char* ext) {
        return m_node.setPath(String(dir), String(file), String(ext));
    }
    // Returns the last entry of the scene's journal: "record(...)".
    std::string record() {
        const std::string all = m_journal.take();
        const size_t start = all.find("record(");
        return start == std::string::npos ? std::string() : all.substr(start);
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node m_node{m_scene.get(), "image", "img"};
};

// ---- Order -----------------------------------------------------------------------------

TEST_F(NodeSetPath, Steps_ComeInTheirOrder) {
    WatchedNode node(m_scene.get(), m_journal);
    makeParts(node);
    node.findInputByName("file")->setString("old");
    node.findInputByName("ext")->setString(".jpg");
    m_journal.take();
    EXPECT_TRUE(node.setPath(String("a/b"), String("wood"), String("png")));
    EXPECT_EQ(m_journal.take(),
              "has=dir has=file has=ext input=dir input=file input=ext begin group "
              "scene:changed=ext scene:changed=file scene:changed=dir ungroup label=auto has=name "
              "record(Img = wood.png|Img = old.jpg)");
    tests::probe(node).setScene(nullptr);
}

TEST_F(NodeSetPath, OldName_IsReadBeforeTheEditBegins) {
    store("a", "old", ".jpg");
    m_scene->thenAtBegin = [&] { part("file")->setString("later"); };
    EXPECT_TRUE(setPath("a", "wood", ".jpg"));
    EXPECT_EQ(m_journal.take(), "begin scene:changed=file group scene:changed=file ungroup "
                                "record(Img = wood.jpg|Img = old.jpg)");
}

TEST_F(NodeSetPath, Label_IsThatAfterTheWrites) {
    m_node.setBases({"path"}, false, false);
    store("a", "old", ".jpg");
    EXPECT_TRUE(setPath("a", "new_wood", "png"));
    EXPECT_EQ(record(), "record(New_Wood.png = new_wood.png|New_Wood.png = old.jpg)");
}

// Calls a function of the test when the group ends.
class EndingScene : public RecordingScene {
public:
    using RecordingScene::RecordingScene;
    void endEditGroup() override {
        RecordingScene::endEditGroup();
        if (atEnd) atEnd();
    }

    std::function<void()> atEnd;
};

TEST_F(NodeSetPath, Label_IsThatAfterTheGroup) {
    const auto scene = RefersTo<EndingScene>::adopt(new EndingScene(m_journal));
    scene->atEnd = [&] { m_node.setLabel("en", "late"); };
    tests::probe(m_node).setScene(scene.get());
    EXPECT_TRUE(setPath("a", "b", "c"));
    EXPECT_EQ(record(), "record(Late = b.c|Late = )");
    tests::probe(m_node).setScene(nullptr);
}

TEST_F(NodeSetPath, Label_IsTheNodesNotTheFileInputs) {
    m_node.setLabel("en", "picture");
    m_node.removeInput(String("file"));
    AttrData data(AttrType::String);
    data.describe().labels.push_back({"en", "file name"});
    m_node.createInput("file", data);
    EXPECT_TRUE(setPath("a", "b", "c"));
    EXPECT_EQ(record(), "record(Picture = b.c|Picture = )");
}

// ---- Texts of the record ---------------------------------------------------------------

TEST_F(NodeSetPath, Record_NamesTheNewFileThenTheOld) {
    struct Case {
        const char *oldFile, *oldExt, *file, *ext, *expected, *note;
    };
    const Case cases[] = {
        {"old", ".jpg", "wood", "png", "record(Img = wood.png|Img = old.jpg)", "dot added"},
        {"old", ".jpg", "wood", ".png", "record(Img = wood.png|Img = old.jpg)", "dot there"},
        {"old", "jpg", "wood", "", "record(Img = wood|Img = oldjpg)", "the old as it is stored"},
        {"old", "", "wood", "png", "record(Img = wood.png|Img = old)", "no old extension"},
        {"", ".jpg", "wood", "png", "record(Img = wood.png|Img = )", "no old file"},
        {"old", ".jpg", "", "png", "record(Img = |Img = old.jpg)", "no new file"},
        {"", "", "", "", "record(Img = |Img = )", "neither"},
        {"old", ".jpg", "old", "jpg", "record(Img = old.jpg|Img = old.jpg)", "the same"},
        {"5%d", ".%s", "100%", "%n", "record(Img = 100%.%n|Img = 5%d.%s)", "signs of formats"},
    };
    for (const Case& c : cases) {
        store("a", c.oldFile, c.oldExt);
        EXPECT_TRUE(setPath("b", c.file, c.ext)) << c.note;
        EXPECT_EQ(record(), c.expected) << c.note;
    }
}

TEST_F(NodeSetPath, OldName_IsTheStoredOneNotTheEvaluated) {
    store("a", "old", ".jpg");
    Node source(nullptr, "source", "s");
    for (const char* name : {"file", "ext"}) {
        auto* output = static_cast<Output*>(source.createOutput(name, AttrType::String));
        output->setValue(Value(String("evaluated")));
        part(name)->connect(output);
    }
    m_journal.take();
    EXPECT_TRUE(setPath("a", "wood", "png"));
    EXPECT_EQ(record(), "record(Img = wood.png|Img = old.jpg)");
    EXPECT_EQ(m_node.asPath(), "a/evaluated.evaluated");
}

TEST_F(NodeSetPath, SamePathAgain_TellsNobodyOfAChangeAndIsRecorded) {
    store("a", "b", ".c");
    EXPECT_TRUE(setPath("a", "b", "c"));
    EXPECT_EQ(m_journal.take(), "begin group ungroup record(Img = b.c|Img = b.c)");
}

TEST_F(NodeSetPath, LongNames_AreRecordedWhole) {
    const std::string longName(5000, 'x');
    EXPECT_TRUE(setPath("a", longName.c_str(), "png"));
    EXPECT_EQ(record(), "record(Img = " + longName + ".png|Img = )");
}

// ---- Stored values ---------------------------------------------------------------------

TEST_F(NodeSetPath, Parts_AreStoredUnchangedButForTheDot) {
    struct Case {
        const char *dir, *file, *ext, *expected;
    };
    const Case cases[] = {
        {"a", "wood", "png", "a|wood|.png|"},
        {"a", "wood", ".png", "a|wood|.png|"},
        {"a", "wood", "..png", "a|wood|..png|"},
        {"a", "wood", "", "a|wood||"},
        {"a", "wood", ".", "a|wood|.|"},
        {"a", "wood", " ", "a|wood|. |"},
        {"", "wood", "png", "|wood|.png|"},
        {"a", "", "png", "a||.png|"},
        {"", "", "", "|||"},
        {"../a//b\\c/", "x/y", "t.gz", "../a//b\\c/|x/y|.t.gz|"},
        {" A ", " Wood ", "PNG", " A | Wood |.PNG|"},
    };
    for (const Case& c : cases) {
        store("before", "before", ".before");
        EXPECT_TRUE(setPath(c.dir, c.file, c.ext)) << c.expected;
        EXPECT_EQ(stored(), c.expected);
    }
}

TEST_F(NodeSetPath, WithoutAScene_WritesAllTheSame) {
    tests::probe(m_node).setScene(nullptr);
    const LogCapture log;
    EXPECT_TRUE(setPath("a", "b", "c"));
    EXPECT_EQ(stored(), "a|b|.c|");
    part("file")->setReadOnly(true);
    EXPECT_FALSE(setPath("d", "e", "f"));
    EXPECT_EQ(stored(), "a|b|.f|");
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeSetPath, OfAnotherNode_IsFalseAndSilent) {
    for (const char* missing : kParts) {
        m_node.removeInput(String(missing));
        m_node.createInput(missing, AttrType::Int);
        m_journal.take();
        const LogCapture log;
        EXPECT_FALSE(setPath("1", "2", "3")) << missing;
        EXPECT_FALSE(m_node.setPath(String("1/2.3"))) << missing;
        EXPECT_EQ(m_journal.take() + log.text(), "") << missing;
        m_node.removeInput(String(missing));
        m_node.createInput(missing, AttrType::String);
    }
    EXPECT_EQ(stored(), "|||");
}

// ---- Writes that fail ------------------------------------------------------------------

TEST_F(NodeSetPath, FirstWriteThatFails_StopsTheRestAndIsRecordedAllTheSame) {
    struct Case {
        const char *refused, *stored, *changes;
    };
    const Case cases[] = {{"ext", "a|old|.jpg|", ""},
                          {"file", "a|old|.c|", "scene:changed=ext "},
                          {"dir", "a|b|.c|", "scene:changed=ext scene:changed=file "}};
    for (const Case& c : cases) {
        store("a", "old", ".jpg");
        part(c.refused)->setReadOnly(true);
        const LogCapture log;
        EXPECT_FALSE(setPath("x", "b", "c")) << c.refused;
        EXPECT_EQ(stored(), c.stored);
        EXPECT_EQ(m_journal.take(), std::string("begin group ") + c.changes +
                                        "ungroup record(Img = b.c|Img = old.jpg)");
        EXPECT_EQ(log.text(), std::string("warning: Cannot set input 'img.") + c.refused +
                                  "': it is read-only.\n");
        part(c.refused)->setReadOnly(false);
    }
}

TEST_F(NodeSetPath, ExtensionThatIsNoChoice_IsRefusedWithItsDot) {
    m_node.removeInput(String("ext"));
    AttrData data(AttrType::String);
    data.describe().choices.push_back(Value(String(".png")));
    m_node.createInput("ext", data);
    EXPECT_TRUE(setPath("a", "b", "png"));
    const LogCapture log;
    EXPECT_FALSE(setPath("a", "x", "jpg"));
    EXPECT_EQ(stored(), "a|b|.png|");
    EXPECT_NE(log.text().find("'.jpg'"), std::string::npos) << log.text();
}

// ---- Edits by others meanwhile ---------------------------------------------------------

TEST_F(NodeSetPath, InputsRemovedMeanwhile_AreHeldToTheEnd) {
    RecordingObserver observer("o", m_journal);
    m_node.subscribe(&observer);
    observer.then = [&] { m_node.clearInputs(); };
    EXPECT_TRUE(setPath("a", "b", "c"));
    EXPECT_EQ(m_node.inputCount(), 0u);
    EXPECT_EQ(record(), "record(Img = b.c|Img = )");
    m_node.unsubscribe(&observer);
}

TEST_F(NodeSetPath, ObserverThatThrows_LeavesNoStepOpen) {
    RecordingObserver observer("o", m_journal);
    observer.then = [] { throw std::runtime_error("no"); };
    m_node.subscribe(&observer);
    EXPECT_THROW(setPath("a", "b", "c"), std::runtime_error);
    EXPECT_EQ(m_journal.take(), "begin group o:changed=ext ungroup record(Img = b.c|Img = )");
}

// ---- One text --------------------------------------------------------------------------

TEST_F(NodeSetPath, OneText_IsOneGroupedEdit) {
    EXPECT_TRUE(m_node.setPath(String("a/wood.png")));
    EXPECT_EQ(m_journal.take(), "begin group scene:changed=ext scene:changed=file "
                                "scene:changed=dir ungroup record(Img = wood.png|Img = )");
}

// Overrides the three-part form and passes nothing on.
class ForwardedNode : public Node {
public:
    using Node::setPath;
    bool setPath(String dir, String file, String ext) override {
        parts = dir + "|" + file + "|" + ext;
        return false;
    }

    String parts;
};

TEST_F(NodeSetPath, OneText_IsPassedOnAsThree) {
    ForwardedNode node;
    EXPECT_FALSE(node.setPath(String("a\\wood.png")));
    EXPECT_EQ(node.parts, "a|wood|.png");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
