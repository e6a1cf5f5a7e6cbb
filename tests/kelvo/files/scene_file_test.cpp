#include "kelvo/files/scene_file.h"

#include "tests/support/folder.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace qv::kelvo_sdk {
namespace {

class SceneFile : public testing::Test {
protected:
    void SetUp() override {
        m_scene.createNode("light", "lamp").createInput("radius", AttrType::Real).set(0.1);
    }
    // Returns the only diagnostic, without the name of the file at its start.
    [[nodiscard]] std::string reason(const Diagnostics& found) const {
        EXPECT_EQ(found.size(), 1u);
        if (found.isEmpty()) return {};
        const std::string told(found[0].text().view()), place = m_file.string() + ":";
        EXPECT_TRUE(told.starts_with(place)) << told;
        return told.substr(std::min(told.size(), place.size()));
    }

    tests::Folder m_folder;
    std::filesystem::path m_file = m_folder / "a.kns";
    Scene m_scene = Scene::create();
    Diagnostics m_found;
};

TEST_F(SceneFile, SavedScene_IsLoadedWhole) {
    EXPECT_TRUE(saveScene(m_scene, m_file, &m_found));
    const Scene again = Scene::create();
    EXPECT_TRUE(loadScene(again, m_file, &m_found));
    EXPECT_TRUE(m_found.isEmpty());
    EXPECT_EQ(again.text(), m_scene.text());
}

TEST_F(SceneFile, MissingFile_IsNamedWithTheReason) {
    EXPECT_FALSE(loadScene(m_scene, m_file, &m_found));
    EXPECT_EQ(reason(m_found), " The file cannot be read: No such file or directory.");
    EXPECT_EQ(m_scene.nodeCount(), 1u);
}

TEST_F(SceneFile, ErrorInTheText_IsNamedWithItsPlace) {
    m_folder.write("a.kns", "kelvo scene 1\nnode light \"key\" {\n    Reel radius = 1\n}\n");
    EXPECT_FALSE(loadScene(m_scene, m_file, &m_found));
    EXPECT_EQ(reason(m_found), "3:5: node 'key': Unknown kind 'Reel': did you mean 'Real'?");
    EXPECT_EQ(m_scene.nodeCount(), 1u);
}

TEST_F(SceneFile, LinesOfOtherSystems_AreRead) {
    m_folder.write("a.kns", "kelvo scene 1\r\nnode light \"key\" {\r\n}\r\n");
    EXPECT_TRUE(loadScene(m_scene, m_file, &m_found));
    EXPECT_EQ(m_scene.nodeCount(), 2u);
}

TEST_F(SceneFile, MissingFolder_LeavesNothing) {
    m_file = m_folder / "none/a.kns";
    EXPECT_FALSE(saveScene(m_scene, m_file, &m_found));
    EXPECT_EQ(reason(m_found), " The file cannot be written: No such file or directory.");
}

TEST_F(SceneFile, EmptyHandles_AreAnswered) {
    EXPECT_FALSE(saveScene(Scene(), m_file, &m_found));
    EXPECT_EQ(reason(m_found), " The file cannot be written: there is no scene.");
    EXPECT_FALSE(std::filesystem::exists(m_file));
    m_found.clear();
    EXPECT_FALSE(loadScene(Scene(), m_file, &m_found));
    EXPECT_EQ(reason(m_found), " The file cannot be read: there is no scene to read it into.");
}

TEST_F(SceneFile, WithoutDiagnostics_TheLogTells) {
    const tests::LogCapture log;
    EXPECT_FALSE(loadScene(m_scene, m_file));
    EXPECT_FALSE(saveScene(m_scene, m_folder.path()));
    EXPECT_EQ(log.text(), "error: " + m_file.string() +
                              ": The file cannot be read: No such file or directory.\nerror: " +
                              m_folder.path().string() +
                              ": The file cannot be written: Is a directory.\n");
}

} // namespace
} // namespace qv::kelvo_sdk
