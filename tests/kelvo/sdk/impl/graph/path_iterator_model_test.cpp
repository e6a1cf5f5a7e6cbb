#include "kelvo/sdk/impl/graph/path_iterator.h"

#include "tests/support/log_capture.h"
#include "tests/support/node_graph.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using Followers = std::vector<std::vector<int>>;

constexpr int kSize = 7;
constexpr const char* kTypes[] = {"xform", "mesh", "group", "light"};

// A random graph of nodes, as numbers.
struct Model {
    Followers children = Followers(kSize);
    Followers links = Followers(kSize);
    std::vector<std::string> types = std::vector<std::string>(kSize);

    [[nodiscard]] bool isA(int node, const std::string& type) const {
        const std::string& own = types[static_cast<std::size_t>(node)];
        return own == type || (own == "group" && (type == "xform" || type == "thing"));
    }
};

// Recurses over all paths that repeat no node; paths to a node end there.
struct Enumeration {
    const Followers& followers;
    std::vector<bool> goals;
    bool endsAtGoal;
    std::vector<std::string> found = {};
    std::vector<int> path = {0};

    void run() {
        for (const int next : followers[static_cast<std::size_t>(path.back())]) {
            if (std::ranges::find(path, next) != path.end()) continue;
            path.push_back(next);
            const bool isGoal = goals[static_cast<std::size_t>(next)];
            if (isGoal) found.push_back(text());
            if (!isGoal || !endsAtGoal) run();
            path.pop_back();
        }
    }
    [[nodiscard]] std::string text() const {
        std::string names;
        for (const int node : path)
            names += (names.empty() ? "" : "/") + std::to_string(node);
        return names;
    }
};

class PathIteratorModel : public testing::Test {
protected:
    void build(unsigned seed) {
        m_random.seed(seed);
        m_graph.clear();
        m_model = {};
        for (int i = 0; i < kSize; ++i) {
            const char* type = kTypes[i == 0 ? 0 : random(4)];
            m_model.types[static_cast<std::size_t>(i)] = type;
            Node* node = m_graph.addBare(std::to_string(i), type);
            if (std::string(type) == "group") node->setBases({"thing", "xform"}, false, false);
            node->createOutput("out", AttrType::Real);
        }
        for (int i = 0; i < kSize; ++i)
            addInputs(i);
    }

    // Adds inputs of all kinds that hold links or connections, in a random order.
    void addInputs(int node) {
        std::vector<int> kinds{0, 1, 2, 3, 4};
        std::ranges::shuffle(kinds, m_random);
        for (const int kind : kinds) {
            if (kind == 0) addChildren(node);
            if (random(3) != 0) continue;
            if (kind == 1) addLink(node, at(node)->createInput("link", AttrType::Node));
            if (kind == 2) addConnection(node, at(node)->createInput("real", AttrType::Real));
            if (kind == 3) addObject(node);
            if (kind == 4) addNestedArray(node);
        }
    }
    void addChildren(int node) {
        IInput* list = at(node)->createArray("children", AttrType::Node);
        for (unsigned count = random(4); count > 0; --count) {
            const int child = addLink(node, list->appendElement());
            auto& children = m_model.children[static_cast<std::size_t>(node)];
            if (child >= 0 && m_model.isA(node, "xform")) addOnce(children, child);
        }
    }
    void addObject(int node) {
        IInput* object = at(node)->createInput("object", AttrType::Object);
        addConnection(node, object->createInput("real", AttrType::Real));
        IInput* inner = object->createInput("inner", AttrType::Object);
        addLink(node, inner->createInput("link", AttrType::Node));
        addLink(node, object->createInput("link", AttrType::Node));
    }
    void addNestedArray(int node) {
        IInput* outer = at(node)->createArray("nested", AttrType::Array);
        for (const char* name : {"0", "1"}) {
            IInput* inner = outer->createArray(name, AttrType::Node);
            addLink(node, inner->appendElement());
            addLink(node, inner->appendElement());
        }
    }

