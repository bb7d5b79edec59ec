#include "base/Disk.h"

#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>

#include <set>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using dorntest::ScratchDirectory;
using Velmora::u8string;

fs::perms modeOf(const fs::path& path) {
    return fs::status(path).permissions();
}

std::wstring wideName(const fs::path& path) {
    std::wstring wide;
    Velmora::c_u8u16(wide, path.string());
    return wide;
}

u8string narrowName(const fs::path& path) {
    return u8string(path.string());
}

TEST(DiskTest, TemporaryDirectoriesArePrivateAndNew) {
    const ScratchDirectory place;
    ASSERT_EQ(::setenv("TMPDIR", place.path().c_str(), 1), 0);
    u8string first;
    u8string second;
    EXPECT_TRUE(dorndisk::createTempDir("image\xC3\xA9", first));
    EXPECT_TRUE(dorndisk::createTempDir("image\xC3\xA9", second));
    u8string refused = "as it was";
    EXPECT_FALSE(dorndisk::createTempDir("../image", refused));
    EXPECT_FALSE(dorndisk::createTempDir(u8string("a\0b", 3), refused));
    ASSERT_EQ(::setenv("TMPDIR", (place / "missing").c_str(), 1), 0);
    EXPECT_FALSE(dorndisk::createTempDir("image", refused));
    EXPECT_EQ(refused, "as it was");
    ASSERT_EQ(::unsetenv("TMPDIR"), 0);

    EXPECT_NE(first, second);
    EXPECT_EQ(fs::path(first.c_str()).parent_path(), place.path());
    EXPECT_EQ(fs::path(first.c_str()).filename().string().rfind("image\xC3\xA9", 0), 0u);
    EXPECT_EQ(modeOf(first.c_str()), fs::perms::owner_all);
    EXPECT_EQ(dorntest::entryCount(place.path()), 2);
}

TEST(DiskTest, TemporaryFilesNeverMeetAnExistingOne) {
    const ScratchDirectory place;
    const std::wstring directory = wideName(place.path());
    std::set<std::wstring> names;
    for (int i = 0; i < 200; ++i) {
        std::wstring path;
        ASSERT_TRUE(dorndisk::createTempFile(directory, L"7", L"", path));
        EXPECT_EQ(path.rfind(directory + L"/7", 0), 0u);
        names.insert(path);
    }
    EXPECT_EQ(names.size(), 200u);
    EXPECT_EQ(dorntest::entryCount(place.path()), 200);

    std::wstring path;
    ASSERT_TRUE(dorndisk::createTempFile(directory, L"\u00e9 \u20ac", L"tif", path));
    std::string narrow;
    Velmora::c_u16u8(narrow, path);
    EXPECT_EQ(fs::path(narrow).extension(), ".tif");
    EXPECT_EQ(fs::file_size(narrow), 0u);
    EXPECT_EQ(modeOf(narrow), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(dorndisk::deleteFile(path));
    EXPECT_FALSE(fs::exists(narrow));

    const std::wstring before = path;
    EXPECT_FALSE(dorndisk::createTempFile(L"", L"7", L"", path));
    EXPECT_FALSE(dorndisk::createTempFile(directory + L"/none", L"7", L"", path));
    EXPECT_FALSE(dorndisk::createTempFile(directory, L"a/7", L"", path));
    EXPECT_FALSE(dorndisk::createTempFile(directory, L"7", L"/../x", path));
    EXPECT_FALSE(dorndisk::createTempFile(directory + std::wstring(L"\0x", 2), L"7", L"", path));
    EXPECT_EQ(path, before);
    EXPECT_EQ(dorntest::entryCount(place.path()), 200);
}

TEST(DiskTest, DeletesATreeAndNotWhatItsLinksName) {
    const ScratchDirectory place;
    fs::create_directories(place / "outside/kept");
    dorntest::writeFile(place / "outside/file", "kept");
    fs::create_directories(place / "tree/a/b \xC3\xA9/c");
    dorntest::writeFile(place / "tree/a/.hidden", "x");
    dorntest::writeFile(place / "tree/a/b \xC3\xA9/odd\n\xFF name", "x");
    fs::create_directory_symlink(place / "outside", place / "tree/to-directory");
    fs::create_directory_symlink("../../outside", place / "tree/a/relative");
    fs::create_symlink(place / "outside/file", place / "tree/to-file");
    fs::create_symlink(place / "nowhere", place / "tree/dangling");
    fs::create_hard_link(place / "outside/file", place / "tree/hard");
    ASSERT_EQ(::mkfifo((place / "tree/pipe").c_str(), 0600), 0);

    EXPECT_TRUE(dorndisk::deleteDirectory(narrowName(place / "tree") + "//"));
    EXPECT_FALSE(fs::exists(place / "tree"));
    EXPECT_TRUE(fs::exists(place / "outside/kept"));
    EXPECT_EQ(dorntest::readFile(place / "outside/file"), "kept");

    fs::create_directory_symlink("outside", place / "link");
    EXPECT_FALSE(dorndisk::deleteDirectory(narrowName(place / "link")));
    EXPECT_FALSE(dorndisk::deleteDirectory(narrowName(place / "link/")));
    EXPECT_FALSE(dorndisk::deleteDirectory(narrowName(place / "outside/file")));
    EXPECT_FALSE(dorndisk::deleteDirectory(narrowName(place / "missing")));
    EXPECT_FALSE(dorndisk::deleteDirectory(""));
    EXPECT_TRUE(fs::is_symlink(place / "link"));
    EXPECT_EQ(dorntest::entryCount(place / "outside"), 2);
}

TEST(DiskTest, DeletesOneFileAtATime) {
    const ScratchDirectory place;
    dorntest::writeFile(place / "\xE2\x82\xAC", "x");
    dorntest::writeFile(place / "bad\xFF", "x");
    fs::create_symlink("\xE2\x82\xAC", place / "link");
    EXPECT_TRUE(dorndisk::deleteFile(wideName(place / "link")));
    EXPECT_TRUE(fs::exists(place / "\xE2\x82\xAC"));
    EXPECT_TRUE(dorndisk::deleteFile(wideName(place / "\xE2\x82\xAC")));
    EXPECT_FALSE(dorndisk::deleteFile(wideName(place / "\xE2\x82\xAC")));
    EXPECT_TRUE(dorndisk::deleteFile(narrowName(place / "bad\xFF")));
    fs::create_directory(place / "folder");
    EXPECT_FALSE(dorndisk::deleteFile(narrowName(place / "folder")));
    EXPECT_FALSE(dorndisk::deleteFile(narrowName(place / "folder") + std::string(1, '\0')));
    EXPECT_EQ(dorntest::entryCount(place.path()), 1);
}

TEST(DiskTest, AnOpenedFileOutlivesItsName) {
    const ScratchDirectory place;
    const fs::path name = place / "p\xC3\xA4ge";
    std::FILE* file = dorndisk::File(wideName(name)).open("w+b");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fputs("page", file), 1);
    EXPECT_EQ(std::fclose(file), 0);
    EXPECT_EQ(dorntest::readFile(name), "page");
    EXPECT_EQ(dorndisk::File(wideName(place / "missing")).open("rb"), nullptr);
    EXPECT_EQ(dorndisk::File(wideName(name) + std::wstring(L"\0x", 2)).open("rb"), nullptr);
    EXPECT_EQ(dorndisk::File(L"").open("w+b"), nullptr);
}

} // namespace
