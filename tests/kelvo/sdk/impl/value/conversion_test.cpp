#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/value/conversion.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Returns the cells of the table in docs/conversions.md, row by row.
std::vector<std::vector<std::string>> documentedTable() {
    std::ifstream file(KELVO_SOURCE_DIR "/docs/conversions.md");
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("| ", 0) != 0 || line.find("from") != line.npos) continue;
        std::vector<std::string> cells;
        std::istringstream in(line.substr(1));
        for (std::string cell; std::getline(in, cell, '|');) {
            std::istringstream word(cell);
            word >> cell;
            cells.push_back(cell);
        }
        rows.push_back(cells);
    }
    return rows;
}

TEST(Conversion, Kinds_AgreeWithTheDocumentedTable) {
    const auto rows = documentedTable();
    ASSERT_EQ(rows.size(), attrTypeCount);
    for (u32 from = 0; from < attrTypeCount; ++from) {
        ASSERT_EQ(rows[from].size(), attrTypeCount + 1u);
        EXPECT_EQ(rows[from][0], attrTypeName(static_cast<AttrType>(from)));
        for (u32 to = 0; to < attrTypeCount; ++to) {
            const bool converts =
                kindsConvert(static_cast<AttrType>(from), static_cast<AttrType>(to));
            EXPECT_EQ(converts, rows[from][to + 1] != ".") << rows[from][0] << " to " << to;
        }
    }
}

TEST(Conversion, KindsOutsideTheEnumeration_ConvertToNothing) {
    EXPECT_FALSE(kindsConvert(AttrType(19), AttrType(19)));
    EXPECT_FALSE(kindsConvert(AttrType(-1), AttrType::String));
    EXPECT_FALSE(kindsConvert(AttrType::String, AttrType(19)));
}

struct ConversionCase {
    Value from;
    AttrType to;
    Value expected;
    const char* note;
};

class ConversionTable : public testing::TestWithParam<ConversionCase> {};

// Null stands for a value that does not convert.
TEST_P(ConversionTable, Result) {
    const ConversionCase& c = GetParam();
    Value out("untouched");
    const bool done = convertValue(c.from, c.to, out);
    EXPECT_EQ(done, !c.expected.isNull()) << c.note;
    EXPECT_EQ(out, done ? c.expected : Value("untouched")) << c.note;
}

const i64 kMaxInt = std::numeric_limits<i64>::max();
const u64 kMaxUInt = std::numeric_limits<u64>::max();
const Value kNothing;

const ConversionCase kConversions[] = {
    {true, AttrType::Int, i64(1), ""},
    {true, AttrType::UInt, u64(1), ""},
    {false, AttrType::Real, 0.0, ""},
    {i64(1), AttrType::Bool, true, ""},
    {i64(2), AttrType::Bool, kNothing, "only 0 and 1 are truths"},
    {i64(-1), AttrType::Bool, kNothing, ""},
    {0.5, AttrType::Bool, kNothing, ""},
    {i64(-1), AttrType::UInt, kNothing, "no negative"},
    {kMaxInt, AttrType::UInt, u64(kMaxInt), ""},
    {kMaxUInt, AttrType::Int, kNothing, "too large"},
    {u64(kMaxInt), AttrType::Int, kMaxInt, ""},
    {2.5, AttrType::Int, kNothing, "not whole"},
    {-2.0, AttrType::Int, i64(-2), ""},
    {-0.0, AttrType::Int, i64(0), ""},
    {9223372036854775808.0, AttrType::Int, kNothing, "2^63 is one too many"},
    {-9223372036854775808.0, AttrType::Int, std::numeric_limits<i64>::min(), ""},
    {18446744073709551616.0, AttrType::UInt, kNothing, "2^64 is one too many"},
    {kInfinity, AttrType::Int, kNothing, ""},
    {std::numeric_limits<double>::quiet_NaN(), AttrType::UInt, kNothing, ""},
    {i64(9007199254740992), AttrType::Real, 9007199254740992.0, "2^53 is exact"},
    {i64(9007199254740993), AttrType::Real, kNothing, "2^53 + 1 is not"},
    {kMaxInt, AttrType::Real, kNothing, "rounds to 2^63"},
    {kMaxUInt, AttrType::Real, kNothing, "rounds to 2^64"},
    {math::Vec2d{1, 2}, AttrType::Pos2, math::Pos2d{1, 2}, ""},
    {math::Pos3d{1, 2, 3}, AttrType::Vec3, math::Vec3d{1, 2, 3}, ""},
    {math::Vec3d{1, 2, 3}, AttrType::Rgba, math::Rgbad{1, 2, 3, 1}, "alpha is 1"},
    {math::Rgbad{1, 2, 3, 4}, AttrType::Vec3, math::Vec3d{1, 2, 3}, "alpha is dropped"},
    {math::Rgbad{1, 2, 3, 4}, AttrType::Vec4, math::Vec4d{1, 2, 3, 4}, ""},
    {math::Vec2d{1, 2}, AttrType::Vec3, kNothing, "of another width"},
    {0.1, AttrType::String, "0.1", ""},
    {math::Vec3d{1, 2, 3}, AttrType::String, "(1 2 3)", ""},
    {"7", AttrType::Int, i64(7), ""},
    {" 7 ", AttrType::UInt, u64(7), "white space around it"},
    {"7x", AttrType::Int, kNothing, "something behind it"},
    {"", AttrType::Real, kNothing, "nothing is no number"},
    {"1e999", AttrType::Real, kNothing, "out of range"},
    {"(1 2)", AttrType::Vec3, kNothing, "too few"},
    {"lamp", AttrType::Node, kNothing, "there is no scene here"},
    {static_cast<interfaces::INode*>(nullptr), AttrType::String, "", "no node, no name"},
    {kNothing, AttrType::String, kNothing, ""},
};
INSTANTIATE_TEST_SUITE_P(Table, ConversionTable, testing::ValuesIn(kConversions));

TEST(Conversion, Node_BecomesItsName) {
    Node node(nullptr, "light", "lamp");
    Value out;
    ASSERT_TRUE(convertValue(Value(static_cast<interfaces::INode*>(&node)), AttrType::String, out));
    EXPECT_STREQ(out.asString().buf(), "lamp");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
