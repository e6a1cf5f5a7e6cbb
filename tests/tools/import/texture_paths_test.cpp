#include "tools/import/texture_paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace qv::model_import {
namespace {

namespace fs = std::filesystem;

class TexturePath : public ::testing::Test {
protected:
    void SetUp() override {
        fs::remove_all(m_root);
        for (const char* file : {"models/tex/a.png", "models/b b.png", "other/c.png"}) {
            fs::create_directories((m_root / file).parent_path());
            std::ofstream(m_root / file) << "picture";
        }
        fs::create_directories(m_root / "scenes");
        m_options.sceneFolder = at("scenes");
    }
    void TearDown() override { fs::remove_all(m_root); }

    String at(const std::string& path) const { return (m_root / path).c_str(); }
    TextureFile find(const String& inModel) const {
        return TextureFiles(at("models"), m_options).find(inModel);
    }

    const fs::path m_root =
        fs::temp_directory_path() / ("kelvo_texture_paths_" + std::to_string(::getpid()));
    ImportOptions m_options;
};

TEST_F(TexturePath, OfAFileOfTheModel_StartsAtTheFolderOfTheScene) {
    const struct {
        const char* inModel;
        const char* expected;
    } rows[] = {
        {"tex/a.png", "../models/tex/a.png"},
        {"tex\\a.png", "../models/tex/a.png"},
        {".\\tex\\a.png", "../models/tex/a.png"},
        {"//tex/a.png", "../models/tex/a.png"},
        {"b%20b.png", "../models/b b.png"},
        {"b b.png", "../models/b b.png"},
        {"../other/c.png", "../other/c.png"},
        {"..\\other\\\\c.png", "../other/c.png"},
        {"C:\\projects\\b b.png", "../models/b b.png"},
        {"/no/such/folder/b b.png", "../models/b b.png"},
        {"lost/b b.png", "../models/b b.png"},
        {"TEX\\A.PNG", "../models/tex/a.png"},
        {"C:\\Art\\B B.PNG", "../models/b b.png"},
    };
    for (const auto& row : rows) {
        const TextureFile file = find(row.inModel);
        EXPECT_EQ(file.path, row.expected) << row.inModel;
        EXPECT_TRUE(file.isThere) << row.inModel;
    }
}

TEST_F(TexturePath, OfAFileThatIsNowhere_IsWhereItShouldBe) {
    const struct {
        const char* inModel;
        const char* expected;
    } rows[] = {
        {"tex/no.png", "../models/tex/no.png"},
        {"..\\no.png", "../no.png"},
        {"C:\\tex\\no.png", "C:/tex/no.png"},
        {"/tex/no.png", "/tex/no.png"},
    };
    for (const auto& row : rows) {
        const TextureFile file = find(row.inModel);
        EXPECT_EQ(file.path, row.expected) << row.inModel;
        EXPECT_FALSE(file.isThere) << row.inModel;
    }
}

TEST_F(TexturePath, ThatIsAbsoluteInTheModel_StaysSo) {
    EXPECT_EQ(find(at("other/c.png")).path, at("other/c.png"));
    EXPECT_EQ(find("file://" + at("other/c.png")).path, at("other/c.png"));
}

TEST_F(TexturePath, BesideTheScene_HasNoFolder) {
    m_options.sceneFolder = at("models");
    EXPECT_EQ(find("b b.png").path, "b b.png");
}

TEST_F(TexturePath, AskedForAsAbsolute_StartsAtTheRoot) {
    m_options.texturePaths = TexturePaths::Absolute;
    EXPECT_EQ(find("../other/c.png").path, at("other/c.png"));
}

TEST_F(TexturePath, AskedForAsInTheModel_Stays) {
    m_options.texturePaths = TexturePaths::AsInModel;
    EXPECT_EQ(find("..\\other\\c.png").path, "../other/c.png");
    EXPECT_EQ(find("C:\\lost\\b b.png").path, "C:/lost/b b.png");
}

TEST_F(TexturePath, ThroughASymbolicLink_LeadsToTheFile) {
    fs::create_directories(m_root / "far/away");
    fs::create_directory_symlink(m_root / "far/away", m_root / "scenes/link");
    m_options.sceneFolder = at("scenes/link");
    const std::string path = find("tex/a.png").path.buf();
    EXPECT_TRUE(fs::exists(m_root / "scenes/link" / path)) << path;
}

} // namespace
} // namespace qv::model_import
