// Attributes that scene text omits because the definition has them, read and written again.

#include "kelvo/sdk/impl/scene_text/omitted_attributes.h"

#include "kelvo/sdk/lib_info.h"
#include "tests/support/library_text.h"
#include "tests/support/node_dump.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::errorsOf;
using tests::NodeDump;
using tests::textOf;

constexpr const char* kTypes = R"(
type object @abstract {
    Bool visible = true @label "en" "Shown"
}
type lamp : object {
    Real power = 5 @min 0 @max 10 @unit "W"
    String mode = "a" @choices ["a", "b"]
    Buffer<Pos3f> points = [] @type Pos3f
    Node target
    Object shadow {
        Bool cast = true
        Real bias = 0.5 @max 1
        Object fine {
            Int steps = 3
            Int seed = 4
        }
    }
    Real locked = 1 @readonly
    output Real watts
    output Rgba color
}
type socket {
    Real watts = 0
    output Real watts
}
)";

constexpr const char* kWhole = R"(lamp 'n' : object
  Bool<Null>Null visible = true default true label enShown
  Real<Null>Null power = 5 default 5 min 0 max 10 unit W
  String<Null>Null mode = "a" default "a" choice "a" choice "b"
  Buffer<Null>Pos3f points = [] default []
  Node<Null>Null target = null
  Object<Null>Null shadow
    Bool<Null>Null cast = true default true
    Real<Null>Null bias = 0.5 default 0.5 max 1
    Object<Null>Null fine
      Int<Null>Null steps = 3 default 3
      Int<Null>Null seed = 4 default 4
  Real<Null>Null locked = 1 readonly default 1
  output Real/Null watts
  output Rgba/Null color
)";

kelvo_sdk::Scene bareScene() {
    const auto scene = kelvo_sdk::Scene::create();
    static const tests::Library library = tests::libraryOf(kTypes);
    scene.addLibrary(kelvo_sdk::LibInfo(library.get()));
    return scene;
}

kelvo_sdk::Scene sceneOf(const std::string& text) {
    const auto scene = bareScene();
    EXPECT_EQ(errorsOf(text, scene), "") << text;
    return scene;
}

// Returns the text of a scene, after checking that reading it gives the same nodes and bytes.
std::string textThatStands(const kelvo_sdk::Scene& scene) {
    const std::string text = textOf(scene);
    const auto again = sceneOf(text);
    EXPECT_EQ(textOf(again), text);
    EXPECT_EQ(NodeDump::of(again), NodeDump::of(scene)) << text;
    return text;
}

std::string lampText(std::string_view lines, std::string_view head = "lamp \"n\"") {
    std::string text = tests::nodeText(lines);
    return text.replace(text.find("t \"n\""), 5, head);
}

// ---- Texts that are written as they were read -------------------------------------------------

struct SameCase {
    const char* note;
    const char* head;
    const char* lines;
};
void PrintTo(const SameCase& same, std::ostream* out) {
    *out << same.note;
}
class LeftOutSame : public testing::TestWithParam<SameCase> {};

TEST_P(LeftOutSame, ReadAndWritten_IsTheSame) {
    const std::string text = lampText(GetParam().lines, GetParam().head);
    EXPECT_EQ(textThatStands(sceneOf(text)), text);
}

