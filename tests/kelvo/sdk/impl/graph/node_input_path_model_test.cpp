// Each search for an input gives the same result as comparing the path texts one after the other.

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

// ---- The slow and obvious search -----------------------------------------------------------

std::string folded(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

IInput* searchBelow(IInput* input, const std::string& path) {
    if (folded(std::string(input->path().view())) == path) return input;
    if (!input->hasElementType(AttrType::Null) && !input->isObject()) return nullptr;
    for (u64 i = 0; i < input->inputCount(); ++i) {
        if (IInput* found = searchBelow(input->input(i), path)) return found;
    }
    return nullptr;
}

IInput* searchedInFull(const Node& node, const std::string& path) {
    const std::string prefix = folded(std::string(node.name().view()) + ".");
    std::string full = folded(path);
    if (full.rfind(prefix, 0) != 0) full = prefix + full;
    for (u64 i = 0; i < node.inputCount(); ++i) {
        if (IInput* found = searchBelow(node.input(i), full)) return found;
    }
    return nullptr;
}

// ---- A nested node -------------------------------------------------------------------------

void addTo(IInput& array, int count) {
    for (int i = 0; i < count; ++i)
        array.appendElement();
}

void addPlain(Node& node) {
    node.createInput("color", AttrType::Rgba);
    node.createInput("nn", AttrType::Int);
    node.createInput("buffer", AttrType::Buffer);
    node.createInput("link", AttrType::Node);
    node.createInput("nothing", AttrType::Null);
    node.createInput("empty", AttrType::Object);
    node.createArray("none", AttrType::Int);
    addTo(*node.createArray("many", AttrType::Int), 12);
}

void addNested(Node& node) {
    IInput* object = node.createInput("obj", AttrType::Object);
    IInput* inner = object->createInput("inner", AttrType::Object);
    inner->createInput("deep", AttrType::Int);
    addTo(*inner->createArray("list", AttrType::Real), 3);
    object->createInput("obj", AttrType::Object)->createInput("n", AttrType::Int);
    IInput* array = node.createArray("arr", AttrType::Object);
    addTo(*array, 2);
    array->input(u64(0))->createInput("m", AttrType::Int);
    addTo(*array->input(u64(1))->createArray("arr", AttrType::Object), 2);
    array->input(u64(1))->input(u64(0))->input(u64(1))->createInput("m", AttrType::Object);
    IInput* grid = node.createArray("grid", AttrType::Array);
    addTo(*grid->createArray("0", AttrType::Int), 3);
    addTo(*grid->createArray("1", AttrType::Array)->createArray("0", AttrType::Real), 2);
}

// Adds inputs with the name of the node, and several with the same name.
void addConfusing(Node& node) {
    IInput* same = node.createInput("n", AttrType::Object);
    same->createInput("n", AttrType::Object)->createInput("color", AttrType::Int);
    same->createInput("color", AttrType::Int);
    node.createInput("twin", AttrType::Int);
    node.createInput("Twin", AttrType::Object)->createInput("m", AttrType::Int);
    addTo(*node.createArray("TWIN", AttrType::Int), 2);
    node.createInput("m", AttrType::Int);
}

void listAll(IInput& input, std::vector<IInput*>& all) {
    all.push_back(&input);
    for (u64 i = 0; i < input.inputCount(); ++i)
        listAll(*input.input(i), all);
}

// No search logs a line or adds an input.
class InputSearch : public testing::Test {
protected:
    InputSearch() {
        addPlain(m_node);
        addNested(m_node);
        addConfusing(m_node);
        m_all = all();
    }
    void TearDown() override {
        EXPECT_EQ(all(), m_all);
        EXPECT_EQ(m_log.text(), "");
    }

    [[nodiscard]] std::vector<IInput*> all() const {
        std::vector<IInput*> inputs;
        for (u64 i = 0; i < m_node.inputCount(); ++i)
            listAll(*m_node.input(i), inputs);
        return inputs;
    }

    // Compares the two searches; returns true when they find an input.
    bool compare(const std::string& path) const {
        IInput* found = m_node.findInput(String(std::string_view(path)));
        EXPECT_EQ(found, searchedInFull(m_node, path)) << "'" << path << "'";
        return found != nullptr;
    }

    Node m_node{nullptr, "thing", "n"};
    std::vector<IInput*> m_all;
    tests::LogCapture m_log;
};

// ---- Compared ------------------------------------------------------------------------------

TEST_F(InputSearch, EveryPath_FindsWhatTheFullSearchFinds) {
    for (const IInput* input : m_all) {
        const std::string path(input->path().view());
        EXPECT_TRUE(compare(path)) << path;
        EXPECT_TRUE(compare("N" + path.substr(1))) << path;
        EXPECT_TRUE(compare(folded(path))) << path;
        // Without the node's name, the rest may be the path of another input.
        compare(path.substr(2));
    }
}

// The paths are separated by bars.
constexpr std::string_view kOdd =
    "|.|..|n|n.|n..|n.n|n.n.n|n.n.n.n|N.N.COLOR|n.n.n.color|n.color|n..color|nn|nn.|n.nn|"
    "nn.color|[0]|n[0]|n.[0]|arr|ARR[1]|arr[03]|arr[ 1]|arr[1 ]|arr[1]x|arr[1] |arr[+1]|"
    "arr[-1]|arr[-0]|arr[]|arr[|arr[1|arr]1[|arr[[1]]|arr[1]]|arr[0].m.|arr[0]m|"
    "arr[0][m]|arr[0]..m|arr.0|arr.m|arr[1].arr[1].m|arr[1].ARR[1].M|arr[1].arr[0].m|"
    "arr[1]arr[1]|many[11]|many[1]1|many[1][1]|many[12]|many[011]|many[1e1]|many[0x1]|"
    "many[18446744073709551615]|many[18446744073709551616]|many[18446744073709551617]|"
    "many[99999999999999999999999]|none|none[0]|empty|empty.|empty.m|nothing|nothing.m|"
    "nothing[0]|buffer[0]|link.x|twin|twin.m|twin[1]|twin[2]|TWIN.M|grid[0][2]|grid[0].2|"
    "grid[0][3]|grid[1][0][1]|grid[1][0][1][0]|grid[0,2]|obj.obj|obj.obj.n|obj.n|"
    "obj.inner.list[2]|obj.inner.list|inner.deep|obj.inner.|obj[0]|obj[inner]|color.|"
    "colo|colorx|color[0]| color|color |thing.color|n.thing.color|n/color|c\xc3\xb6lor|"
    "\xff|n.\xff|[|]|n.]";

TEST_F(InputSearch, OddPaths_FindWhatTheFullSearchFinds) {
    std::istringstream paths{std::string(kOdd)};
    for (std::string path; std::getline(paths, path, '|');)
        compare(path);
    compare(std::string("color\0", 6));
    compare(std::string("arr[1\0]", 7));
    compare(std::string("\0n.color", 8));
}

constexpr int kRandomPaths = 4'000;

TEST_F(InputSearch, RandomSteps_FindWhatTheFullSearchFinds) {
    constexpr const char* kPieces[] = {"n",   "arr", "OBJ",  "twin",   "many",  "grid", "color",
                                       ".n",  ".m",  ".obj", ".inner", ".list", ".",    "[0]",
                                       "[1]", "[2]", "[",    "]",      "x",     " "};
    std::mt19937 random(1);
    int hits = 0;
    for (int i = 0; i < kRandomPaths; ++i) {
        std::string path;
        for (u64 left = random() % 6; left > 0; --left)
            path += kPieces[random() % std::size(kPieces)];
        hits += compare(path);
    }
    EXPECT_GT(hits, 200);
}

// Inserts, removes, replaces or repeats a character.
void spoil(std::string& path, std::mt19937& random) {
    constexpr std::string_view kCharacters = "n.[]+-01 aAmxobjOBJ";
    const u64 at = random() % (path.size() + 1);
    const char other = kCharacters[random() % kCharacters.size()];
    switch (random() % 4) {
    case 0:
        path.insert(at, 1, other);
        break;
    case 1:
        path.erase(at, 1);
        break;
    case 2:
        path.replace(at, 1, 1, other);
        break;
    default:
        path.insert(at, path.substr(at, 1));
        break;
    }
}

TEST_F(InputSearch, SpoiltPaths_FindWhatTheFullSearchFinds) {
    std::mt19937 random(2);
    int hits = 0;
    for (int i = 0; i < kRandomPaths; ++i) {
        std::string path(m_all[random() % m_all.size()]->path().view());
        if (random() % 2) path.erase(0, 2);
        for (u64 left = random() % 3; left > 0; --left)
            spoil(path, random);
        hits += compare(path);
    }
    EXPECT_GT(hits, 1'000);
    EXPECT_LT(hits, kRandomPaths - 1'000);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
