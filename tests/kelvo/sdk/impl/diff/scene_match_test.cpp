#include "kelvo/sdk/impl/diff/scene_match.h"

#include "tests/support/scene_document.h"

#include <gtest/gtest.h>

#include <chrono>

namespace qv::kelvo_sdk::impl {
namespace {

using Places = std::vector<u64>;

ListMatch matchArrays(const std::string& before, const std::string& after) {
    SceneDocument document;
    const auto read = [&](const std::string& elements) {
        return document.parseInput(String(std::string_view("Array<Int> x = " + elements)));
    };
    return matchElements(read(before).value(), read(after).value(), LinkNames());
}

TEST(SceneMatch, Elements_AreMatchedByValueThenByPlace) {
    struct Case {
        const char* before;
        const char* after;
        Places expected;
    };
    const Case cases[] = {
        {"[1, 2, 3]", "[1, 2, 3]", {0, 1, 2}},
        {"[1, 2]", "[0, 1, 2]", {noIndex, 0, 1}},
        {"[1, 2, 3]", "[1, 9, 3]", {0, 1, 2}},
        {"[1, 2, 3]", "[3, 1, 2]", {2, 0, 1}},
        {"[1, 1, 1]", "[1, 1]", {0, 1}},
        {"[1, 2, 3]", "[3]", {2}},
        {"[]", "[4]", {noIndex}},
        {"[5, 1, 5]", "[6, 1, 7]", {0, 1, 2}},
        {"[1, 2, 3, 4]", "[1, 3, 4]", {0, 2, 3}},
    };
    for (const auto& [before, after, expected] : cases)
        EXPECT_EQ(matchArrays(before, after).from, expected) << before << " " << after;
}

TEST(SceneMatch, Stays_AreAsManyAsCanBe) {
    ListMatch match{{4, 0, 1, noIndex, 3, 2}, {}};
    match.findStays();
    EXPECT_EQ(std::count(match.stays.begin(), match.stays.end(), true), 3);
    EXPECT_FALSE(match.stays[0]);
    EXPECT_FALSE(match.stays[3]);
}

TEST(SceneMatch, Kept_TellsWhatIsInTheLaterList) {
    const ListMatch match{{2, noIndex, 0}, {}};
    EXPECT_EQ(match.kept(4), (std::vector<bool>{true, false, true, false}));
}

TEST(SceneMatch, Keys_CountThoseOfOneName) {
    SceneDocument document;
    const auto node = document.parseNode("node a \"a\" {\nReal x = 1\nInt x = 1\nInt y = 1\n}");
    const AttrKeys keys(node->inputs);
    EXPECT_EQ(keyText(keys[1]), "x:2");
    EXPECT_EQ(keys.find(keyOf("x:2")), 1u);
    EXPECT_EQ(keys.find(keyOf("y")), 2u);
    EXPECT_EQ(keys.find(keyOf("y:2")), noIndex);
}

std::string nodesText(const std::vector<std::string>& nodes) {
    std::string text = "kelvo scene 1\n\n";
    for (const std::string& node : nodes)
        text += "node t \"" + node.substr(0, node.find(' ')) + "\" {\n" +
                (node.find(' ') == std::string::npos ? "" : node.substr(node.find(' ') + 1)) +
                "}\n";
    return text;
}

std::string renamesBetween(const std::vector<std::string>& before,
                           const std::vector<std::string>& after) {
    const SceneDocument earlier = tests::documentOf(nodesText(before));
    const SceneDocument later = tests::documentOf(nodesText(after));
    LinkNames names;
    const ListMatch match = matchNodes(earlier, later, names);
    std::string found;
    for (const DocNode& node : earlier.nodes)
        if (const auto name = names.nodeName(node.name); name != node.name)
            found += std::string(node.name) + ">" + std::string(name) + " ";
    return found;
}

TEST(SceneMatch, Nodes_ThatCameBackUnderAnotherName_AreRenamed) {
    const std::string three = "Int i = 1\nInt j = 2\nInt k = 3\n";
    const std::string changed = "Int i = 1\nInt j = 2\nInt k = 4\n";
    const std::string other = "Int i = 1\nInt j = 8\nInt k = 9\n";
    struct Case {
        std::vector<std::string> before;
        std::vector<std::string> after;
        const char* expected;
        const char* note;
    };
    const Case cases[] = {
        {{"a " + three}, {"b " + three}, "a>b ", "the same"},
        {{"a " + three}, {"b " + changed}, "a>b ", "two lines of three"},
        {{"a " + three}, {"b " + other}, "", "one line of three"},
        {{"a " + three}, {"a " + other, "b " + three}, "", "a is there still"},
        {{"a", "b"}, {"c", "d"}, "a>c b>d ", "alike ones in their order"},
        {{"a " + three, "b " + changed}, {"c " + changed, "d " + three}, "a>d b>c ", "the best"},
    };
    for (const auto& [before, after, expected, note] : cases)
        EXPECT_EQ(renamesBetween(before, after), expected) << note;
}

TEST(SceneMatch, Elements_OfLongLists_TakeNearlyLinearTime) {
    DocAttr before;
    before.type = AttrType::Array;
    before.elementType = AttrType::Int;
    SceneDocument document;
    for (int i = 0; i < 100000; ++i) {
        DocAttr element;
        element.type = AttrType::Int;
        element.value = document.keep(String(std::string_view(std::to_string(i))));
        before.members.push_back(std::move(element));
    }
    DocAttr after = before;
    std::reverse(after.members.begin(), after.members.end());
    const auto start = std::chrono::steady_clock::now();
    const ListMatch match = matchElements(before, after, LinkNames());
    EXPECT_EQ(match.from[0], 99999u);
    // Compared pair by pair this would take minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
