#include "sdk/impl/lib_info.h"

#include "sdk/lib_info.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using namespace interfaces;

bool init(INode*, void**) {
    return true;
}
bool prep(INode*, void*) {
    return true;
}
bool eval(EvalCtx*, void*) {
    return true;
}
bool modify(INode*, INode*) {
    return true;
}
bool letGo(INode*, void**) {
    return true;
}
void changed(IInput*) {}

constexpr NodeCallbacks kAll{init, prep, eval, modify, letGo, changed};

TEST(LibInfoTest, Types_MatchExactly) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo("a/b.knd"));
    library->setCallbacks("mesh", kAll);
    EXPECT_EQ(library->nodeInit("mesh"), &init);
    EXPECT_EQ(library->nodePrep("mesh"), &prep);
    EXPECT_EQ(library->nodeEval("mesh"), &eval);
    EXPECT_EQ(library->nodeModify("mesh"), &modify);
    EXPECT_EQ(library->nodeFree("mesh"), &letGo);
    EXPECT_EQ(library->nodeChanged("mesh"), &changed);
    EXPECT_EQ(library->nodeInit("Mesh"), nullptr);
    EXPECT_EQ(library->nodeInit(""), nullptr);
    EXPECT_STREQ(library->kndPath().buf(), "a/b.knd");
}

TEST(LibInfoTest, SettingAgain_Replaces) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks("mesh", kAll);
    library->setCallbacks("mesh", {init, nullptr, nullptr, nullptr, nullptr, nullptr});
    EXPECT_EQ(library->nodeInit("mesh"), &init);
    EXPECT_EQ(library->nodeEval("mesh"), nullptr);
}

TEST(LibInfoTest, EmptyHandle_AnswersNull) {
    const kelvo_sdk::LibInfo none;
    EXPECT_EQ(none.nodeInit("mesh"), nullptr);
    EXPECT_EQ(none.nodePrep("mesh"), nullptr);
    EXPECT_EQ(none.nodeEval("mesh"), nullptr);
    EXPECT_EQ(none.nodeModify("mesh"), nullptr);
    EXPECT_EQ(none.nodeFree("mesh"), nullptr);
    EXPECT_EQ(none.nodeChanged("mesh"), nullptr);
    EXPECT_TRUE(none.kndPath().isEmpty());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
