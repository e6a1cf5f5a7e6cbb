#include "kelvo/sdk/eval_ctx.h"

#include "kelvo/sdk/impl/graph/node.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

TEST(EvalCtxFrame, First_AsksNobodyAndCarriesThePointer) {
    int mine = 0;
    const EvalCtx first(&mine);
    EXPECT_EQ(first.node(), nullptr);
    EXPECT_EQ(first.output(), nullptr);
    EXPECT_EQ(first.caller(), nullptr);
    EXPECT_EQ(first.user(), &mine);
    EXPECT_EQ(first.depth(), 0u);
    EXPECT_TRUE(first.path().isEmpty());
}

TEST(EvalCtxFrame, Frames_LinkToTheirCallers) {
    impl::Node a(nullptr, "op", "a");
    impl::Node b(nullptr, "op", "b");
    interfaces::IOutput* aOut = a.createOutput("out", AttrType::Real);
    interfaces::IOutput* bOut = b.createOutput("out", AttrType::Real);
    int mine = 0;
    const EvalCtx first(&mine);
    const EvalCtx outer(&a, aOut, &first);
    const EvalCtx inner(&b, bOut, &outer);
    EXPECT_EQ(inner.node(), &b);
    EXPECT_EQ(inner.user(), &mine);
    EXPECT_EQ(inner.depth(), 2u);
    EXPECT_STREQ(inner.path().buf(), "a.out -> b.out");
    EXPECT_TRUE(inner.asks(aOut));
    EXPECT_FALSE(outer.asks(bOut));
}

} // namespace
} // namespace qv::kelvo_sdk
