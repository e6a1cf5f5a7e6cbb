#include "kelvo/files/text_file.h"

#include "tests/support/folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

namespace qv::kelvo_files {
namespace {

namespace fs = std::filesystem;

class TextFile : public testing::Test {
protected:
    static std::string contents(const fs::path& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // Counts all files, because any file but the written one is a leftover.
    [[nodiscard]] u64 filesInFolder() const {
        return static_cast<u64>(
            std::distance(fs::directory_iterator(m_folder.path()), fs::directory_iterator()));
    }

    tests::Folder m_folder;
    fs::path m_file = m_folder / "a.kns";
};

TEST_F(TextFile, EveryByte_IsWrittenAndReadBack) {
    std::string bytes("\xef\xbb\xbfline\r\n\0\xff", 11);
    for (int i = 0; i < 14; ++i)
        bytes += bytes;
    EXPECT_FALSE(writeText(m_file, bytes));
    String text;
    EXPECT_FALSE(readText(m_file, text));
    EXPECT_EQ(text.view(), bytes);
    EXPECT_FALSE(writeText(m_file, ""));
    EXPECT_FALSE(readText(m_file, text));
    EXPECT_TRUE(text.isEmpty());
}

TEST_F(TextFile, NewAndOldFile_AreAloneInTheFolder) {
    EXPECT_FALSE(writeText(m_file, "long text"));
    EXPECT_FALSE(writeText(m_file, "short"));
    EXPECT_EQ(contents(m_file), "short");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(TextFile, FailedRead_TellsTheReasonAndLeavesTheText) {
    String text("before");
    EXPECT_EQ(readText(m_file, text), std::errc::no_such_file_or_directory);
    EXPECT_EQ(readText(m_folder.path(), text), std::errc::is_a_directory);
    EXPECT_EQ(text, "before");
}

TEST_F(TextFile, FailedWrite_TellsTheReasonAndLeavesNothing) {
    EXPECT_EQ(writeText(m_folder / "no/such.kns", "x"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(writeText(m_folder.path(), "x"), std::errc::is_a_directory);
    EXPECT_EQ(writeText("", "x"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(TextFile, Devices_AreWrittenTo) {
    EXPECT_FALSE(writeText("/dev/null", "x"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(writeText("/dev/full", "x"), std::errc::no_space_on_device);
}

TEST_F(TextFile, LinkToAPipe_IsWrittenThrough) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_FALSE(writeText("/proc/self/fd/" + std::to_string(ends[1]), "x"));
    char read = 0;
    EXPECT_EQ(::read(ends[0], &read, 1), 1);
    EXPECT_EQ(read, 'x');
    ::close(ends[0]);
    ::close(ends[1]);
}

// Limits the size of files to that number of bytes during its lifetime.
class FileLimit {
public:
    explicit FileLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FileLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

TEST_F(TextFile, WriteThatFailsHalfway_LeavesTheOldFileAlone) {
    EXPECT_FALSE(writeText(m_file, "old"));
    const std::string large(100'000, 'x');
    {
        const FileLimit limit(1000);
        EXPECT_EQ(writeText(m_file, large), std::errc::file_too_large);
        EXPECT_EQ(writeText(m_folder / "b.kns", large), std::errc::file_too_large);
    }
    EXPECT_EQ(contents(m_file), "old");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(TextFile, Permissions_AreKept) {
    const auto own = fs::perms::owner_read | fs::perms::owner_write;
    EXPECT_FALSE(writeText(m_file, "old"));
    fs::permissions(m_file, own);
    EXPECT_FALSE(writeText(m_file, "new"));
    EXPECT_EQ(fs::status(m_file).permissions(), own);
}

TEST_F(TextFile, SymbolicLinks_AreFollowed) {
    fs::create_directory(m_folder / "real");
    fs::create_symlink("real/b.kns", m_file);
    fs::create_symlink("a.kns", m_folder / "c.kns");
    EXPECT_FALSE(writeText(m_folder / "c.kns", "made"));
    EXPECT_EQ(contents(m_folder / "real/b.kns"), "made");
    EXPECT_FALSE(writeText(m_file, "changed"));
    EXPECT_EQ(contents(m_folder / "real/b.kns"), "changed");
    EXPECT_TRUE(fs::is_symlink(m_file));
    EXPECT_TRUE(fs::is_symlink(m_folder / "c.kns"));
}

TEST_F(TextFile, RingOfLinks_IsRefused) {
    fs::create_symlink("b.kns", m_file);
    fs::create_symlink("a.kns", m_folder / "b.kns");
    EXPECT_EQ(writeText(m_file, "x"), std::errc::too_many_symbolic_link_levels);
    EXPECT_EQ(filesInFolder(), 2u);
}

} // namespace
} // namespace qv::kelvo_files
