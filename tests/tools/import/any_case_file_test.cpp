#include "tools/import/any_case_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace qv::model_import {
namespace {

namespace fs = std::filesystem;

class AnyCaseFile : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(m_root / "Tex");
        for (const char* file : {"Tex/Wood.png", "Tex/b.PNG", "Tex/B.png", "Tex/b.png"})
            std::ofstream(m_root / file) << "picture";
    }
    void TearDown() override { fs::remove_all(m_root); }

    std::string find(const char* path) const {
        const String found = anyCaseFile((m_root / path).c_str());
        return found.isEmpty() ? "" : fs::path(found.buf()).lexically_relative(m_root).string();
    }

    const fs::path m_root =
        fs::temp_directory_path() / ("kelvo_any_case_" + std::to_string(::getpid()));
};

TEST_F(AnyCaseFile, OfAPath_IsTheFileThatItMeans) {
    const struct {
        const char *path, *expected, *note;
    } rows[] = {
        {"Tex/Wood.png", "Tex/Wood.png", "exact"},
        {"TEX/WOOD.PNG", "Tex/Wood.png", "folders too"},
        {"tex/../TEX/wood.png", "Tex/Wood.png", "with steps back"},
        {"Tex/b.png", "Tex/b.png", "exact comes first"},
        {"Tex/b.pNg", "Tex/B.png", "the first by name"},
        {"Tex/stone.png", "", "not there"},
        {"tex", "", "a folder"},
        {"none/wood.png", "", "no such folder"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(find(row.path), row.expected) << row.note;
}

} // namespace
} // namespace qv::model_import
