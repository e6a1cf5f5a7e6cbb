#include "kelvo/base/path.h"

#include <gtest/gtest.h>

using namespace qv;

TEST(Path, Parts_AreCutFromTheText) {
    struct Case {
        const char *text, *dir, *file, *bare, *ext, *bareExt;
    };
    const Case cases[] = {
        {"textures/wood.png", "textures", "wood.png", "wood", ".png", "png"},
        {"/a/b/c.tar.gz", "/a/b", "c.tar.gz", "c.tar", ".gz", "gz"},
        {"wood", "", "wood", "wood", "", ""},
        {"", "", "", "", "", ""},
        {"/", "/", "", "", "", ""},
        {"/wood.png", "/", "wood.png", "wood", ".png", "png"},
        {"a/", "a", "", "", "", ""},
        {"a//b", "a", "b", "b", "", ""},
        {"//b", "/", "b", "b", "", ""},
        {".profile", "", ".profile", ".profile", "", ""},
        {"a/.profile", "a", ".profile", ".profile", "", ""},
        {".profile.bak", "", ".profile.bak", ".profile", ".bak", "bak"},
        {"a.d/b", "a.d", "b", "b", "", ""},
        {"..", "", "..", "..", "", ""},
        {"../x", "..", "x", "x", "", ""},
        {"name.", "", "name.", "name", ".", ""},
        {"C:/x.png", "C:/", "x.png", "x", ".png", "png"},
        {"C:/a/x", "C:/a", "x", "x", "", ""},
        {"C://x", "C:/", "x", "x", "", ""},
        {"a\\b.c", "", "a\\b.c", "a\\b", ".c", "c"},
    };
    for (const Case& c : cases) {
        const Path path(c.text, false);
        EXPECT_EQ(path.dir(), c.dir) << c.text;
        EXPECT_EQ(path.file(true), c.file) << c.text;
        EXPECT_EQ(path.file(false), c.bare) << c.text;
        EXPECT_EQ(path.ext(true), c.ext) << c.text;
        EXPECT_EQ(path.ext(false), c.bareExt) << c.text;
    }
}

TEST(Path, FileWithoutAndExtensionWithDot_GiveTheFile) {
    for (const char* text : {"a.b", "a.", ".a", "..", "a.b.c", "", "...x", "a..b"}) {
        const Path path(text, false);
        EXPECT_EQ(path.file(false) + path.ext(true), path.file(true)) << text;
    }
}

TEST(Path, Clean_UnifiesSeparators) {
    struct Case {
        const char *text, *expected;
    };
    const Case cases[] = {{"a\\b//c", "a/b/c"},
                          {"\\\\x\\\\y", "/x/y"},
                          {"C:\\a\\b", "C:/a/b"},
                          {"a/b", "a/b"},
                          {"", ""},
                          {"a///", "a/"}};
    for (const Case& c : cases)
        EXPECT_EQ(Path(c.text, true).text(), c.expected) << c.text;
}

TEST(Path, NotClean_KeepsTheText) {
    EXPECT_EQ(Path("a\\b//c", false).text(), "a\\b//c");
}

TEST(Path, CleanText_IsShared) {
    const String text("a/b/c");
    EXPECT_EQ(Path(text, true).text().buf(), text.buf());
}

TEST(Path, IsAbsolute_AtARoot) {
    EXPECT_TRUE(Path("/a", false).isAbsolute());
    EXPECT_TRUE(Path("c:/a", false).isAbsolute());
    EXPECT_FALSE(Path("a/b", false).isAbsolute());
    EXPECT_FALSE(Path("c:a", false).isAbsolute());
    EXPECT_FALSE(Path().isAbsolute());
}

TEST(Path, Join_PutsOneSeparatorBetween) {
    struct Case {
        StringVector parts;
        const char* expected;
    };
    const Case cases[] = {
        {{}, ""},
        {{"a"}, "a"},
        {{"a", "b"}, "a/b"},
        {{"a/", "b"}, "a/b"},
        {{"a//", "b"}, "a/b"},
        {{"", "b"}, "b"},
        {{"a", ""}, "a"},
        {{"a", "", "b"}, "a/b"},
        {{"/", "b"}, "/b"},
        {{"/", "/b"}, "/b"},
        {{"a", "/b", "c"}, "/b/c"},
        {{"a", "C:/b"}, "C:/b"},
        {{"C:/", "b"}, "C:/b"},
        {{"a", "b/"}, "a/b/"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Path::join(c.parts), c.expected) << c.parts.join("|");
}

TEST(Path, JoinOfTwo_IsThatOfTheList) {
    EXPECT_EQ((Path::join<String, String>("textures", "wood.png")), "textures/wood.png");
    EXPECT_EQ(Path::join("a", String("b")), "a/b");
    EXPECT_EQ((Path::join<String, String>("", "wood.png")), "wood.png");
    EXPECT_EQ((Path::join<String, String>("a", "/b")), "/b");
}

TEST(Path, Equality_ComparesTheTexts) {
    EXPECT_EQ(Path("a/b", false), Path("a\\b", true));
    EXPECT_NE(Path("a/b", false), Path("a/c", false));
}
