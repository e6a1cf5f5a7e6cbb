// The pages of a file that are in memory: those that were read, and of these only the ones that may
// be read again.

#include "kelvo/binary/binary_scene.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

constexpr i64 mebibyte = 1 << 20;

// Returns the memory of this process that shows files.
i64 bytesOfFiles() {
    i64 all = 0, resident = 0, shared = 0;
    std::ifstream("/proc/self/statm") >> all >> resident >> shared;
    EXPECT_GT(shared, 0) << "the system does not tell";
    return shared * ::sysconf(_SC_PAGESIZE);
}

class BinaryPagesTest : public testing::Test {
protected:
    void save(const Scene& scene) { ASSERT_TRUE(saveBinary(scene.snapshot(), m_file)); }
    [[nodiscard]] i64 fileSize() const {
        return static_cast<i64>(std::filesystem::file_size(m_file));
    }

    tests::Folder m_folder;
    std::filesystem::path m_file = m_folder / "scene.knb";
};

TEST_F(BinaryPagesTest, Opening_ReadsNoMoreThanIsAskedFor) {
    const Scene scene = Scene::create();
    for (int i = 0; i < 4; ++i) {
        const Node mesh = scene.createNode("mesh", String::format("m%d", i));
        EXPECT_TRUE(mesh.createInput("size", AttrType::Real).set(0.5 * i));
        EXPECT_TRUE(mesh.createInput("points", AttrType::Buffer)
                        .setBuffer(std::vector<float>(4 * mebibyte, 0.5F * static_cast<float>(i))));
    }
    save(scene);
    ASSERT_GT(fileSize(), 64 * mebibyte);

    const i64 before = bytesOfFiles();
    const Made<Snapshot> opened = openBinary(m_file);
    ASSERT_TRUE(opened.result()) << opened.message();
    EXPECT_EQ(opened["m3"]["size"].get<double>(), 1.5);
    EXPECT_LT(bytesOfFiles() - before, 2 * mebibyte);

    EXPECT_EQ(opened["m2"]["points"].buffer<float>().back(), 1.0F);
    const i64 after = bytesOfFiles() - before;
    EXPECT_GT(after, 15 * mebibyte) << "the buffer is read where it is in the file";
    EXPECT_LT(after, 20 * mebibyte) << "no other buffer is";
}

TEST_F(BinaryPagesTest, NodesThatWereRead_LeaveTheirPagesOfTheFile) {
    const Scene scene = Scene::create();
    const String text(std::string_view(std::string(4000, 'x')));
    for (int i = 0; i < 4000; ++i)
        EXPECT_TRUE(scene.createNode("thing", String::format("n%d", i))
                        .createInput("text", AttrType::String)
                        .set(text + String::format("%d", i)));
    save(scene);
    ASSERT_GT(fileSize(), 14 * mebibyte);

    const i64 before = bytesOfFiles();
    const Made<Snapshot> opened = openBinary(m_file);
    ASSERT_EQ(opened.nodes().size(), 4000u);
    EXPECT_LT(bytesOfFiles() - before, 4 * mebibyte);
    EXPECT_EQ(opened["n7"]["text"].text(), (text + "7").view());
    EXPECT_TRUE(opened.verify());
}

TEST_F(BinaryPagesTest, SmallPartsThatWereRead_LeaveTheirPagesTogether) {
    const Scene scene = Scene::create();
    for (int i = 0; i < 40000; ++i)
        EXPECT_TRUE(scene.createNode("thing", String::format("n%d", i))
                        .createInput("text", AttrType::String)
                        .set(String(std::string_view(std::string(400, 'x')))));
    save(scene);
    ASSERT_GT(fileSize(), 14 * mebibyte);

    const i64 before = bytesOfFiles();
    const Made<Snapshot> opened = openBinary(m_file);
    u64 length = 0;
    opened.visitNodes(0, 40000,
                      [&](const SnapshotNode& node) { length += node["text"].text().size(); });
    EXPECT_EQ(length, 16'000'000u);
    EXPECT_LT(bytesOfFiles() - before, 4 * mebibyte);
}

} // namespace
} // namespace qv::kelvo_sdk
