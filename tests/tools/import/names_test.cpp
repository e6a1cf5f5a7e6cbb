#include "tools/import/names.h"

#include <gtest/gtest.h>

namespace qv::model_import {
namespace {

using kelvo_sdk::Scene;

TEST(Identifier, FromText_IsTheNearest) {
    const struct {
        const char* text;
        const char* expected;
        const char* note;
    } rows[] = {
        {"wheel", "wheel", "one already"},
        {"_wheel_", "_wheel_", "its own '_' stay"},
        {"nodes[81]", "nodes_81", "a run at the end goes"},
        {"a - b", "a_b", "a run becomes one '_'"},
        {"<root>", "root", "a run in front goes"},
        {"3DSRoot", "_3DSRoot", "a digit in front"},
        {"\xc3\xa4hnlich", "hnlich", "letters beyond ASCII"},
        {"\xe4\xb8\xad\xe5\x9b\xbd", "", "nothing is left"},
        {"", "", "nothing from the start"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(identifierFrom(row.text), row.expected) << row.note;
}

TEST(Names, ForNodes_AreFreeIdentifiers) {
    const Scene scene = Scene::create();
    scene.createNode("light", "lamp");
    Names names(scene);
    const struct {
        const char* original;
        const char* expected;
        const char* note;
    } rows[] = {
        {"wheel", "wheel", "free"},
        {"wheel", "wheel_2", "given before"},
        {"WHEEL", "WHEEL_3", "the same but for its case"},
        {"lamp", "lamp_2", "in the scene before"},
        {"", "mesh", "no name"},
        {"", "mesh_2", "no name again"},
        {"\xe4\xb8\xad", "mesh_3", "nothing an identifier could have"},
        {"0", "mesh_0", "a mere number"},
    };
    for (const auto& row : rows) {
        const String name = names.next(row.original, "mesh");
        EXPECT_EQ(name, row.expected) << row.note;
        scene.createNode("mesh", name);
    }
}

} // namespace
} // namespace qv::model_import
