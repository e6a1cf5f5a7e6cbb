#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/library_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class SceneLibraries : public testing::Test {
protected:
    static RefersTo<LibInfo> read(const char* types) {
        auto library = RefersTo<LibInfo>::adopt(new LibInfo);
        EXPECT_TRUE(library->readDefinitions(types, "types"));
        return library;
    }
    Scene& scene() { return static_cast<Scene&>(*m_scene.get()); }

    RefersTo<LibInfo> m_first = read("kelvo types 1\n\ntype lamp {\n    Int a = 1\n}\n");
    RefersTo<LibInfo> m_second =
        read("kelvo types 1\n\ntype lamp {\n    Int b = 2\n}\n\ntype shade {\n    Int c = 3\n}\n");
    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
};

TEST_F(SceneLibraries, Type_IsTheOneOfTheLibraryThatWasAddedFirst) {
    EXPECT_TRUE(scene().addLibrary(m_first.get()));
    EXPECT_TRUE(scene().addLibrary(m_second.get()));
    EXPECT_EQ(scene().findType("lamp"), m_first->findType("lamp"));
    EXPECT_EQ(scene().findType("shade"), m_second->findType("shade"));
    EXPECT_EQ(scene().findType("door"), nullptr);
}

TEST_F(SceneLibraries, AddLibrary_Twice_IsRefused) {
    EXPECT_TRUE(scene().addLibrary(m_first.get()));
    EXPECT_FALSE(scene().addLibrary(m_first.get()));
    EXPECT_FALSE(scene().addLibrary(nullptr));
    EXPECT_EQ(m_scene.libraryCount(), 1u);
}

TEST_F(SceneLibraries, DropLibraries_TakesBackTheLaterOnes) {
    scene().addLibrary(m_first.get());
    scene().addLibrary(m_second.get());
    scene().dropLibraries(1);
    EXPECT_EQ(m_scene.libraryCount(), 1u);
    EXPECT_EQ(scene().findType("shade"), nullptr);
    EXPECT_NE(scene().findType("lamp"), nullptr);
}

TEST_F(SceneLibraries, TypeNames_ComeLibraryByLibrary) {
    scene().addLibrary(m_second.get());
    scene().addLibrary(m_first.get());
    const StringVector names = scene().typeNames();
    ASSERT_EQ(names.size(), 3u);
    EXPECT_STREQ(names[0].buf(), "lamp");
    EXPECT_STREQ(names[1].buf(), "shade");
    EXPECT_STREQ(names[2].buf(), "lamp");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
