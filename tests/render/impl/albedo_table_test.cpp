#include "render/impl/albedo_table.h"

#include "render/impl/stopped.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

TEST(AlbedoTable, Values_AreInterpolated) {
    const AlbedoTable table(
        [](float cosine, float roughness) { return std::sqrt(cosine) + 2.0F * roughness; });
    EXPECT_NEAR(table.at(0.36F, 0.25F), 1.1F, 1e-5F);
    EXPECT_NEAR(table.at(1.0F, 1.0F), 3.0F, 1e-5F);
    EXPECT_NEAR(table.at(0.0F, 0.0F), 0.0F, 1e-5F);
}

TEST(AlbedoTable, Mean_IsWeightedByTheCosine) {
    const AlbedoTable constant([](float, float) { return 0.5F; });
    EXPECT_NEAR(constant.mean(0.3F), 0.5F, 1e-6F);
    const AlbedoTable root([](float cosine, float) { return std::sqrt(cosine); });
    EXPECT_NEAR(root.mean(0.3F), 0.8F, 1e-5F);
}

TEST(AlbedoTable, Mirrors_LoseLightWithTheirRoughness) {
    const GgxTables& tables = ggxTables();
    const auto all = [&](float cosine, float r) {
        return tables.plain.at(cosine, r) + tables.grazing.at(cosine, r);
    };
    EXPECT_NEAR(all(0.8F, 0.0F), 1.0F, 1e-3F);
    EXPECT_GT(all(0.8F, 0.4F), all(0.8F, 0.7F));
    EXPECT_GT(all(0.8F, 0.7F), all(0.8F, 1.0F));
    EXPECT_GT(all(0.8F, 1.0F), 0.3F);
}

TEST(AlbedoTable, Sheen_ReturnsNoMoreThanItGets) {
    for (u32 r = 0; r <= 20; ++r)
        for (u32 c = 1; c <= 20; ++c) {
            const float value =
                sheenTable().at(static_cast<float>(c) / 20, static_cast<float>(r) / 20);
            EXPECT_LE(value, 1.0F) << r << " " << c;
            EXPECT_GE(value, 0.0F);
        }
}

TEST(AlbedoTable, Stop_EndsTheCalculation) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW((void)makeDielectricTable(1.5F, stop.get_token()), Stopped);
}

} // namespace
} // namespace qv::render::impl
