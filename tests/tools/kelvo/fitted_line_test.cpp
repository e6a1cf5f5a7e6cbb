#include "tools/kelvo/fitted_line.h"

#include <gtest/gtest.h>

namespace qv::kelvo_tool {
namespace {

std::string fitted(std::vector<LinePiece> pieces, u64 width, bool isColored = false) {
    StringIO out;
    appendFitted(out, std::move(pieces), {width, isColored});
    return std::string(out.take().view());
}

TEST(AppendFitted, LineThatFits_StaysAsItIs) {
    const std::vector<LinePiece> line{
        {Tone::Name, "lamp"}, {Tone::Plain, " = "}, {Tone::Value, "0.5"}};
    for (const u64 width : {u64{0}, u64{10}, u64{80}})
        EXPECT_EQ(fitted(line, width), "lamp = 0.5") << width;
}

TEST(AppendFitted, NoTerminal_GetsLongLinesWhole) {
    EXPECT_EQ(fitted({{Tone::Value, std::string(500, 'x')}}, 0), std::string(500, 'x'));
}

TEST(AppendFitted, LongValue_EndsInAnEllipsis) {
    EXPECT_EQ(
        fitted({{Tone::Plain, "a = "}, {Tone::Value, std::string(40, 'x')}, {Tone::Plain, " <- b"}},
               30),
        "a = " + std::string(20, 'x') + "… <- b");
}

TEST(AppendFitted, SeveralLongValues_ShareTheLine) {
    EXPECT_EQ(fitted({{Tone::Value, std::string(100, 'x')},
                      {Tone::Plain, " -> "},
                      {Tone::Value, std::string(60, 'y')}},
                     44),
              std::string(19, 'x') + "… -> " + std::string(19, 'y') + "…");
}

TEST(AppendFitted, ShortValueBesideALongOne_StaysWhole) {
    EXPECT_EQ(fitted({{Tone::Value, "0.123456789012"},
                      {Tone::Plain, " -> "},
                      {Tone::Value, std::string(60, 'y')}},
                     40),
              "0.123456789012 -> " + std::string(21, 'y') + "…");
}

TEST(AppendFitted, LineWithoutValues_GoesOnFurtherIn) {
    const struct {
        std::vector<LinePiece> line;
        const char* expected;
        const char* note;
    } cases[] = {
        {{{Tone::Plain, "one two three four five"}}, "one two three four\nfive", "prose"},
        {{{Tone::Name, "one"}, {Tone::Plain, " two three four five"}},
         "one two three four\n    five",
         "a line of parts"},
        {{{Tone::Note, "│  ├─ "}, {Tone::Name, "one"}, {Tone::Plain, " two three four"}},
         "│  ├─ one two three\n          four",
         "a branch of a tree"},
        {{{Tone::Plain, "  -x  one two three four"}}, "  -x  one two three\n      four", "a table"},
        {{{Tone::Plain, std::string(45, 'x')}},
         "xxxxxxxxxxxxxxxxxxxx\nxxxxxxxxxxxxxxxxxxxx\nxxxxx",
         "a long word"},
        {{{Tone::Plain, "one two three fours         five"}},
         "one two three fours\nfive",
         "blanks where the line ends"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(fitted(test.line, 20), test.expected) << test.note;
}

TEST(AppendFitted, Colours_EndAndBeginAgainAroundLineEnds) {
    EXPECT_EQ(fitted({{Tone::Error, "kelvo:"}, {Tone::Plain, " no"}}, 20, true),
              "\x1b[1;31mkelvo:\x1b[0m no");
    EXPECT_EQ(fitted({{Tone::Plain, "one "}, {Tone::Name, "two three four five"}}, 20, true),
              "one \x1b[1mtwo three four\x1b[0m\n    \x1b[1mfive\x1b[0m");
}

TEST(AppendFitted, WideCharacters_AreNotCutInHalves) {
    EXPECT_EQ(fitted({{Tone::Value, "漢字漢字漢字漢字漢字漢字"}}, 20), "漢字漢字漢字漢字漢…");
}

} // namespace
} // namespace qv::kelvo_tool
