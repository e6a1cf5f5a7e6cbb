// Nodes that one side of a merge removed and the other changed, and the references to them.

#include "kelvo/sdk/scene_diff.h"

#include "tests/support/merged_texts.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

using tests::merge;
using tests::Merged;
using tests::rewritten;

constexpr MergeOptions preferMine{MergeSide::Mine};
constexpr MergeOptions preferTheirs{MergeSide::Theirs};

std::string node(const std::string& name, const std::string& body = "") {
    return "node light \"" + name + "\" {\n" + body + "}\n";
}

std::string room(const std::string& children) {
    return node("room", "Array<Node> children = [" + children + "]\n");
}

// ---- References to a node that stays ----------------------------------------------------------

struct LinkCase {
    const char* note;
    // The lines of another node, before and after 'a' was removed.
    const char* before;
    const char* after;
};
void PrintTo(const LinkCase& link, std::ostream* out) {
    *out << link.note;
}
class MergedRemoval : public testing::TestWithParam<LinkCase> {};

const char* const kOutput = "Real r = 1\noutput Real o\n";
const char* const kChanged = "Real r = 2\noutput Real o\n";

TEST_P(MergedRemoval, PreferringTheChange_KeepsTheNodeAndWhatLeadsToIt) {
    const std::string base = node("u", GetParam().before) + node("a", kOutput) + node("b");
    const std::string changed = node("u", GetParam().before) + node("a", kChanged) + node("b");
    const std::string removed = node("u", GetParam().after) + node("b");
    EXPECT_EQ(merge(base, changed, removed, preferMine).text, rewritten(changed));
    EXPECT_EQ(merge(base, removed, changed, preferTheirs).text, rewritten(changed));
}

TEST_P(MergedRemoval, PreferringTheRemoval_RemovesTheNodeAndWhatLedToIt) {
    const std::string base = node("u", GetParam().before) + node("a", kOutput) + node("b");
    const std::string changed = node("u", GetParam().before) + node("a", kChanged) + node("b");
    const std::string removed = node("u", GetParam().after) + node("b");
    EXPECT_EQ(merge(base, changed, removed, preferTheirs).text, rewritten(removed));
    EXPECT_EQ(merge(base, removed, changed, preferMine).text, rewritten(removed));
}

TEST_P(MergedRemoval, PreferringNone_KeepsTheNodeAndWhatLeadsToIt) {
    const std::string base = node("u", GetParam().before) + node("a", kOutput) + node("b");
    const std::string changed = node("u", GetParam().before) + node("a", kChanged) + node("b");
    const std::string removed = node("u", GetParam().after) + node("b");
    const Merged merged = merge(base, changed, removed);
    std::string text = merged.text;
    const auto mark = text.find("# conflict: a: mine changed it and theirs removed it\n");
    ASSERT_NE(mark, std::string::npos) << text;
    text.erase(mark, text.find('\n', mark) + 1 - mark);
    EXPECT_EQ(text, rewritten(changed));
    EXPECT_TRUE(merged.conflicts.starts_with("a : ")) << merged.conflicts;
    EXPECT_EQ(merged.conflicts.find("removed it"), merged.conflicts.size() - 10);
}

const LinkCase kLinks[] = {
    {"an emptied element", "Array<Node> children = [a, b]\n", "Array<Node> children = [null, b]\n"},
    {"a removed element", "Array<Node> children = [a, b]\n", "Array<Node> children = [b]\n"},
    {"the last element", "Array<Node> modifiers = [b, a]\n", "Array<Node> modifiers = [b]\n"},
    {"the only element", "Array<Node> modifiers = [a]\n", "Array<Node> modifiers = []\n"},
    {"one of several elements", "Array<Node> x = [b, a, b, a]\n", "Array<Node> x = [b, b]\n"},
    {"emptied elements", "Array<Node> x = [a, b, a]\n", "Array<Node> x = [null, b, null]\n"},
    {"an element in an array", "Array<Array> x = [Array<Node> [a]]\n",
     "Array<Array> x = [Array<Node> [null]]\n"},
    {"a link", "Node n = a\n", "Node n = null\n"},
    {"a link in an object", "Object o {\nNode n = a\n}\n", "Object o {\nNode n = null\n}\n"},
    {"a connection", "Real r = 1 <- a.o\n", "Real r = 1\n"},
    {"a connected element", "Array<Real> x = [1 <- a.o, 2]\n", "Array<Real> x = [1, 2]\n"},
    {"a choice", "Node n = null @choices [a, b]\n", "Node n = null @choices [null, b]\n"},
    {"a value kept aside", "Node n = b @stashed a\n", "Node n = b @stashed null\n"},
};
INSTANTIATE_TEST_SUITE_P(Table, MergedRemoval, testing::ValuesIn(kLinks));