const SameCase kSame[] = {
    {"nothing", "lamp \"n\"", ""},
    {"one input", "lamp \"n\"", "Real power = 5"},
    {"an edited input", "lamp \"n\"", "Real power = 7"},
    {"outside of the bounds", "lamp \"n\"", "Real power = 70 @unchecked"},
    {"kept aside", "lamp \"n\"", "Real power = 5 @stashed 6"},
    {"another order", "lamp \"n\"", "String mode = \"a\"\nReal power = 5\nBool visible = true"},
    {"the last before the first", "lamp \"n\"", "Real locked = 1\nBool visible = true"},
    {"another order with some left out", "lamp \"n\"", "Object shadow {\n}\nReal power = 6"},
    {"another order around an added input", "lamp \"n\"",
     "Node target = n\nInt extra = 1\nReal power = 6"},
    {"members in another order", "lamp \"n\"",
     "Object shadow {\n    Object fine {\n        Int seed = 5\n    }\n    Bool cast = true\n}"},
    {"an added input", "lamp \"n\"", "Int extra = 1"},
    {"an added input between", "lamp \"n\"",
     "Bool visible = true\nInt extra = 1\nString mode = \"b\""},
    {"another kind", "lamp \"n\"", "Int power = 5 @max 7"},
    {"another kind and the same name", "lamp \"n\"", "Real power = 5\nInt power = 6"},
    {"another letter case", "lamp \"n\"", "Real POWER = 5"},
    {"own description", "lamp \"n\"", "Real power = 50 @default 5 @max 100"},
    {"own and no description", "lamp \"n\"", "Real power = 50 @own"},
    {"no element type declared", "lamp \"n\"", "Buffer<Float> points = [1 2] @own"},
    {"another element type", "lamp \"n\"", "Buffer<Float> points = [1 2] @type Float @own"},
    {"free to write", "lamp \"n\"", "Real locked = 2 @own"},
    {"a member", "lamp \"n\"", "Object shadow {\n    Real bias = 1\n}"},
    {"a deep member", "lamp \"n\"",
     "Object shadow {\n    Object fine {\n        Int seed = 5\n    }\n}"},
    {"an object without members of its own", "lamp \"n\"", "Object shadow {\n}"},
    {"a member of another kind", "lamp \"n\"", "Object shadow {\n    Int bias = 1\n}"},
    {"an added member", "lamp \"n\"", "Object shadow {\n    Int more = 1\n    Real bias = 1\n}"},
    {"members that lack one", "lamp \"n\"", "Object shadow {\n    Bool cast = false\n} @own"},
    {"outputs in another order", "lamp \"n\"", "output Rgba color\noutput Real watts"},
    {"an output", "lamp \"n\"", "output Rgba color"},
    {"an output of another kind", "lamp \"n\"", "output Int watts"},
    {"an added output", "lamp \"n\"", "output Int more"},
    {"outputs of one name", "lamp \"n\"", "output Real watts\noutput Int watts"},
    {"other bases", "lamp : thing, other \"n\"", "Real power = 7"},
    {"no bases", "lamp \"n\" @own", "Real power = 7"},
    {"a flag", "lamp \"n\" @internal", ""},
    {"comments", "lamp \"n\"", "# strong\nReal power = 9 # W\n# end"},
};
INSTANTIATE_TEST_SUITE_P(Table, LeftOutSame, testing::ValuesIn(kSame));

TEST(OmittedAttributes, TextOfSomeInputsInAnyOrder_IsTheSame) {
    const std::vector<std::string> lines{"Bool visible = false", "Real power = 5",
                                         "String mode = \"b\"",  "Node target = null",
                                         "Real locked = 1",      "Int extra = 1"};
    std::vector<u64> order{0, 1, 2, 3, 4, 5};
    do {
        for (u64 count = 1; count < order.size(); ++count) {
            std::string some;
            for (u64 i = 0; i < count; ++i)
                some += lines[order[i]] + "\n";
            const std::string text = lampText(some);
            ASSERT_EQ(textOf(sceneOf(text)), text);
        }
    } while (std::ranges::next_permutation(order).found);
}

TEST(OmittedAttributes, WhatTextLeavesOut_IsAsDefinedAndAtItsPlace) {
    EXPECT_EQ(NodeDump::of(sceneOf(lampText(""))), kWhole);
    EXPECT_EQ(NodeDump::of(sceneOf(lampText("String mode = \"a\"\noutput Rgba color"))), kWhole);
    EXPECT_EQ(NodeDump::of(sceneOf(lampText("Object shadow {\n    Object fine {\n    }\n}"))),
              kWhole);
}

TEST(OmittedAttributes, TextWithoutValues_StartsAtTheDefaults) {
    const std::string lines = "Bool visible\nReal power\nString mode\nBuffer points\nNode target\n"
                              "Object shadow {\n}\nReal locked";
    EXPECT_EQ(NodeDump::of(sceneOf(lampText(lines))), kWhole);
}

TEST(OmittedAttributes, NodeMadeByType_IsWrittenWithoutNotesAndComesBack) {
    const auto scene = bareScene();
    scene.createNode("lamp", "n");
    EXPECT_EQ(NodeDump::of(scene), kWhole);
    const std::string text = textThatStands(scene);
    EXPECT_EQ(text.find('@'), std::string::npos) << text;
    EXPECT_EQ(text.find(" : "), std::string::npos) << text;
}

// ---- Edits after the reading ----------------------------------------------------------------

struct EditCase {
    const char* note;
    void (*edit)(const kelvo_sdk::Node&);
    const char* text;
};
void PrintTo(const EditCase& edit, std::ostream* out) {
    *out << edit.note;
}
class LeftOutEdited : public testing::TestWithParam<EditCase> {};

TEST_P(LeftOutEdited, Text_TellsTheEdit) {
    const auto scene = sceneOf(lampText(""));
    GetParam().edit(scene["n"]);
    EXPECT_EQ(textThatStands(scene), GetParam().text);
}

