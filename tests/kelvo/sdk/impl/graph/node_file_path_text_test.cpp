#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/interfaces/i_input.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr const char* kParts[] = {"dir", "file", "ext"};

class NodeSetPathText : public testing::Test {
protected:
    NodeSetPathText() {
        for (const char* part : kParts)
            m_node.createInput(part, AttrType::String);
    }
    [[nodiscard]] std::string stored() const {
        std::string all;
        for (const char* part : kParts) {
            String text;
            m_node.findInputByName(part)->readString(text, false, nullptr);
            all += std::string(text.buf()) + "|";
        }
        return all;
    }

    Node m_node{nullptr, "image", "img"};
};

TEST_F(NodeSetPathText, OddPaths_AreSplitAndGivenBack) {
    struct Case {
        const char *text, *stored, *asPath, *note;
    };
    const Case cases[] = {
        {"", "|||", "", "none"},
        {"wood", "|wood||", "wood", "no directory, no extension"},
        {"wood.png", "|wood|.png|", "wood.png", "no directory"},
        {"a/wood", "a|wood||", "a/wood", "no extension"},
        {"a/b/wood.png", "a/b|wood|.png|", "a/b/wood.png", "all three"},
        {"/wood.png", "/|wood|.png|", "/wood.png", "in the root"},
        {"/", "/|||", "/", "the root"},
        {"//", "/|||", "/", "the root, doubled"},
        {"/a", "/|a||", "/a", "absolute"},
        {"a/", "a|||", "a", "separator at the end"},
        {"a/b//", "a/b|||", "a/b", "separators at the end"},
        {"a//b///c.d", "a/b|c|.d|", "a/b/c.d", "doubled separators"},
        {".", "|.||", ".", "this directory"},
        {"..", "|..||", "..", "the one above"},
        {"...", "|...||", "...", "dots alone"},
        {"./wood.png", ".|wood|.png|", "./wood.png", "from this directory"},
        {"../wood.png", "..|wood|.png|", "../wood.png", "from the one above"},
        {"a/..", "a|..||", "a/..", "not normalised"},
        {"a/./b", "a/.|b||", "a/./b", "nor here"},
        {".profile", "|.profile||", ".profile", "a leading dot begins a name"},
        {"a/.profile", "a|.profile||", "a/.profile", "below a directory too"},
        {".profile.bak", "|.profile|.bak|", ".profile.bak", "a leading dot and an extension"},
        {".png", "|.png||", ".png", "only an extension is a name"},
        {"..png", "|..png||", "..png", "leading dots"},
        {"a.tar.gz", "|a.tar|.gz|", "a.tar.gz", "several dots"},
        {"a..b", "|a.|.b|", "a..b", "two dots"},
        {"name.", "|name|.|", "name.", "a dot at the end"},
        {"a.d/file", "a.d|file||", "a.d/file", "a dot in the directory"},
        {"a.d/", "a.d|||", "a.d", "only in the directory"},
        {"my files/big wood .p n g", "my files|big wood |.p n g|", "my files/big wood .p n g",
         "spaces"},
        {" ", "| ||", " ", "a space"},
        {"a/ ", "a| ||", "a/ ", "a space for a file"},
        {"A/Wood.PNG", "A|Wood|.PNG|", "A/Wood.PNG", "case"},
        {"b\xC3\xBC/gr\xC3\xB6.\xE2\x82\xAC", "b\xC3\xBC|gr\xC3\xB6|.\xE2\x82\xAC|",
         "b\xC3\xBC/gr\xC3\xB6.\xE2\x82\xAC", "UTF-8"},
        {"a\\b\\wood.png", "a/b|wood|.png|", "a/b/wood.png", "backslashes"},
        {"a\\\\b/\\c.d", "a/b|c|.d|", "a/b/c.d", "doubled and mixed"},
        {"\\wood", "/|wood||", "/wood", "a backslash for the root"},
        {"\\", "/|||", "/", "alone"},
        {"C:\\pictures\\\\wood.tar.gz", "C:/pictures|wood.tar|.gz|", "C:/pictures/wood.tar.gz",
         "drive"},
        {"C:/wood.png", "C:/|wood|.png|", "C:/wood.png", "in a drive's root"},
        {"C:\\", "C:/|||", "C:/", "a drive's root"},
        {"c:wood.png", "|c:wood|.png|", "c:wood.png", "relative to a drive: a name"},
        {"C:", "|C:||", "C:", "a drive's name: a name"},
    };
    for (const Case& c : cases) {
        m_node.setPath(String("before/before.before"));
        EXPECT_TRUE(m_node.setPath(String(c.text))) << c.note;
        EXPECT_EQ(stored(), c.stored) << c.note;
        EXPECT_EQ(m_node.asPath(), c.asPath) << c.note;
    }
}

TEST_F(NodeSetPathText, WhatAsPathGives_SplitsIntoTheSamePartsAgain) {
    for (const char* text : {"a/b.c", "/b.c", "/", "../.x", "a.tar.gz", "C:/b", "a b/c d", "x."}) {
        m_node.setPath(String(text));
        const std::string parts = stored();
        EXPECT_TRUE(m_node.setPath(m_node.asPath())) << text;
        EXPECT_EQ(stored(), parts) << text;
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
