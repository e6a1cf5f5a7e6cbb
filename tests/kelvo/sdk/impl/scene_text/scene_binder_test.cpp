#include "kelvo/sdk/impl/scene_text/scene_binder.h"

#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/validation.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_dump.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::errorsOf;
using tests::NodeDump;
using tests::textOf;

constexpr const char* kTypes = R"(
type thing @abstract {
    Bool visible = true
    output Real age
}
type pot : thing @internal {
    label "en" "Pot"
    help "en" "Holds."
    Real size = 5 @min 0 @max 10
    String mode = "a" @choices ["a", "b"]
    Vec2 place = (0 0) @min (0 0) @max (1 1)
    Real wild = 20 @max 10 @unchecked
    Object lid {
        Real weight = 1 @min 1
        Object knob {
            Int turns = 0 @max 3
        }
    }
    Array<Int> rows = [1, 2]
    output Real volume
    page "Main" { size }
}
)";

kelvo_sdk::Scene sceneWith(const tests::Library& library) {
    const auto scene = kelvo_sdk::Scene::create();
    EXPECT_TRUE(scene.addLibrary(kelvo_sdk::LibInfo(library.get())));
    return scene;
}

const tests::Library& pots() {
    static const tests::Library library = tests::libraryOf(kTypes);
    return library;
}

// ---- Values outside the limits of the definition ----------------------------------------------

// The limits of a library may change after a scene was written: the check finds values outside.
struct RangeCase {
    const char* lines;
    const char* findings;
};

class SceneBinderRange : public testing::TestWithParam<RangeCase> {};

TEST_P(SceneBinderRange, ValueOutside_IsKeptAndFound) {
    std::string text = tests::nodeText(GetParam().lines);
    text.replace(text.find("t \"n\""), 1, "pot");
    const auto scene = sceneWith(pots());
    ASSERT_EQ(errorsOf(text, scene), "") << text;
    std::string findings;
    for (const Finding& finding : validate(scene))
        // The type's own default is outside its limits, marked so in the definition.
        if (finding.rule->id == std::string_view("out-of-range") &&
            (finding.place != "n.wild" || text.find("wild") != std::string::npos))
            findings += std::string(finding.place.view()) +
                        finding.message.substr(finding.message.find(": the value")).buf() + '\n';
    EXPECT_EQ(findings, GetParam().findings) << text;
    const auto again = sceneWith(pots());
    ASSERT_EQ(errorsOf(textOf(scene), again), "");
    EXPECT_EQ(NodeDump::of(again), NodeDump::of(scene));
}

const RangeCase kRanges[] = {
    {"Real size = 11", "n.size: the value 11 is above the maximum 10 (the range is 0 to 10).\n"},
    {"Real size = -1 # low",
     "n.size: the value -1 is below the minimum 0 (the range is 0 to 10).\n"},
    {"Real size=11", "n.size: the value 11 is above the maximum 10 (the range is 0 to 10).\n"},
    {"Real SIZE = 11", "n.SIZE: the value 11 is above the maximum 10 (the range is 0 to 10).\n"},
    {"String mode = \"c\"", "n.mode: the value \"c\" is not among the choices \"a\", \"b\".\n"},
    {"Vec2 place = (0 2)",
     "n.place: the value (0 2) is above the maximum (1 1) (the range is (0 0) to (1 1)).\n"},
    {"Real size = 10", ""},
    {"Real size = nan @unchecked",
     "n.size: the value nan is below the minimum 0 (the range is 0 to 10).\n"},
    {"Real size = 11 @unchecked",
     "n.size: the value 11 is above the maximum 10 (the range is 0 to 10).\n"},
    {"Real size = 11 @own", ""},
    {"Real size = 11 @max 11", ""},
    {"Real size = 12 @max 11", "n.size: the value 12 is above the maximum 11.\n"},
    {"Int size = 11", ""},
    {"Real size", ""},
    {"Real wild = 20", "n.wild: the value 20 is above the maximum 10.\n"},
    {"Object lid {\n    Real weight = 0\n}", "n.lid.weight: the value 0 is below the minimum 1.\n"},
    {"Object lid {\n    Object knob {\n        Int turns = 4\n    }\n} @own",
     "n.lid.knob.turns: the value 4 is above the maximum 3.\n"},
    {"Real size = 11\nString mode = \"c\"",
     "n.size: the value 11 is above the maximum 10 (the range is 0 to 10).\n"
     "n.mode: the value \"c\" is not among the choices \"a\", \"b\".\n"},
};
INSTANTIATE_TEST_SUITE_P(Table, SceneBinderRange, testing::ValuesIn(kRanges));

TEST(SceneBinder, SceneWithoutLibraries_TakesAnyValue) {
    EXPECT_EQ(errorsOf("node pot \"n\" {\n  Real size = 11\n}\n"), "");
}

// ---- Parts that nodes get from definitions ------------------------------------------------------