const EditCase kEdits[] = {
    {"a value", [](const kelvo_sdk::Node& node) { node["power"].set(6.0); },
     "kelvo scene 1\n\nnode lamp \"n\" {\n    Real power = 6\n}\n"},
    {"a value and back",
     [](const kelvo_sdk::Node& node) {
         node["power"].set(6.0);
         node["power"].reset();
     },
     "kelvo scene 1\n\nnode lamp \"n\" {\n}\n"},
    {"a deep member", [](const kelvo_sdk::Node& node) { node.inputAt("shadow.fine.seed").set(9); },
     "kelvo scene 1\n\nnode lamp \"n\" {\n    Object shadow {\n        Object fine {\n"
     "            Int seed = 9\n        }\n    }\n}\n"},
    {"an added input", [](const kelvo_sdk::Node& node) { node.createInput("more", AttrType::Int); },
     "kelvo scene 1\n\nnode lamp \"n\" {\n    Real locked = 1\n    Int more = 0\n}\n"},
    {"an added output",
     [](const kelvo_sdk::Node& node) { node.createOutput("more", AttrType::Int); },
     "kelvo scene 1\n\nnode lamp \"n\" {\n    output Rgba color\n    output Int more\n}\n"},
    {"a second of the name",
     [](const kelvo_sdk::Node& node) { node.createInput("power", AttrType::Int); },
     "kelvo scene 1\n\nnode lamp \"n\" {\n    Real power = 5\n    Real locked = 1\n"
     "    Int power = 0\n}\n"},
    {"a removed output",
     [](const kelvo_sdk::Node& node) { node.get()->removeOutput(String("watts")); },
     "kelvo scene 1\n\nnode lamp : object \"n\" @own {\n    Bool visible = true\n"
     "    Real power = 5\n    String mode = \"a\"\n    Buffer<Pos3f> points = []\n"
     "    Node target = null\n    Object shadow {\n    }\n"
     "    Real locked = 1\n    output Rgba color\n}\n"},
    {"a removed input",
     [](const kelvo_sdk::Node& node) {
         node.removeInput("power");
         node.removeInput("shadow");
     },
     "kelvo scene 1\n\nnode lamp : object \"n\" @own {\n    Bool visible = true\n"
     "    String mode = \"a\"\n    Buffer<Pos3f> points = []\n    Node target = null\n"
     "    Real locked = 1\n    output Real watts\n    output Rgba color\n}\n"},
    {"a removed member",
     [](const kelvo_sdk::Node& node) { node["shadow"].get()->removeInput(String("bias")); },
     "kelvo scene 1\n\nnode lamp \"n\" {\n    Object shadow {\n        Bool cast = true\n"
     "        Object fine {\n        }\n    } @own\n}\n"},
    {"connected to itself",
     [](const kelvo_sdk::Node& node) { node["power"].connect(node.output("watts")); },
     "kelvo scene 1\n\nnode lamp \"n\" {\n}\n"},
};
INSTANTIATE_TEST_SUITE_P(Table, LeftOutEdited, testing::ValuesIn(kEdits));

// ---- Connections ----------------------------------------------------------------------------

TEST(OmittedAttributes, ConnectionsToLeftOutOutputs_AreMade) {
    const std::string text =
        "kelvo scene 1\n\nnode lamp \"n\" {\n    Real power = 5 <- s.watts\n}\n"
        "node socket \"s\" {\n}\n";
    const auto scene = sceneOf(text);
    EXPECT_EQ(scene["n"]["power"].source().get(), scene["s"].output("watts").get());
    EXPECT_EQ(textThatStands(scene), text);
}

TEST(OmittedAttributes, ConnectionToAnOwnNodesMissingOutput_IsAnError) {
    EXPECT_EQ(errorsOf("node lamp \"n\" {\n    Real power <- s.watts\n}\n"
                       "node socket \"s\" @own {\n}\n",
                       bareScene()),
              "2:19: in 'n': The node 's' has no output 'watts'.");
}

TEST(OmittedAttributes, LeftOutInputThatIsConnected_IsWritten) {
    const auto scene = sceneOf("node lamp \"n\" {\n}\nnode socket \"s\" {\n}\n");
    scene["n"]["power"].connect(scene["s"].output("watts"));
    scene["n"]["target"].set(scene["s"].get());
    EXPECT_EQ(textThatStands(scene),
              "kelvo scene 1\n\nnode lamp \"n\" {\n    Real power = 5 <- s.watts\n"
              "    Node target = s\n}\nnode socket \"s\" {\n}\n");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
