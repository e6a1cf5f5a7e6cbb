// The examples in docs/paths.md hold.

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

using Lines = std::vector<std::string>;

Lines section(const std::string& title) {
    std::ifstream file(KELVO_SOURCE_DIR "/docs/paths.md");
    Lines lines;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("## ", 0) == 0)
            inside = line == "## " + title;
        else if (inside)
            lines.push_back(line);
    }
    return lines;
}

// Returns the scene text that a section shows.
std::string sceneIn(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        if (line == "    kelvo scene 1" || (!text.empty() && line.rfind("    ", 0) == 0))
            text += line.substr(4) + '\n';
    }
    return text;
}

// Returns the text of "`a`" without its marks; "none" and empty cells stay.
std::string unmarked(const std::string& cell) {
    std::string text;
    for (const char c : cell)
        if (c != '`') text += c;
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Returns the rows of the table whose head begins with `head`.
std::vector<Lines> tableIn(const Lines& lines, const std::string& head) {
    std::vector<Lines> rows;
    bool inside = false;
    for (const std::string& line : lines) {
        const bool isRow = line.rfind("| `", 0) == 0;
        if (!isRow && line.rfind("|--", 0) != 0) inside = line.rfind("| " + head + " |", 0) == 0;
        if (!inside || !isRow) continue;
        std::istringstream in(line.substr(1));
        rows.emplace_back();
        for (std::string cell; std::getline(in, cell, '|');)
            rows.back().push_back(unmarked(cell));
    }
    return rows;
}

String textOf(const std::string& text) {
    return String(std::string_view(text));
}

std::string pathOf(const interfaces::IInput* input) {
    return input ? input->path().buf() : "none";
}

TEST(DocumentedPaths, InputPaths_LeadWhereTheTableSays) {
    const Lines lines = section("Input paths");
    const std::vector<Lines> rows = tableIn(lines, "path");
    ASSERT_GE(rows.size(), 30u);
    for (const Lines& row : rows) {
        const Scene scene = tests::sceneOf(sceneIn(lines));
        const Node wood = scene.findNode("wood");
        const tests::LogCapture log;
        ASSERT_EQ(row.size(), 4u) << row[0];
        EXPECT_EQ(pathOf(wood->findInput(textOf(row[0]))), row[2]) << row[0];
        EXPECT_EQ(pathOf(wood->parseInputPath(textOf(row[0]))), row[1]) << row[0];
        EXPECT_EQ(log.text(), "");
    }
}

std::string allPaths(const Scene& scene, const Lines& row) {
    const Node from = scene.findNode(textOf(row[0]));
    const Node to = scene.findNode(textOf(row[1]));
    const auto paths =
        RefersTo<impl::PathIterator>::adopt(from->pathsTo(to.get(), row[2] == "true"));
    std::string all;
    for (; paths->current(); paths->next())
        all += (all.empty() ? "" : ", ") + std::string(paths->current()->text().view());
    return all.empty() ? "none" : all;
}

TEST(DocumentedPaths, NodePaths_AreThoseOfTheTable) {
    const Lines lines = section("Node paths");
    const std::vector<Lines> rows = tableIn(lines, "from");
    const Scene scene = tests::sceneOf(sceneIn(lines));
    ASSERT_GE(rows.size(), 7u);
    for (const Lines& row : rows)
        EXPECT_EQ(allPaths(scene, row), row[3]) << row[0] << " to " << row[1];
}

TEST(DocumentedPaths, FilePaths_AreSplitAndJoinedAsTheTableSays) {
    const std::vector<Lines> rows = tableIn(section("File paths"), "given");
    ASSERT_GE(rows.size(), 12u);
    for (const Lines& row : rows) {
        const Scene scene = Scene::create();
        const Node file = scene.createNode("texture", "file");
        for (const char* name : {"dir", "file", "ext"})
            file.createInput(name, AttrType::String);
        EXPECT_TRUE(file->setPath(textOf(row[0])));
        EXPECT_EQ(file["dir"].get<String>(), textOf(row[1])) << row[0];
        EXPECT_EQ(file["file"].get<String>(), textOf(row[2])) << row[0];
        EXPECT_EQ(file["ext"].get<String>(), textOf(row[3])) << row[0];
        EXPECT_EQ(file->asPath(), textOf(row[4])) << row[0];
    }
}

TEST(DocumentedPaths, Limits_AreThoseOfTheCode) {
    EXPECT_EQ(PathParser::maxIndex, 1'048'575);
    EXPECT_EQ(impl::PathIterator::maxSearched, 100'000u);
    EXPECT_EQ(impl::PathCounter::maxSteps, 4'000'000u);
}

} // namespace
} // namespace qv::kelvo_sdk