    // Adds a random link and returns the number of its target, or -1.
    int addLink(int node, IInput* input) {
        if (random(6) == 0) return -1;
        const int linked = static_cast<int>(random(kSize));
        input->setNode(at(linked));
        addOnce(m_model.links[static_cast<std::size_t>(node)], linked);
        return linked;
    }
    // Adds a random connection; one that would close a loop is refused.
    void addConnection(int node, IInput* input) {
        const int source = static_cast<int>(random(kSize));
        if (input->connect(at(source)->output("out")))
            addOnce(m_model.links[static_cast<std::size_t>(node)], source);
    }
    static void addOnce(std::vector<int>& nodes, int node) {
        if (std::ranges::find(nodes, node) == nodes.end()) nodes.push_back(node);
    }

    [[nodiscard]] Node* at(int index) const { return m_graph[static_cast<std::size_t>(index)]; }
    unsigned random(unsigned below) { return static_cast<unsigned>(m_random() % below); }

    void expectPaths(PathIterator* iterator, Enumeration expected, const std::string& what) {
        expected.run();
        const auto paths = RefersTo<PathIterator>::adopt(iterator);
        std::vector<std::string> found;
        while (const NodePath* path = paths->current()) {
            found.emplace_back(path->text().buf());
            paths->next();
        }
        EXPECT_EQ(found, expected.found) << what;
        EXPECT_EQ(paths->count(), expected.found.size()) << what;
        m_pathCount += found.size();
    }
    [[nodiscard]] const Followers& followers(bool flag) const {
        return flag ? m_model.links : m_model.children;
    }
    void expectPathsTo(int target, bool flag, const std::string& what) {
        std::vector<bool> goals(kSize);
        goals[static_cast<std::size_t>(target)] = true;
        expectPaths(at(0)->pathsTo(at(target), flag), {followers(flag), goals, true}, what);
    }
    void expectPathsByTypes(const std::vector<std::string>& types, bool flag,
                            const std::string& what) {
        std::vector<bool> goals(kSize);
        StringVector names;
        for (const std::string& type : types)
            names.push_back(type.c_str());
        for (int i = 0; i < kSize; ++i)
            goals[static_cast<std::size_t>(i)] =
                types.empty() || std::ranges::any_of(types, [&](const std::string& type) {
                    return m_model.isA(i, type);
                });
        expectPaths(at(0)->paths(names, flag), {followers(flag), goals, false}, what);
    }

    tests::LogCapture m_log;
    std::mt19937 m_random;
    tests::NodeGraph m_graph;
    Model m_model;
    u64 m_pathCount = 0;
};

TEST_F(PathIteratorModel, ToEachNode_TheWaysOfAPlainRecursionInItsOrder) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        build(seed);
        for (const bool flag : {false, true}) {
            for (int target = 0; target < kSize; ++target)
                expectPathsTo(target, flag,
                              "seed " + std::to_string(seed) + " to " + std::to_string(target) +
                                  (flag ? " by all links" : " by children"));
        }
    }
    EXPECT_GT(m_pathCount, 1000u);
}

TEST_F(PathIteratorModel, ToNodesOfTypes_TheWaysOfAPlainRecursionInItsOrder) {
    const std::vector<std::vector<std::string>> choices = {
        {}, {"xform"}, {"mesh"}, {"group"}, {"light", "mesh"}, {"thing"}, {"none"}};
    for (unsigned seed = 0; seed < 400; ++seed) {
        build(seed);
        for (const bool flag : {false, true}) {
            for (const auto& types : choices)
                expectPathsByTypes(types, flag,
                                   "seed " + std::to_string(seed) + " type " +
                                       (types.empty() ? "any" : types[0]) +
                                       (flag ? " by all links" : " by children"));
        }
    }
    EXPECT_GT(m_pathCount, 1000u);
}

TEST_F(PathIteratorModel, FirstPathTo_IsTheFirstOfThePlainRecursion) {
    int found = 0;
    for (unsigned seed = 0; seed < 400; ++seed) {
        build(seed);
        for (const bool flag : {false, true}) {
            std::vector<bool> goals(kSize);
            goals[3] = true;
            Enumeration expected{followers(flag), goals, true};
            expected.run();
            const auto path = RefersTo<NodePath>::adopt(at(0)->firstPathTo(at(3), flag));
            ASSERT_EQ(path.isEmpty(), expected.found.empty()) << seed;
            if (!path) continue;
            EXPECT_EQ(path->text().buf(), expected.found[0]) << seed;
            ++found;
        }
    }
    EXPECT_GT(found, 50);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