TEST(MergedRemoval, OfARenamedNode_KeepsItUnderTheNewName) {
    const std::string body = "Real r = 1\nReal s = 1\nReal t = 1\n";
    const std::string base = room("a, b") + node("a", body) + node("b");
    const std::string mine = room("z, b") + node("z", body + "Real v = 1\n") + node("b");
    const std::string theirs = room("b") + node("b");
    EXPECT_EQ(merge(base, mine, theirs, preferMine).text, rewritten(mine));
    EXPECT_EQ(merge(base, mine, theirs, preferTheirs).text, rewritten(theirs));
}

TEST(MergedRemoval, OfSeveralNodes_KeepsTheChangedOnesAtTheirPlaces) {
    const std::string base = room("a, b, c, d") + node("a", "Real r = 1\n") + node("b") +
                             node("c", "Real r = 1\n") + node("d");
    const std::string mine = room("a, b, c, d") + node("a", "Real r = 2\n") + node("b") +
                             node("c", "Real r = 2\n") + node("d");
    for (const char* children : {"d", "null, null, null, d"}) {
        const std::string theirs = room(children) + node("d");
        const std::string expected =
            room("a, c, d") + node("a", "Real r = 2\n") + node("c", "Real r = 2\n") + node("d");
        std::string text = merge(base, mine, theirs, preferMine).text;
        if (const auto at = text.find("null, "); at != std::string::npos) text.erase(at, 6);
        EXPECT_EQ(text, rewritten(expected));
    }
}

TEST(MergedRemoval, OfATree_KeepsWhatTheChangedNodeHolds) {
    const auto tree = [](const char* r) {
        return room("a") +
               node("a", std::string("Real r = ") + r + "\nArray<Node> children = [b]\n") +
               node("b", "Node n = c\n") + node("c");
    };
    const std::string theirs = room("");
    EXPECT_EQ(merge(tree("1"), tree("2"), theirs, preferMine).text, rewritten(tree("2")));
    EXPECT_EQ(merge(tree("1"), tree("2"), theirs, preferTheirs).text, rewritten(theirs));
    EXPECT_EQ(merge(tree("1"), theirs, tree("2"), preferTheirs).text, rewritten(tree("2")));
}

TEST(MergedRemoval, OfANodeThatTheOtherSideNewlyRefersTo_IsAsPreferred) {
    const std::string base = room("") + node("a") + node("b");
    const std::string mine = room("a") + node("a") + node("b");
    const std::string theirs = room("") + node("b");
    const Merged kept = merge(base, mine, theirs, preferMine);
    EXPECT_EQ(kept.text, rewritten(mine));
    EXPECT_NE(kept.conflicts.find("; mine refers to it and theirs removed it"), std::string::npos);
    EXPECT_EQ(merge(base, mine, theirs, preferTheirs).text, rewritten(theirs));
}

TEST(MergedRemoval, OfWhatOnlyOtherRemovalsChanged_IsNoConflict) {
    const std::string base = node("a", "Node n = c\n") + node("b") + node("c");
    const std::string mine = node("a", "Node n = null\n") + node("b");
    const std::string theirs = node("b") + node("c");
    const Merged merged = merge(base, mine, theirs);
    EXPECT_EQ(merged.conflicts, "");
    EXPECT_EQ(merged.text, rewritten(node("b")));
}

TEST(MergedRemoval, OfAnElementThatIsAlsoReplaced_KeepsBoth) {
    const std::string base = room("a, b") + node("a", "Real r = 1\n") + node("b") + node("c");
    const std::string mine = room("a, b") + node("a", "Real r = 2\n") + node("b") + node("c");
    const std::string theirs = room("c, b") + node("b") + node("c");
    EXPECT_EQ(merge(base, mine, theirs, preferMine).text,
              rewritten(room("a, c, b") + node("a", "Real r = 2\n") + node("b") + node("c")));
}

TEST(MergedRemoval, OfAnOutputThatTheOtherSideChanged_KeepsItsConnections) {
    const std::string base = node("a", "output Real o\n") + node("b", "Real r = 1 <- a.o\n");
    const std::string mine = node("a", "output Int o\n") + node("b", "Real r = 1 <- a.o\n");
    const std::string theirs = node("a") + node("b", "Real r = 1\n");
    EXPECT_EQ(merge(base, mine, theirs, preferMine).text, rewritten(mine));
    EXPECT_EQ(merge(base, mine, theirs, preferTheirs).text, rewritten(theirs));
}

TEST(MergedRemoval, OfANodeThatTheOtherSideAddsElementsFor_LeavesNoEmptyOnes) {
    const std::string base = room("b") + node("a") + node("b");
    const std::string mine = room("b, a, a") + node("a") + node("b");
    const std::string theirs = room("b") + node("b");
    const Merged merged = merge(base, mine, theirs);
    EXPECT_EQ(merged.text.find("null"), merged.text.npos) << merged.text;
    EXPECT_NE(merged.conflicts.find("it refers to 'a', which theirs removed"), std::string::npos);
}

