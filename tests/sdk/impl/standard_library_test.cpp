// That the icons are well-formed and each its own, tests/sdk/library/standard_icons_test.py finds
// out.

#include "sdk/impl/standard_library.h"

#include "sdk/impl/input.h"
#include "sdk/impl/lib_info.h"
#include "sdk/impl/node.h"
#include "sdk/impl/scene.h"
#include "sdk/input.h"
#include "sdk/lib_info.h"
#include "sdk/node.h"
#include "sdk/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

std::vector<const Node*> allTypes() {
    std::vector<const Node*> types;
    for (u64 i = 0; i < standardLibrary().typeCount(); ++i)
        types.push_back(standardLibrary().type(i));
    return types;
}

std::string nameOf(const testing::TestParamInfo<const Node*>& type) {
    return type.param->type().buf();
}

bool hasLanguages(const AttrDetails::Texts& texts) {
    bool hasEnglish = false, hasGerman = false;
    for (const auto& [language, text] : texts) {
        hasEnglish = hasEnglish || (language == "en" && !text.isEmpty());
        hasGerman = hasGerman || (language == "de" && !text.isEmpty());
    }
    return hasEnglish && hasGerman;
}

/// Facts of every definition, abstract ones too.
class StandardType : public testing::TestWithParam<const Node*> {
protected:
    const Node& m_type = *GetParam();
};
INSTANTIATE_TEST_SUITE_P(Library, StandardType, testing::ValuesIn(allTypes()), nameOf);

TEST_P(StandardType, Labels_AreEnglishAndGerman) {
    const String fallback = m_type.label("none");
    EXPECT_NE(m_type.label("en"), fallback + "?");
    EXPECT_FALSE(m_type.label("en").isEmpty());
    EXPECT_FALSE(m_type.label("de").isEmpty());
}

TEST_P(StandardType, Helps_AreEnglishAndGerman) {
    EXPECT_FALSE(m_type.help("en").isEmpty());
    EXPECT_FALSE(m_type.help("de").isEmpty());
    EXPECT_NE(m_type.help("en"), m_type.help("de"));
}

TEST_P(StandardType, Inputs_AreDescribedInBothLanguages) {
    for (u64 i = 0; i < m_type.inputCount(); ++i) {
        const auto& input = static_cast<const Input&>(*m_type.input(i));
        ASSERT_NE(input.details(), nullptr) << input.path();
        EXPECT_TRUE(hasLanguages(input.details()->labels)) << input.path();
        EXPECT_TRUE(hasLanguages(input.details()->helps)) << input.path();
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
