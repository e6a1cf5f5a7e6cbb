#include "kelvo/binary/binary_scene.h"

#include "kelvo/base/hash.h"
#include "kelvo/binary/impl/layout.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

std::string bytesOf(const std::filesystem::path& file) {
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return std::move(bytes).str();
}

class BinarySceneTest : public testing::Test {
protected:
    BinarySceneTest() {
        const Node lamp = m_scene.createNode("pointLight", "lamp");
        EXPECT_TRUE(lamp.createInput("power", AttrType::Real).set(40.0));
        EXPECT_TRUE(lamp.createInput("name", AttrType::String).set("over the desk"));
        const Node mesh = m_scene.createNode("mesh", "mesh");
        EXPECT_TRUE(mesh.createInput("light", AttrType::Node).set(lamp));
        EXPECT_TRUE(
            mesh.createInput("points", AttrType::Buffer).setBuffer(std::vector<float>(500, 0.5F)));
    }
    void save(const BinaryOptions& options = {}) {
        ASSERT_TRUE(saveBinary(m_scene.snapshot(), m_file, options));
    }
    // Reads everything of a file with these bytes; returns the message of the first failure.
    std::string read(const std::string& bytes) {
        const auto file = m_folder.write("damaged.knb", bytes);
        const Made<Snapshot> opened = openBinary(file);
        return (opened.result() ? opened.verify().message() : opened.message()).buf();
    }
    static void expectContent(const Snapshot& snapshot) {
        EXPECT_EQ(snapshot["lamp"]["power"].get<double>(), 40.0);
        EXPECT_EQ(snapshot["lamp"]["name"].text(), "over the desk");
        EXPECT_EQ(snapshot["mesh"]["light"].linked(), snapshot["lamp"]);
        const auto points = snapshot["mesh"]["points"].buffer<float>();
        EXPECT_EQ(std::vector<float>(points.begin(), points.end()), std::vector<float>(500, 0.5F));
    }

    tests::Folder m_folder;
    std::filesystem::path m_file = m_folder / "scene.knb";
    Scene m_scene = Scene::create();
};

TEST_F(BinarySceneTest, ASavedSnapshot_OpensWithTheSameContent) {
    save();
    const Made<Snapshot> opened = openBinary(m_file);
    ASSERT_TRUE(opened.result()) << opened.message();
    expectContent(opened);
    EXPECT_TRUE(opened.verify());
}

TEST_F(BinarySceneTest, ACompressedFile_IsSmallerAndOpensWithTheSameContent) {
    save();
    const auto plain = std::filesystem::file_size(m_file);
    save({.isCompressed = true});
    EXPECT_LT(std::filesystem::file_size(m_file), plain);
    const Made<Snapshot> opened = openBinary(m_file);
    ASSERT_TRUE(opened.result()) << opened.message();
    expectContent(opened);
    EXPECT_TRUE(opened.verify());
}

TEST_F(BinarySceneTest, TheSameScene_GivesTheSameBytes) {
    save();
    const std::string first = bytesOf(m_file);
    ASSERT_TRUE(saveBinary(openBinary(m_file), m_folder / "again.knb"));
    EXPECT_EQ(bytesOf(m_folder / "again.knb"), first);
    EXPECT_EQ(first.substr(0, 12), std::string("\x89KNB\r\n\x1a\n\x01\0\0\0", 12));
}

TEST_F(BinarySceneTest, ASnapshotOfAFile_OutlivesTheFile) {
    save();
    const Made<Snapshot> opened = openBinary(m_file);
    m_scene.removeNode(m_scene["lamp"]);
    save();
    std::filesystem::remove(m_file);
    expectContent(opened);
}

TEST_F(BinarySceneTest, BytesInMemory_OpenLikeAFile) {
    save();
    std::string bytes;
    ASSERT_TRUE(appendBinary(m_scene.snapshot(), bytes));
    EXPECT_EQ(bytes, bytesOf(m_file));
    expectContent(openBinaryBytes(bytes, "bytes"));
    EXPECT_EQ(openBinaryBytes("kelvo scene 1\n", "bytes").message(),
              "bytes, byte 0: The file is no scene in the binary form.");
}

