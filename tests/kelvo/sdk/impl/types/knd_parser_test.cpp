// Text that is no valid definition text is reported, and changes no library.

#include "kelvo/sdk/impl/types/knd_parser.h"

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/standard/standard_library.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::libraryErrors;
using tests::libraryOf;
using tests::rewrittenLibrary;

constexpr const char* kSample = R"(kelvo types 1

# All that emits light.
type light : object @abstract {
    label "en" "Light" # the word
    label "de" "Licht"
    help "en" "Emits \"light\"."
    help "de" """
        Gibt Licht.

        Auch nachts.
    """
    icon """
        <svg xmlns="http://www.w3.org/2000/svg">
            <circle r="9"/>
        </svg>
    """
    Real intensity = 1 @min 0 @max 100 @unit "W" @label "de" "Stärke" @help "en" "Power."
    String falloff = "square" @choices ["none", "linear", "square"]
    Array<Real> steps = [1, 2.5]
    Buffer<Pos3f> points = [(0 0 0) (1 -0 nan)] @type Pos3f
    Object shadow {
        Bool cast = true @readonly
        Object fine {
            Int samples = 3
        }
    }
    output Rgba emission
    output Buffer<Float> rays
    page "General" @label "de" "Allgemein" {
        intensity, falloff
        group "Look" @label "de" "Aussehen" { shadow }
        group "Empty" {}
        name
    }
}

type object @internal {
    String name = ""
    Node target = null
}
# end
)";

// ---- Errors ---------------------------------------------------------------------------------

struct BadCase {
    const char* text;
    const char* errors;
};
class KndParserBad : public testing::TestWithParam<BadCase> {};

TEST_P(KndParserBad, Read_IsRefusedWithItsPlace) {
    const auto library = libraryOf("type kept {\n}\n");
    const String before = library->definitionText();
    EXPECT_EQ(libraryErrors(GetParam().text, library), GetParam().errors);
    EXPECT_EQ(library->definitionText(), before);
}

const BadCase kBad[] = {
    {"kelvo types 2",
     "1:13: Found '2' where the version was expected; this is a reader of version 1."},
    {"node a \"n\" {\n}", "1:1: Found 'node' where 'type' was expected."},
    {"type {\n}", "1:6: Found '{' where the name of a type was expected."},
    {"type 1 {\n}", "1:6: Found '1' where the name of a type was expected."},
    {"type a\n}", "1:7: in 'a': Found the end of the line where '{' was expected."},
    {"type a : {\n}", "1:10: in 'a': Found '{' where the name of a type was expected."},
    {"type a @odd {\n}", "1:8: in 'a': Found '@' where '{' was expected."},
    {"type a {\n", "2:1: in 'a': Found the end of the text where the '}' to the '{' in line 1 was "
                   "expected."},
    {"type a {\n  lable \"en\" \"A\"\n}",
     "2:3: in 'a': Unknown kind 'lable': did you mean 'label'?"},
    {"type a {\n  label en \"A\"\n}",
     "2:9: in 'a': Found 'en' where a text in quotes was expected."},
    {"type a {\n  label \"en\"\n}",
     "2:13: in 'a': Found the end of the line where a text in quotes was expected."},
    {"type a {\n  label \"en\" \"A\"\n  label \"en\" \"B\"\n}",
     "3:9: in 'a': There is a text for the language 'en' already."},
    {"type a {\n  Real x = 1 @max 0\n}", "2:12: in 'a': The value 1 is above the maximum 0."},
    {"type a {\n  Real x = one\n}", "2:12: in 'a': Found 'one' where a number was expected."},
    {"type a {\n  output Node n\n}", "2:10: in 'a': An output cannot be of kind Node."},
    {"type a {\n  page \"P\" { nothing }\n}", "2:14: in 'a': The type has no input 'nothing'."},
};
INSTANTIATE_TEST_SUITE_P(Table, KndParserBad, testing::ValuesIn(kBad));

