#include "render/impl/hierarchy.h"

#include "render/impl/stopped.h"
#include "tests/render/render_scene_text.h"

namespace qv::render::impl {
namespace {

using render::tests::snapshotOf;
using render::tests::Texts;
using render::tests::textsOf;

class HierarchyTest : public testing::Test {
protected:
    // Returns the visited nodes with their places along x: "desk 3".
    Texts visit(const std::string& text) {
        const auto snapshot = snapshotOf(text);
        FindingList findings;
        Texts visited;
        visitPlaces(snapshot, findings,
                    [&](const kelvo_sdk::SnapshotNode& node, const math::Mat4d& matrix, u32) {
                        visited.push_back(std::string(node.name().view()) + " " +
                                          std::to_string(static_cast<int>(matrix[3][0])));
                    });
        m_findings = textsOf(findings.list());
        return visited;
    }
    static std::string xform(const std::string& name, const std::string& children, int x = 0) {
        return "node xform \"" + name + "\" {\n Array<Node> children = [" + children +
               "]\n Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  " + std::to_string(x) +
               " 0 0 1)\n}\n";
    }
    Texts m_findings;
};

TEST_F(HierarchyTest, Node_IsVisitedAtEachOfItsPlaces) {
    const Texts visited = visit(xform("a", "b, c", 1) + xform("b", "leaf", 10) +
                                xform("c", "leaf", 20) + "node mesh \"leaf\" {\n}\n");
    EXPECT_EQ(visited, (Texts{"a 0", "b 1", "leaf 11", "c 1", "leaf 21"}));
    EXPECT_EQ(m_findings, Texts());
}

TEST_F(HierarchyTest, Place_KnowsThatOfItsParent) {
    const auto snapshot = snapshotOf(xform("a", "b, c") + xform("b", "leaf") + xform("c", "leaf") +
                                     "node mesh \"leaf\" {\n}\nnode mesh \"other\" {\n}\n");
    FindingList findings;
    std::vector<u32> parents;
    visitPlaces(snapshot, findings,
                [&](const kelvo_sdk::SnapshotNode&, const math::Mat4d&, u32 parent) {
                    parents.push_back(parent);
                });
    EXPECT_EQ(parents, (std::vector<u32>{noPlace, 0, 1, 0, 3, noPlace}));
}

TEST_F(HierarchyTest, InvisibleNode_HidesItsChildren) {
    const std::string text = "node xform \"a\" {\n Bool visible = false\n"
                             " Array<Node> children = [leaf]\n}\nnode mesh \"leaf\" {\n}\n";
    EXPECT_EQ(visit(text), Texts{"a 0"});
}

TEST_F(HierarchyTest, Cycle_IsEnteredOnceWithAFinding) {
    EXPECT_EQ(visit(xform("a", "b", 1) + xform("b", "a, leaf", 2) + "node mesh \"leaf\" {\n}\n"),
              (Texts{"a 0", "b 1", "leaf 3"}));
    EXPECT_EQ(m_findings, Texts{"a: The node is below itself, which cannot be shown."});
    EXPECT_EQ(visit(xform("a", "a, leaf", 1) + "node mesh \"leaf\" {\n}\n"),
              (Texts{"a 0", "leaf 1"}));
    EXPECT_EQ(m_findings.size(), 1U);
}

TEST_F(HierarchyTest, SingularMatrix_HidesItsChildrenWithAFinding) {
    for (const char* matrix :
         {"(1 0 0 0  0 0 0 0  0 0 1 0  0 0 0 1)", "(1 0 0 0  0 nan 0 0  0 0 1 0  0 0 0 1)",
          "(1 0 0 0  0 1e300 0 0  0 0 1 0  0 0 0 1)"}) {
        const std::string text = "node xform \"a\" {\n Array<Node> children = [leaf]\n"
                                 " Mat4 matrix = " +
                                 std::string(matrix) + "\n}\nnode mesh \"leaf\" {\n}\n";
        EXPECT_EQ(visit(text), Texts{"a 0"}) << matrix;
        EXPECT_EQ(m_findings, Texts{"a: The matrix is not finite or cannot be inverted."});
    }
}

TEST_F(HierarchyTest, Stop_VisitsNoFurtherNode) {
    const auto snapshot = snapshotOf(xform("a", "b") + xform("b", "c") + xform("c", ""));
    FindingList findings;
    std::stop_source stop;
    u64 count = 0;
    const PlaceVisitor stopAtTheSecond = [&](const kelvo_sdk::SnapshotNode&, const math::Mat4d&,
                                             u32) {
        if (++count == 2) stop.request_stop();
    };
    EXPECT_THROW(visitPlaces(snapshot, findings, stopAtTheSecond, stop.get_token()), Stopped);
    EXPECT_EQ(count, 2U);
}

TEST_F(HierarchyTest, DeepChain_NeedsNoStack) {
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += xform("n" + std::to_string(i), "n" + std::to_string(i + 1), 1);
    const Texts visited = visit(text + "node mesh \"n20000\" {\n}\n");
    ASSERT_EQ(visited.size(), 20001U);
    EXPECT_EQ(visited.back(), "n20000 20000");
}

TEST_F(HierarchyTest, ExponentiallyManyPlaces_EndWithAFinding) {
    std::string text;
    for (int i = 0; i < 40; ++i) {
        const std::string next = std::to_string(i + 1);
        text += xform("n" + std::to_string(i), "a" + next + ", b" + next);
        text += xform("a" + next, "n" + next) + xform("b" + next, "n" + next);
    }
    const auto snapshot = snapshotOf(text + xform("n40", ""));
    FindingList findings;
    u64 count = 0;
    visitPlaces(
        snapshot, findings,
        [&](const kelvo_sdk::SnapshotNode&, const math::Mat4d&, u32) { ++count; }, {}, 1000);
    EXPECT_EQ(count, 1000U);
    ASSERT_FALSE(findings.list().empty());
    EXPECT_EQ(findings.list()[0].text, "There are too many places in the scene to show all.");
}

} // namespace
} // namespace qv::render::impl