TEST_F(BinarySceneTest, OnlyTheBinaryForm_IsKnownAsSuch) {
    save();
    EXPECT_TRUE(isBinary(bytesOf(m_file)));
    EXPECT_FALSE(isBinary("kelvo scene 1\n"));
    EXPECT_FALSE(isBinary(""));
    EXPECT_TRUE(isBinaryFile(m_file));
    EXPECT_FALSE(isBinaryFile(m_file.parent_path())) << "a folder";
    EXPECT_FALSE(isBinaryFile(m_file.parent_path() / "none.knb"));
    EXPECT_FALSE(isBinaryFile("/dev/null"));
}

// ---- Files that cannot be read or written ------------------------------------------------

TEST_F(BinarySceneTest, AFileThatIsNotThere_IsNamed) {
    const auto missing = m_folder / "missing.knb";
    EXPECT_EQ(std::string(openBinary(missing).message().buf()),
              missing.string() + ": The file cannot be read: No such file or directory.");
    const auto nowhere = m_folder / "no";
    EXPECT_EQ(std::string(saveBinary(m_scene.snapshot(), nowhere / "s.knb").message().buf()),
              (nowhere / "s.knb").string() +
                  ": The file cannot be written: No such file or directory.");
}

TEST_F(BinarySceneTest, AFullDisk_IsReported) {
    EXPECT_EQ(std::string(saveBinary(m_scene.snapshot(), "/dev/full").message().buf()),
              "/dev/full: The file cannot be written: No space left on device.");
}

TEST_F(BinarySceneTest, NoSnapshot_LeavesTheFileAsItWas) {
    save();
    const std::string before = bytesOf(m_file);
    EXPECT_EQ(saveBinary({}, m_file).message(), "There is no snapshot to store.");
    EXPECT_EQ(bytesOf(m_file), before);
}

TEST_F(BinarySceneTest, AnotherVersion_IsRefusedByNumber) {
    save();
    std::string bytes = bytesOf(m_file);
    bytes[8] = 2;
    EXPECT_NE(read(bytes).find("The binary form has version 2, and this program reads version 1."),
              std::string::npos);
}

// ---- Damage ------------------------------------------------------------------------------

void expectError(const std::string& message, const char* file, u64 place) {
    EXPECT_NE(message.find(file), std::string::npos) << place << ": " << message;
    EXPECT_NE(message.find(", byte "), std::string::npos) << place << ": " << message;
}

TEST_F(BinarySceneTest, AFileCutOffAtAnyByte_GivesOneErrorWithItsPlace) {
    save();
    const std::string bytes = bytesOf(m_file);
    for (u64 size = 0; size < bytes.size(); ++size)
        expectError(read(bytes.substr(0, size)), "damaged.knb", size);
}

TEST_F(BinarySceneTest, AnyFlippedBit_GivesOneErrorWithItsPlace) {
    for (const bool isCompressed : {false, true}) {
        save({.isCompressed = isCompressed});
        std::string bytes = bytesOf(m_file);
        for (u64 i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(bytes[i] ^ (1 << i % 8));
            expectError(read(bytes), "damaged.knb", i);
            bytes[i] = static_cast<char>(bytes[i] ^ (1 << i % 8));
        }
    }
}

// Sets a word of the directory, with the hashes that a forger would give it.
std::string forged(std::string bytes, u64 place, u64 word) {
    using namespace kelvo_binary;
    auto* const data = reinterpret_cast<std::byte*>(bytes.data());
    std::byte* const trailer = data + bytes.size() - bytesOfTrailer;
    const u64 directory = load<u64>(trailer), size = load<u64>(trailer + 8) * bytesOfEntry;
    store(word, data + directory + place);
    store(hashBytes(data + directory, size), trailer + 16);
    store(hashBytes(trailer, bytesOfTrailer - sizeof(u64)), trailer + 56);
    return bytes;
}

TEST_F(BinarySceneTest, ADirectoryThatLies_GivesOneErrorWithItsPlace) {
    for (const bool isCompressed : {false, true}) {
        save({.isCompressed = isCompressed});
        const std::string bytes = bytesOf(m_file);
        const auto* const trailer =
            reinterpret_cast<const std::byte*>(bytes.data() + bytes.size() - 64);
        const u64 size = kelvo_binary::load<u64>(trailer + 8) * kelvo_binary::bytesOfEntry;
        for (u64 place = 0; place < size; place += sizeof(u64))
            for (const u64 word : {u64{1}, u64{7}, u64{1} << 60, ~u64{0}, ~u64{63}}) {
                const std::string lie = forged(bytes, place, word);
                if (lie != bytes) expectError(read(lie), "damaged.knb", place);
            }
    }
}

} // namespace
} // namespace qv::kelvo_sdk
