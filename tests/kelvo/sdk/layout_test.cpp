#include "kelvo/sdk/layout.h"

#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* types = R"(
type lamp {
    Real power = 1
    Real size = 2 @label "de" "Größe"
    Bool hidden = false
    Rgba color = (1 1 1 1)
    page "General" @label "de" "Allgemein" {
        power
        group "look" { color, size }
    }
    page "More" { }
}
)";

// Returns "page: input input; group: input;" page by page.
std::string told(const ds::Vector<LayoutPage>& pages) {
    std::string text;
    for (const LayoutPage& page : pages) {
        text += std::string(page.label.view()) + ":";
        for (const LayoutGroup& group : page.groups) {
            if (!group.name.isEmpty()) text += " " + std::string(group.label.view()) + ":";
            for (const Input& input : group.inputs)
                text += " " + std::string(input.name().view());
            text += ";";
        }
        text += "\n";
    }
    return text;
}

class LayoutPages : public testing::Test {
protected:
    LayoutPages() {
        EXPECT_TRUE(m_library.readDefinitions(types, "types.knd"));
        m_scene.addLibrary(m_library);
        m_lamp = m_scene.createNode("lamp", "lamp");
    }

    LibInfo m_library = LibInfo::create();
    Scene m_scene = Scene::create();
    Node m_lamp;
};

TEST_F(LayoutPages, PagesGroupsAndInputs_AreInTheirOrder) {
    EXPECT_EQ(told(m_lamp.layoutPages("en")), "General: power; Look: color size;\nMore:\n");
    EXPECT_EQ(told(m_lamp.layoutPages("de")), "Allgemein: power; Look: color size;\nMore:\n");
    EXPECT_EQ(m_lamp.layoutPages()[0].name, "General");
}

TEST_F(LayoutPages, Inputs_AreThoseOfTheNode) {
    const Input power = m_lamp.layoutPages()[0].groups[0].inputs[0];
    EXPECT_EQ(power, m_lamp["power"]);
    EXPECT_NE(power, m_library.findType("lamp")["power"]);
}

TEST_F(LayoutPages, RemovedInputs_AreLeftOut) {
    m_lamp.removeInput("color");
    EXPECT_EQ(told(m_lamp.layoutPages("en")), "General: power; Look: size;\nMore:\n");
}

TEST_F(LayoutPages, WithoutALayout_ThereAreNone) {
    EXPECT_TRUE(m_scene.createNode("unknown", "n").layoutPages().isEmpty());
    EXPECT_TRUE(Node().layoutPages().isEmpty());
}

} // namespace
} // namespace qv::kelvo_sdk
