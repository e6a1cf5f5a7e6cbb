#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "tests/support/log_capture.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::RecordingObserver;
using tests::RecordingScene;

class NodeFilePath : public testing::Test {
protected:
    NodeFilePath() {
        for (const char* name : {"dir", "file", "ext"})
            m_node.createInput(name, AttrType::String);
        m_journal.take();
    }
    ~NodeFilePath() override { m_node.setScene(nullptr); }

    [[nodiscard]] std::string stored() const {
        std::string all;
        for (const char* name : {"dir", "file", "ext"}) {
            String text;
            m_node.findInputByName(name)->readString(text, false, nullptr);
            all += std::string(text.buf()) + "|";
        }
        return all;
    }
    [[nodiscard]] std::string pathOf(const char* dir, const char* file, const char* ext) {
        m_node.findInputByName("dir")->setString(dir);
        m_node.findInputByName("file")->setString(file);
        m_node.findInputByName("ext")->setString(ext);
        return m_node.asPath().buf();
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node m_node{m_scene.get(), "image", "img"};
};

TEST_F(NodeFilePath, IsPath_NeedsThreeStringInputs) {
    EXPECT_TRUE(m_node.isPath());
    m_node.removeInput(String("ext"));
    EXPECT_FALSE(m_node.isPath());
    m_node.createInput("ext", AttrType::Int);
    EXPECT_FALSE(m_node.isPath());
}

TEST_F(NodeFilePath, AsPath_JoinsTheThree) {
    EXPECT_EQ(pathOf("textures", "wood", "png"), "textures/wood.png");
    EXPECT_EQ(pathOf("textures", "wood", ".png"), "textures/wood.png");
    EXPECT_EQ(pathOf("textures", "wood", ""), "textures/wood");
    EXPECT_EQ(pathOf("", "wood", "png"), "wood.png");
    EXPECT_EQ(pathOf("../a", "wood", "png"), "../a/wood.png");
    EXPECT_EQ(pathOf("/a", "", ""), "/a");
    EXPECT_EQ(pathOf("", "", "png"), "");
}

TEST_F(NodeFilePath, AsPath_OfAnotherNode_IsEmptyAndOneErrorLine) {
    const LogCapture log;
    EXPECT_TRUE(Node(nullptr, "thing", "lamp").asPath().isEmpty());
    EXPECT_EQ(log.text(), "error: Cannot read node 'lamp' as a path.\n");
}

TEST_F(NodeFilePath, SetPath_StoresThePartsAndRecordsOneGroupedEdit) {
    m_node.setLabel("en", "picture");
    m_node.findInputByName("file")->setString("old");
    m_node.findInputByName("ext")->setString(".jpg");
    m_journal.take();
    EXPECT_TRUE(m_node.setPath(String("a/b"), String("wood"), String("png")));
    EXPECT_EQ(stored(), "a/b|wood|.png|");
    EXPECT_EQ(m_journal.take(),
              "begin group scene:changed=ext scene:changed=file scene:changed=dir ungroup "
              "record(Picture = wood.png|Picture = old.jpg)");
}

TEST_F(NodeFilePath, SetPathWithoutAFile_RecordsNothingBehindTheSign) {
    m_node.setLabel("en", "picture");
    EXPECT_TRUE(m_node.setPath(String("a"), String(""), String("png")));
    EXPECT_EQ(m_journal.take(), "begin group scene:changed=ext scene:changed=dir ungroup "
                                "record(Picture = |Picture = )");
}

TEST_F(NodeFilePath, SetPath_AddsTheDotOnlyToAnExtension) {
    EXPECT_TRUE(m_node.setPath(String(""), String("wood"), String("")));
    EXPECT_EQ(stored(), "|wood||");
    EXPECT_TRUE(m_node.setPath(String(""), String("wood"), String(".png")));
    EXPECT_EQ(stored(), "|wood|.png|");
}

TEST_F(NodeFilePath, SetPathAsOneText_IsSplit) {
    EXPECT_TRUE(m_node.setPath(String("C:\\pictures\\\\wood.tar.gz")));
    EXPECT_EQ(stored(), "C:/pictures|wood.tar|.gz|");
    EXPECT_TRUE(m_node.setPath(String("wood")));
    EXPECT_EQ(stored(), "|wood||");
    EXPECT_TRUE(m_node.setPath(String("")));
    EXPECT_EQ(stored(), "|||");
}

TEST_F(NodeFilePath, SetPathOfAnotherNode_IsFalseAndSilent) {
    const LogCapture log;
    Node lamp(m_scene.get(), "thing", "lamp");
    EXPECT_FALSE(lamp.setPath(String("a"), String("b"), String("c")));
    EXPECT_FALSE(lamp.setPath(String("a/b.c")));
    EXPECT_EQ(m_journal.take() + log.text(), "");
}

TEST_F(NodeFilePath, SetPathWithoutAScene_Writes) {
    m_node.setScene(nullptr);
    EXPECT_TRUE(m_node.setPath(String("a/b.c")));
    EXPECT_EQ(stored(), "a|b|.c|");
}

TEST_F(NodeFilePath, WriteThatFails_StopsTheRestAndIsRecordedAllTheSame) {
    static_cast<Input*>(m_node.findInputByName("file"))->setReadOnly(true);
    m_journal.take();
    const LogCapture log;
    EXPECT_FALSE(m_node.setPath(String("a"), String("b"), String("c")));
    EXPECT_EQ(stored(), "||.c|");
    EXPECT_EQ(m_journal.take(), "begin group scene:changed=ext ungroup record(Img = b.c|Img = )");
}

TEST_F(NodeFilePath, ObserverThatThrows_LeavesNoStepOpen) {
    RecordingObserver observer("o", m_journal);
    observer.then = [] { throw std::runtime_error("no"); };
    m_node.subscribe(&observer);
    EXPECT_THROW(m_node.setPath(String("a/b.c")), std::runtime_error);
    EXPECT_EQ(m_journal.take(), "begin group o:changed=ext ungroup record(Img = b.c|Img = )");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