TEST(SceneBinder, Node_SharesItsTypesDescription) {
    const auto scene = sceneWith(pots());
    EXPECT_EQ(errorsOf("node pot \"n\" {\n  Real size = 1\n}\n", scene), "");
    const auto& node = static_cast<const Node&>(*scene["n"].get());
    const Node& type = *pots()->findType("pot");
    const auto detailsOf = [](const Node& of) {
        return static_cast<const Input&>(*of.input(String("size"))).details();
    };
    EXPECT_EQ(detailsOf(node), detailsOf(type));
    EXPECT_EQ(node.layout(), type.layout());
    EXPECT_STREQ(node.label("en").buf(), "Pot");
    EXPECT_STREQ(node.help("en").buf(), "Holds.");
    EXPECT_TRUE(node.isInternal());
    EXPECT_TRUE(node.isTypeOf(String("thing")));
}

TEST(SceneBinder, UnknownType_StaysBare) {
    const auto scene = sceneWith(pots());
    EXPECT_EQ(errorsOf("node Pot \"n\" {\n}\n", scene), "");
    EXPECT_EQ(scene["n"].inputCount(), 0u);
    EXPECT_EQ(textOf(scene), "kelvo scene 1\n\nnode Pot \"n\" {\n}\n");
}

TEST(SceneBinder, TwoLibrariesWithTheType_TheFirstCounts) {
    const auto scene = sceneWith(tests::libraryOf("type pot {\n  Int first\n}"));
    scene.addLibrary(kelvo_sdk::LibInfo(pots().get()));
    EXPECT_EQ(errorsOf("node pot \"n\" {\n}\n", scene), "");
    EXPECT_EQ(scene.createNode("pot", "made").inputCount(), 1u);
    EXPECT_EQ(NodeDump::of(*scene["n"].get()), "pot 'n'\n  Int<Null>Null first = 0\n");
}

// ---- Callbacks during the reading of a text ---------------------------------------------------

bool removeEverything(interfaces::INode* node, void**) {
    return node->clearInputs() && node->clearOutputs();
}
bool evaluateNothing(EvalCtx*, void*) {
    return false;
}
bool freeNothing(interfaces::INode*, void**) {
    return true;
}

TEST(SceneBinder, InitThatRemovesWhatTheTextTies_LeavesTheRest) {
    const auto library = tests::libraryOf("type shy {\n  Real in\n  Node to\n  output Real out\n}");
    library->setCallbacks("shy",
                          {removeEverything, nullptr, evaluateNothing, nullptr, freeNothing, {}});
    const auto scene = sceneWith(library);
    EXPECT_EQ(errorsOf("node shy \"a\" {\n  Real in <- b.out\n  Node to = b\n}\n"
                       "node shy \"b\" {\n  Real in\n}\n"
                       "node free \"c\" {\n  Real in <- b.out\n}\n",
                       scene),
              "");
    EXPECT_EQ(NodeDump::of(scene), "shy 'a'\nshy 'b'\nfree 'c'\n  Real<Null>Null in = 0\n");
}

// ---- Random edits -------------------------------------------------------------------------------

class RandomEdits {
public:
    RandomEdits(const kelvo_sdk::Scene& scene, u32 seed) : m_scene(scene), m_random(seed) {}

    void edit() {
        auto& node = static_cast<Node&>(*m_scene.node(pick(m_scene.nodeCount())).get());
        switch (pick(10)) {
        case 0:
            return removeFrom(node);
        case 1:
            return void(node.createInput(name(), kind()));
        case 2:
            return void(node.createOutput(name(), pick(2) ? AttrType::Real : AttrType::Int));
        case 3:
            if (node.outputCount() != 0) node.removeOutput(pick(node.outputCount()));
            return;
        case 4:
            if (pick(3) == 0) node.clearInputs();
            return;
        default:
            if (node.inputCount() != 0)
                change(static_cast<Input&>(*node.input(pick(node.inputCount()))));
        }
    }

private:
    u64 pick(u64 count) { return m_random() % count; }
    String name() {
        static const char* const names[] = {"size", "lid", "Mode", "more", "volume", "age", "rows"};
        return names[pick(std::size(names))];
    }
    AttrType kind() {
        static const AttrType kinds[] = {AttrType::Real, AttrType::Int, AttrType::String,
                                         AttrType::Object, AttrType::Node};
        return kinds[pick(std::size(kinds))];
    }

    void removeFrom(Node& node) {
        if (node.inputCount() != 0) node.removeInput(pick(node.inputCount()));
    }

    void change(Input& input) {
        if (input.type() == AttrType::Object && pick(4) != 0) return changeMember(input);
        switch (pick(8)) {
        case 0:
            return input.setSilent(!input.isSilent());
        case 1:
            return input.setReadOnly(!input.isReadOnly());
        case 2:
            return input.setDetails({});
        case 3:
            return describe(input);
        case 4:
            return input.stash();
        case 5:
            return void(input.reset());
        case 6:
            return connect(input);
        default:
            if (input.type() == AttrType::Array) return void(input.appendElement());
            input.setString(String(std::to_string(pick(12))));
        }
    }