// ---- At random ----------------------------------------------------------------------------------

// Makes nodes with a value, children, a link and a connection to an earlier node.
class LinkedScene {
public:
    explicit LinkedScene(unsigned seed) : m_random(seed) {
        for (int i = below(6) + 1; i != 0; --i)
            add();
        for (int i = 0; i < 12; ++i)
            edit();
    }

    void seed(unsigned seed) { m_random.seed(seed); }

    void edit() {
        if (m_nodes.empty()) return add();
        Item& item = any();
        switch (below(7)) {
        case 0:
            return add();
        case 1:
            return remove(item.name);
        case 2:
            item.value = below(100);
            return;
        case 3:
            item.link = any().name;
            return;
        case 4:
            // Later nodes read earlier ones, so that no loop closes.
            item.source =
                m_nodes[static_cast<u64>(below(static_cast<int>(&item - &m_nodes[0] + 1)))].name;
            if (item.source == item.name) item.source.clear();
            return;
        default:
            item.children.insert(item.children.begin() + below(count(item.children) + 1),
                                 any().name);
        }
    }

    void removeSome(unsigned count) {
        for (; count != 0 && !m_nodes.empty(); --count)
            remove(any().name);
    }

    [[nodiscard]] std::string text() const {
        std::string out;
        for (const Item& item : m_nodes) {
            std::string children;
            for (const std::string& child : item.children)
                children += (children.empty() ? "" : ", ") + child;
            out += node(item.name, "Real r = " + std::to_string(item.value) +
                                       (item.source.empty() ? "" : " <- " + item.source + ".o") +
                                       "\nArray<Node> children = [" + children +
                                       "]\nNode n = " + (item.link.empty() ? "null" : item.link) +
                                       "\noutput Real o\n");
        }
        return out;
    }

private:
    struct Item {
        std::string name;
        int value = 0;
        std::vector<std::string> children;
        std::string link;
        std::string source;
    };

    int below(int end) { return std::uniform_int_distribution(0, end - 1)(m_random); }
    template<typename List>
    static int count(const List& list) {
        return static_cast<int>(list.size());
    }
    Item& any() { return m_nodes[static_cast<u64>(below(count(m_nodes)))]; }

    void add() { m_nodes.push_back({"n" + std::to_string(m_next++), below(100), {}, {}, {}}); }

    void remove(const std::string name) {
        std::erase_if(m_nodes, [&](const Item& item) { return item.name == name; });
        for (Item& item : m_nodes) {
            std::erase(item.children, name);
            if (item.link == name) item.link.clear();
            if (item.source == name) item.source.clear();
        }
    }

    std::mt19937 m_random;
    std::vector<Item> m_nodes;
    int m_next = 0;
};

TEST(MergedRemoval, OfRandomEdits_LeavesNoEmptyElements) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        LinkedScene mine(seed);
        LinkedScene theirs(mine);
        const std::string base = mine.text();
        theirs.seed(seed + 7000);
        for (unsigned i = 0; i <= seed % 6; ++i) {
            mine.edit();
            theirs.edit();
        }
        for (const MergeOptions& options : {preferMine, preferTheirs, MergeOptions()}) {
            const Merged merged = merge(base, mine.text(), theirs.text(), options);
            ASSERT_TRUE(merged.isMade || merged.error.view().find("loop") != std::string_view::npos)
                << "seed " << seed << ": " << merged.error.buf();
            for (const char* empty : {"[null", ", null"})
                ASSERT_EQ(merged.text.find(empty), std::string::npos) << "seed " << seed << "\n"
                                                                      << base << "\n"
                                                                      << mine.text() << "\n"
                                                                      << theirs.text() << "\n"
                                                                      << merged.text;
        }
    }
}

TEST(MergedRemoval, OfWhatMineChanged_PreferringMineGivesMine) {
    for (unsigned seed = 0; seed < 150; ++seed) {
        LinkedScene theirs(seed);
        const std::string base = theirs.text();
        std::string mine = base;
        // Changes every node, so that each removal is a conflict.
        for (u64 at = mine.find("Real r = "); at != std::string::npos;
             at = mine.find("Real r = ", at + 1))
            mine.insert(at + 9, "1");
        theirs.removeSome(1 + seed % 3);
        EXPECT_EQ(merge(base, mine, theirs.text(), preferMine).text, rewritten(mine)) << seed;
        EXPECT_EQ(merge(base, theirs.text(), mine, preferTheirs).text, rewritten(mine)) << seed;
    }
}

} // namespace
} // namespace qv::kelvo_sdk
