#include "kelvo/sdk/icon.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

TEST(Icon, PlainSvg_StaysAsItIs) {
    const String icon = "<svg xmlns=\"http://www.w3.org/2000/svg\"><path d=\"M0 0h9\"/></svg>";
    EXPECT_EQ(safeSvg(icon), icon);
}

TEST(Icon, TextBeforeTheRoot_IsCutOff) {
    EXPECT_TRUE(safeSvg("<?xml version=\"1.0\"?>\n<svg/>").view().starts_with("<svg "));
}

TEST(Icon, AnIconThatRunsOrLoads_IsRefused) {
    for (const char* icon : {"", "text", "<svg onload=\"a()\"/>", "<svg><script/></svg>",
                             "<svg><image href=\"http://a/b.png\"/></svg>"})
        EXPECT_TRUE(safeSvg(icon).isEmpty()) << icon;
}

} // namespace
} // namespace qv::kelvo_sdk
