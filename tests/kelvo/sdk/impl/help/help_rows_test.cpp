#include "kelvo/sdk/help.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/layout.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/help/help_value.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class HelpRows : public testing::Test {
protected:
    [[nodiscard]] HelpRow only() const {
        const std::vector<HelpPage> pages = helpPages(m_handle);
        return pages.at(0).groups.at(0).rows.at(0);
    }
    // Returns "name:depth" of all rows.
    [[nodiscard]] std::string outline() const {
        std::string text;
        for (const HelpPage& page : helpPages(m_handle))
            for (const HelpGroup& group : page.groups)
                for (const HelpRow& row : group.rows)
                    text += (text.empty() ? "" : " ") + std::string(row.name.view()) + ":" +
                            std::to_string(row.depth);
        return text;
    }
    static AttrData real(Value minimum, Value maximum) {
        AttrData data = AttrData::withDefault(0.5);
        data.describe().minimum = std::move(minimum);
        data.describe().maximum = std::move(maximum);
        return data;
    }

    Node m_node{nullptr, "light", "lamp"};
    const kelvo_sdk::Node m_handle{&m_node};
};

TEST_F(HelpRows, NoInputs_NoPages) {
    EXPECT_TRUE(helpPages(m_handle).empty());
}

TEST_F(HelpRows, Input_IsDescribed) {
    AttrData data = AttrData::withDefault(2.0);
    data.describe().unit = "m";
    data.describe().labels.push_back({"en", "beam width"});
    data.describe().helps.push_back({"en", "How wide."});
    data.readOnly = true;
    m_node.createInput("width", data);
    const HelpRow row = only();
    EXPECT_STREQ(row.name.buf(), "width");
    EXPECT_STREQ(row.label.buf(), "Beam Width");
    EXPECT_STREQ(row.kind.buf(), "Real");
    EXPECT_STREQ(row.defaultText.buf(), "2");
    EXPECT_STREQ(row.unit.buf(), "m");
    EXPECT_STREQ(row.help.buf(), "How wide.");
    EXPECT_TRUE(row.isReadOnly);
}

TEST_F(HelpRows, LabelFromTheName_IsSpeltAsWords) {
    m_node.createInput("beam_width", AttrType::Real);
    EXPECT_STREQ(only().label.buf(), "Beam Width");
}

TEST_F(HelpRows, Default_IsTheDescribedOneWhateverTheValue) {
    m_node.createInput("width", AttrData::withDefault(2.0))->setReal(7);
    EXPECT_STREQ(only().defaultText.buf(), "2");
}

TEST_F(HelpRows, Default_OfUndescribedIsTheKindsZero) {
    m_node.createInput("at", AttrType::Pos3)->setPos3({1, 2, 3});
    EXPECT_STREQ(only().defaultText.buf(), "(0 0 0)");
}

TEST_F(HelpRows, Range_SaysTheBoundsThereAre) {
    const struct {
        Value minimum;
        Value maximum;
        const char* expected;
    } cases[] = {
        {{}, {}, ""}, {0.0, 1.0, "0 to 1"}, {0.0, {}, "at least 0"}, {{}, 1.0, "at most 1"}};
    for (const auto& [minimum, maximum, expected] : cases)
        EXPECT_STREQ(helpRange(*real(minimum, maximum).details).buf(), expected);
}

TEST_F(HelpRows, Choices_AreListed) {
    AttrData data = AttrData::withDefault("fast");
    data.describe().choices.push_back("fast");
    data.describe().choices.push_back("good");
    m_node.createInput("mode", data);
    ASSERT_EQ(only().choices.size(), 2u);
    EXPECT_STREQ(only().choices[1].buf(), "\"good\"");
}

TEST_F(HelpRows, Members_StandBelowTheirObject) {
    IInput* shade = m_node.createInput("shade", AttrType::Object);
    shade->createInput("tint", AttrType::Rgba);
    shade->createInput("rim", AttrType::Object)->createInput("size", AttrType::Real);
    m_node.createInput("last", AttrType::Bool);
    EXPECT_EQ(outline(), "shade:0 tint:1 rim:1 size:2 last:0");
}

TEST_F(HelpRows, PlainElements_StandInTheDefault) {
    IInput* list = m_node.createArray("list", AttrType::Real);
    list->appendElement();
    list->appendElement();
    EXPECT_EQ(outline(), "list:0");
    EXPECT_STREQ(only().defaultText.buf(), "[0, 0]");
    EXPECT_STREQ(only().kind.buf(), "Array<Real>");
}

