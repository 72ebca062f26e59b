#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "Kv_Data/PlatformModule.h"
#include "Kv_Data/PlatformUi.h"
#include "Kv_Data/Util.h"

namespace {

namespace fs = std::filesystem;

TEST(PathSplitting, TextWorkOnTheBackslashAndTheDot) {
    for (const auto& [path, dir, name, noExt, ext] :
         {std::tuple{"C:\\file.txt", "C:\\", "file.txt", "file", "txt"}, {"file.txt", "file.txt", "file.txt", "file", "txt"},
          {"\\\\server\\share\\f", "\\\\server\\share", "f", "f", ""}, {"C:\\dir\\", "C:\\dir", "", "", ""},
          {"C:\\dir.v2\\file", "C:\\dir.v2", "file", "file", "v2\\file"},
          {"D:\\x\\archive.tar.gz", "D:\\x", "archive.tar.gz", "archive.tar", "gz"}, {"name.", "name.", "name.", "name", ""},
          {"name", "name", "name", "name", ""}}) {
        EXPECT_EQ(kv::StPath(path), dir) << path;
        EXPECT_EQ(kv::StFileName(path), name) << path;
        EXPECT_EQ(kv::StFileNameNoExt(path), noExt) << path;
        EXPECT_EQ(kv::StExt(path), ext) << path;
    }
}

// Three units a character; remembers what it measured.
struct WideDC : kv::CDC {
    kv::CSize GetTextExtent(const char* text, int count) const override {
        measured.emplace_back(text, static_cast<std::size_t>(count));
        return kv::CSize(3 * count, 1);
    }
    mutable std::vector<std::string> measured;
};

TEST(FormPath, HidesLeadingFoldersUntilThePathFits) {
    const char* path = "C:\\a\\b\\c\\file.txt";  // 17 characters
    kv::CDC bytes;
    for (const auto& [width, want] : {std::tuple{18, path}, {17, "C:\\...\\cfile.txt"}, {16, "C:\\...\\c\\file.txt"}})
        EXPECT_EQ(kv::FormPath(&bytes, path, width), want) << width;
    WideDC wide;
    EXPECT_EQ(kv::FormPath(&wide, path, 49), "C:\\...\\cfile.txt");
    EXPECT_EQ(wide.measured, (std::vector<std::string>{path, "C:\\...\\b\\cfile.txt", "C:\\...\\cfile.txt"}));
    EXPECT_EQ(kv::FormPath(&wide, "C:\\abcdef\\b\\c\\file.txt", 55), "C:\\...\\b\\cfile.txt");
    // A name at a drive root gets two backslashes; no backslash in the folder part: as is.
    EXPECT_EQ(kv::FormPath(&bytes, "C:\\longname.txt", 5), "C:\\...\\\\longname.txt");
    EXPECT_EQ(kv::FormPath(&bytes, "file.txt", 1), "file.txt");
}

TEST(LoadStringFromDLL, NullMissingPresentCutAndFilter) {
    const std::string longText(300, 'x');
    const kv::StringTableEntry entries[] = {{5, "five"}, {40, longText.c_str()}, {7, "Text files (*.txt)|*.txt||"}};
    const kv::HINSTANCE module = kv::RegisterStringTable(entries);
    EXPECT_EQ(kv::LoadStringFromDLL(nullptr, 5), "Error loading resource.");
    EXPECT_EQ(kv::LoadStringFromDLL(module, 5), "five");
    EXPECT_EQ(kv::LoadStringFromDLL(module, 6), "");     // block present, string missing
    EXPECT_EQ(kv::LoadStringFromDLL(module, 1000), "");  // block missing
    EXPECT_EQ(kv::LoadStringFromDLL(module, 40), std::string(254, 'x').c_str());
    char buffer[40];
    kv::LoadStringExtFilter(module, buffer, sizeof buffer, 7);
    EXPECT_EQ(std::string(buffer, 27), std::string("Text files (*.txt)\0*.txt\0\0\0", 27));
    kv::LoadStringExtFilter(module, buffer, 21, 7);  // cut to 20 characters first
    EXPECT_EQ(std::string(buffer, 21), std::string("Text files (*.txt)\0*\0", 21));
    kv::UnregisterStringTable(module);
}

TEST(FileSystem, ExistenceExecutableAndCurrentDirectory) {
    const fs::path dir = fs::temp_directory_path() / ("kv_paths_test_" + std::to_string(::getpid()));
    const fs::path file = dir / "f.txt", missing = dir / "missing";
    fs::create_directories(dir);
    std::ofstream(file) << "x";
    for (const auto& [path, isFile, isDir] : {std::tuple{file, 1, 0}, {dir, 0, 1}, {missing, 0, 0}}) {
        EXPECT_EQ(kv::FileExists(path.c_str()), isFile) << path;
        EXPECT_EQ(kv::DirectoryExists(path.c_str()), isDir) << path;
    }
    const std::string exe(kv::GetExePathNameAPI()), folder(kv::GetExePathName());
    EXPECT_EQ(exe, fs::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(folder, exe.substr(0, exe.rfind('/') + 1));
    const fs::path saved = fs::current_path();
    fs::current_path(dir);
    EXPECT_EQ(std::string(kv::GetCurrentDirectoryNew()), fs::current_path().string());
    fs::current_path(saved);
    fs::remove_all(dir);
}

}  // namespace