    void changeMember(Input& object) {
        if (pick(6) == 0) return void(object.createInput(name(), kind()));
        if (object.inputCount() == 0) return;
        const u64 member = pick(object.inputCount());
        if (pick(5) == 0) return void(object.removeInput(member));
        change(static_cast<Input&>(*object.input(member)));
    }

    void describe(Input& input) {
        auto details = RefersTo<AttrDetails>::adopt(new AttrDetails);
        if (input.type() != AttrType::Object) details->defaultValue = input.value();
        details->unit = pick(2) ? "m" : "";
        input.setDetails(details);
    }

    void connect(Input& input) {
        const auto from = m_scene.node(pick(m_scene.nodeCount()));
        if (from.get()->outputCount() != 0)
            input.connect(from.get()->output(pick(from.get()->outputCount())));
    }

    kelvo_sdk::Scene m_scene;
    std::mt19937 m_random;
};

// A scene with omitted attributes, complete nodes, and edits of both.
constexpr const char* kStart =
    "node pot \"a\" {\n}\n"
    "node pot \"b\" {\n  String mode = \"b\"\n  output Real volume\n}\n"
    "node pot \"c\" {\n  Object lid {\n    Object knob {\n    }\n  }\n}\n";

TEST(SceneBinder, RandomEdits_ComeBackFromText) {
    const tests::LogCapture quiet;
    for (u32 seed = 0; seed < 1500; ++seed) {
        const auto scene = sceneWith(pots());
        ASSERT_EQ(errorsOf(kStart, scene), "");
        scene.createNode("pot", "d");
        RandomEdits edits(scene, seed);
        for (u32 i = 0; i <= seed % 12; ++i)
            edits.edit();
        const std::string text = textOf(scene);
        const auto again = sceneWith(pots());
        ASSERT_EQ(errorsOf(text, again), "") << seed << '\n' << text;
        ASSERT_EQ(NodeDump::of(again), NodeDump::of(scene)) << seed << '\n' << text;
        ASSERT_EQ(textOf(again), text) << seed;
    }
}

// ---- Damaged texts ------------------------------------------------------------------------------

constexpr const char* kSample = R"(kelvo scene 1

node pot "a" @own {
    Real size = 5 @own
    output Real volume
}
node pot : thing, other "b" {
    # what is
    Bool visible = false
    Real size = 11 <- a.volume @unchecked
    Int mode = 3 @max 4
    Object lid {
        Real weight = 2
        Object knob {
        } @own
        Object _meta {
            Int more = 3
        }
    } @silent @own
    Array<Int> rows = [3]
    output Real age
    output Int volume
}
node thing "c" {
    Real size = 5 <- b.volume
}
)";

// Checks that a scene that was read gives the same nodes and bytes when written and read again.
void expectThatItStands(std::string_view text) {
    const auto scene = sceneWith(pots());
    if (!errorsOf(text, scene).empty()) {
        ASSERT_EQ(scene.nodeCount(), 0u) << text;
        return;
    }
    const std::string written = textOf(scene);
    const auto again = sceneWith(pots());
    ASSERT_EQ(errorsOf(written, again), "") << text;
    ASSERT_EQ(NodeDump::of(again), NodeDump::of(scene)) << text << '\n' << written;
    ASSERT_EQ(textOf(again), written) << text;
}

TEST(SceneBinder, TextCutAtEveryByte_StandsOrIsRefused) {
    const std::string_view text = kSample;
    EXPECT_EQ(errorsOf(text, sceneWith(pots())), "");
    for (u64 length = 0; length <= text.size(); ++length)
        expectThatItStands(text.substr(0, length));
}

TEST(SceneBinder, LinesInAnyOrder_StandOrAreRefused) {
    std::mt19937 random(5);
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::string> lines;
        for (std::string_view rest = kSample; !rest.empty();) {
            const u64 length = rest.find('\n') + 1;
            lines.emplace_back(rest.substr(0, length));
            if (random() % 15 == 0) lines.pop_back();
            rest.remove_prefix(length);
        }
        for (int swaps = 0; swaps <= round % 6; ++swaps)
            std::swap(lines[random() % lines.size()], lines[random() % lines.size()]);
        std::string text;
        for (const std::string& line : lines)
            text += line;
        expectThatItStands(text);
    }
}

TEST(SceneBinder, FlippedBytes_StandOrAreRefused) {
    std::mt19937 random(6);
    for (int round = 0; round < 3000; ++round) {
        std::string text = kSample;
        for (int flips = 0; flips <= round % 3; ++flips)
            text[random() % text.size()] = static_cast<char>(random() % 128);
        expectThatItStands(text);
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