TEST_F(HelpRows, ElementsWithMembers_AreReportedUpToSome) {
    IInput* list = m_node.createArray("list", AttrType::Object);
    for (int i = 0; i < 5; ++i)
        list->appendElement()->createInput("at", AttrType::Real);
    EXPECT_EQ(outline(), "list:0 [0]:1 at:2 [1]:1 at:2 [2]:1 at:2");
}

TEST_F(HelpRows, DeepObjects_NeedNoStack) {
    IInput* next = m_node.createInput("o", AttrType::Object);
    for (int i = 0; i < 2000; ++i)
        next = next->createInput("o", AttrType::Object);
    EXPECT_EQ(helpPages(m_handle).at(0).groups.at(0).rows.size(), 2001u);
}

// ---- Layout --------------------------------------------------------------------------------

class HelpLayout : public HelpRows {
protected:
    HelpLayout() {
        for (const char* name : {"width", "height", "color", "rest"})
            m_node.createInput(name, AttrType::Real);
    }
    void lay(std::vector<Layout::Page> pages) {
        const auto layout = RefersTo<Layout>::adopt(new Layout(std::move(pages)));
        m_node.setLayout(layout.get());
    }
    // Returns "page{group(names)}" of all pages.
    [[nodiscard]] std::string arrangement() const {
        std::string text;
        for (const HelpPage& page : helpPages(m_handle)) {
            text += std::string(page.label.view()) + "{";
            for (const HelpGroup& group : page.groups) {
                text += std::string(group.label.view()) + "(";
                for (const HelpRow& row : group.rows)
                    text += std::string(row.name.view()) + " ";
                text.back() = ')';
            }
            text += "}";
        }
        return text;
    }
};

TEST_F(HelpLayout, PagesAndGroups_ArrangeTheInputs) {
    lay({{"look", {{"en", "The look"}}, {{"", {}, {"color"}}}},
         {"size", {}, {{"of box", {}, {"height", "width"}}}}});
    EXPECT_EQ(arrangement(), "The Look{(color)}Size{Of Box(height width)}Other{(rest)}");
}

TEST_F(HelpLayout, NothingLeftOut_NeedsNoPageForIt) {
    lay({{"all", {}, {{"", {}, {"color", "height", "width", "rest"}}}}});
    EXPECT_EQ(arrangement(), "All{(color height width rest)}");
}

TEST_F(HelpLayout, NamesWithoutInputsAndNamedTwice_AreSkipped) {
    lay({{"a", {}, {{"", {}, {"gone", "WIDTH"}}}},
         {"b", {}, {{"", {}, {"width"}}}},
         {"c", {}, {{"", {}, {"height", "color", "rest"}}}}});
    EXPECT_EQ(arrangement(), "A{(width)}C{(height color rest)}");
}

TEST_F(HelpLayout, NoPages_AreOneWithoutALabel) {
    lay({});
    EXPECT_EQ(arrangement(), "{(width height color rest)}");
}

// ---- Values --------------------------------------------------------------------------------

TEST(HelpValue, Values_AreShort) {
    const std::string longText(500, 'x');
    const float numbers[20] = {};
    const struct {
        Value value;
        std::string expected;
    } cases[] = {
        {Value(), ""},
        {true, "true"},
        {"a \"b\"", "\"a \\\"b\\\"\""},
        {longText.c_str(), "\"" + longText.substr(0, 160) + "\"…"},
        {Value::zero(AttrType::Mat4), "identity"},
        {Value::zero(AttrType::Node), "null"},
        {Buffer(DataType::Float, numbers, 2), "[0 0]"},
        {Buffer(DataType::Float, numbers, 20), "[20 elements]"},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(helpValue(value).view(), expected);
}

TEST(HelpValue, LongText_IsCutBetweenCharacters) {
    std::string text = "x";
    for (int i = 0; i < 200; ++i)
        text += "ä";
    EXPECT_EQ(helpValue(text.c_str()).view(), "\"" + text.substr(0, 159) + "\"…");
}

TEST(HelpTitle, WithoutLabelAndName_IsTheType) {
    Node node(nullptr, "area_light", "");
    EXPECT_STREQ(helpTitle(kelvo_sdk::Node(&node)).buf(), "Area Light");
    node.setLabel("en", "panel");
    EXPECT_STREQ(helpTitle(kelvo_sdk::Node(&node)).buf(), "Panel");
}

TEST(HelpKind, OpenElementType_IsNotReported) {
    EXPECT_STREQ(helpKind("Buffer<Null>").buf(), "Buffer");
    EXPECT_STREQ(helpKind("Array<Real>").buf(), "Array<Real>");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