TEST(KndParser, ManyErrors_AreReportedUpToTwenty) {
    std::string text = "type a {\n";
    for (int i = 0; i < 30; ++i)
        text += "  Raal x" + std::to_string(i) + "\n";
    const std::string errors = libraryErrors(text + "}\n");
    EXPECT_EQ(std::ranges::count(errors, '\n'), 19) << errors;
}

TEST(KndParser, WithoutAList_ErrorsAreLogged) {
    const tests::LogCapture log;
    EXPECT_FALSE(tests::emptyLibrary()->readDefinitions("type a : b {\n}", "my.knd"));
    EXPECT_EQ(log.text(), "error: my.knd:1:10: type 'a': Unknown base 'b'.\n");
}

// ---- Damaged texts ----------------------------------------------------------------------------

// Reads any text: the library takes it whole, and then writes a text that reads back to the same
// bytes; or reports errors and stays as it was.
void expectAllOrNothing(std::string_view text, const tests::Library& basesFrom = {}) {
    const auto library = libraryOf("type kept {\n}\n");
    const std::string errors = libraryErrors(text, library, basesFrom);
    if (!errors.empty()) {
        ASSERT_EQ(library->typeCount(), 1u) << text;
        ASSERT_LE(std::ranges::count(errors, '\n'), 19) << text;
        return;
    }
    const String written = library->definitionText();
    const auto again = tests::emptyLibrary();
    ASSERT_EQ(libraryErrors(written.view(), again, basesFrom), "") << text;
    ASSERT_EQ(again->definitionText(), written) << text;
}

TEST(KndParser, Sample_IsWrittenAsItWasRead) {
    EXPECT_EQ(rewrittenLibrary(kSample), kSample);
}

TEST(KndParser, TextCutAtEveryByte_IsTakenWholeOrNotAtAll) {
    const std::string_view text = kSample;
    for (u64 length = 0; length < text.size(); ++length)
        expectAllOrNothing(text.substr(0, length));
}

TEST(KndParser, TextWithoutItsBeginning_IsTakenWholeOrNotAtAll) {
    const std::string_view text = kSample;
    for (u64 start = 0; start < text.size(); start += 3)
        expectAllOrNothing(text.substr(start));
}

TEST(KndParser, FlippedBytes_AreTakenWholeOrNotAtAll) {
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string text = kSample;
        for (int flips = 0; flips <= round % 4; ++flips)
            text[random() % text.size()] = static_cast<char>(random() % (round % 2 ? 256 : 128));
        expectAllOrNothing(text);
    }
}

TEST(KndParser, LinesInAnyOrder_AreTakenWholeOrNotAtAll) {
    std::mt19937 random(11);
    for (int round = 0; round < 500; ++round) {
        std::vector<std::string> lines;
        for (std::string_view rest = kSample; !rest.empty();) {
            const u64 length = rest.find('\n') + 1;
            if (random() % 20 != 0) lines.emplace_back(rest.substr(0, length));
            rest.remove_prefix(length);
        }
        for (int swaps = 0; swaps <= round % 5; ++swaps)
            std::swap(lines[random() % lines.size()], lines[random() % lines.size()]);
        std::string text;
        for (const std::string& line : lines)
            text += line;
        expectAllOrNothing(text);
    }
}

TEST(KndParser, StandardLibraryCutAtMany_IsTakenWholeOrNotAtAll) {
    const String text = standardLibraryText();
    for (u64 length = 0; length < text.size(); length += 397)
        expectAllOrNothing(text.view().substr(0, length));
}

TEST(KndParser, DeepNests_AreAnErrorAndNoOverflow) {
    std::string text = "type a {\n";
    for (int i = 0; i < 100'000; ++i)
        text += "Object o {\n";
    const std::string errors = libraryErrors(text);
    EXPECT_NE(errors.find("nested more than 200 deep"), std::string::npos) << errors;
}

TEST(KndParser, UnclosedRawText_IsAnError) {
    const std::string errors = libraryErrors("type a {\n  icon \"\"\"\n    <svg/>\n}\n");
    EXPECT_EQ(errors.substr(0, 5), "2:8: ") << errors;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
