#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Kv_Data.h"

namespace {

namespace fs = std::filesystem;
using kv::CFile;
using kv::CFileException;
using kv::CStdioFile;

class FileTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        m_dir = fs::temp_directory_path() / ("kv_file_test_" + std::to_string(::getpid()) + "_" + test);
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }
    std::string Path(const char* name) const { return (m_dir / name).string(); }
    static std::string Contents(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    fs::path m_dir;
};

TEST_F(FileTest, TextModeStoresEveryNewlineAsCrLfAndFlushHandsItOver) {
    const std::string text = Path("text.txt");
    CStdioFile file;
    ASSERT_TRUE(file.Open(text.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeText));
    file.WriteString("a\nb\n\n");
    file.Flush();
    EXPECT_EQ(Contents(text), "a\r\nb\r\n\r\n");
    file.Write("c\n", 2);
    file.WriteString("d\r\n");  // a CR already there is kept, as the C runtime keeps it
    file.Close();
    EXPECT_EQ(Contents(text), "a\r\nb\r\n\r\nc\r\nd\r\r\n");

    CStdioFile raw(Path("binary.txt").c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeBinary);
    raw.WriteString("a\nb\r\n");
    raw.Close();
    EXPECT_EQ(Contents(Path("binary.txt")), "a\nb\r\n");
}

TEST_F(FileTest, WriteNeedsAnExistingFileUnlessCreateWhichTruncatesUnlessNoTruncate) {
    const std::string path = Path("log.txt");
    CStdioFile file;
    CFileException error;
    EXPECT_FALSE(file.Open(path.c_str(), CFile::modeWrite | CFile::typeText, &error));
    EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
    EXPECT_FALSE(fs::exists(path));
    { CFile created(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite); }
    EXPECT_TRUE(fs::exists(path));

    std::ofstream(path, std::ios::binary) << "abc\r\n";
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeWrite | CFile::typeText));
    EXPECT_EQ(file.SeekToEnd(), 5U);
    file.WriteString("de\n");
    EXPECT_EQ(file.GetLength(), 9U);
    file.Close();
    { CFile keep(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite); }
    EXPECT_EQ(Contents(path), "abc\r\nde\r\n");
    { CFile truncate(path.c_str(), CFile::modeCreate | CFile::modeWrite); }
    EXPECT_EQ(Contents(path), "");
}

TEST_F(FileTest, RemoveAndAttributes) {
    const std::string path = Path("doomed.txt");
    std::ofstream(path) << "x";
    EXPECT_EQ(kv::GetFileAttributesA(path.c_str()) & 0x10U, 0U);
    EXPECT_NE(kv::GetFileAttributesA(m_dir.string().c_str()) & 0x10U, 0U);
    CFile::Remove(path.c_str());
    EXPECT_EQ(kv::GetFileAttributesA(path.c_str()), kv::INVALID_FILE_ATTRIBUTES);
    try {
        CFile::Remove(path.c_str());
        ADD_FAILURE() << "removed a missing file";
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_cause, CFileException::fileNotFound);
    }
}

}  // namespace
