#include "tests/laws/oom_text_world.h"

#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <system_error>

namespace qv::tests {

using kelvo_sdk::LibInfo;

OomTexts::OomTexts() {
    EXPECT_TRUE(library.readDefinitions(types, "torches.knd", nullptr, LibInfo::standard()));
}

OomTexts::~OomTexts() {
    std::error_code ignored;
    if (!file.empty()) std::filesystem::remove(file, ignored);
}

void addTexts(OomWorld& world) {
    const auto texts = RefersTo<OomTexts>::adopt(new OomTexts);
    texts->other.addLibrary(LibInfo::standard());
    EXPECT_EQ(errorsOf(OomTexts::elsewhere, texts->other), "");
    world.scene().addLibrary(texts->library);
    world.more = RefersTo<RefCounted>(texts.get());
    world.text = OomTexts::added;
}

OomTexts& textsOf(OomWorld& world) {
    return static_cast<OomTexts&>(*world.more.get());
}

} // namespace qv::tests
